/*
 * The notation of wire bytes: reading, printing, comparing.
 */
#include "tests/support/hex.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace
{

[[noreturn]] void refuse(std::string_view what, std::string_view at)
{
    throw std::invalid_argument(std::string(what) + " at: " + std::string(at));
}

/* The number behind an operator; both are taken off the text. */
size_t take_number(std::string_view *text)
{
    const size_t digits = std::min(text->find_first_not_of("0123456789", 1), text->size()) - 1;
    if (digits == 0 || digits > 7) /* a space was forgotten behind it */
        refuse("number expected", *text);
    const size_t value = std::stoul(std::string(text->substr(1, digits)));
    text->remove_prefix(1 + digits);
    return value;
}

void fill_to(bytes_t *bytes, std::string_view *text)
{
    const size_t offset = take_number(text);
    if (offset < bytes->size())
        throw std::invalid_argument("@" + std::to_string(offset) + " stands at " + std::to_string(bytes->size()));
    bytes->resize(offset);
}

void repeat(bytes_t *bytes, std::string_view *text)
{
    const size_t times = take_number(text);
    if (bytes->empty() || times == 0)
        refuse("nothing to repeat", *text);
    bytes->insert(bytes->end(), times - 1, bytes->back());
}

void characters(bytes_t *bytes, std::string_view *text)
{
    const size_t end = text->find('\'', 1);
    if (end == std::string_view::npos)
        refuse("open text", *text);
    bytes->insert(bytes->end(), text->begin() + 1, text->begin() + end);
    text->remove_prefix(end + 1);
}

void byte(bytes_t *bytes, std::string_view *text)
{
    static constexpr std::string_view digits = "0123456789abcdef";
    const size_t high = digits.find(text->front()), low = text->size() > 1 ? digits.find((*text)[1]) : digits.npos;
    if (high == digits.npos || low == digits.npos)
        refuse("two hex digits expected", *text);
    bytes->push_back(static_cast<uint8_t>(high << 4 | low));
    text->remove_prefix(2);
}

std::string around(const bytes_t &bytes, size_t offset)
{
    const size_t begin = offset - offset % 16;
    std::string line = "@" + std::to_string(begin);
    char pair[8];
    for (size_t at = begin; at < std::min(bytes.size(), begin + 48); ++at) {
        std::snprintf(pair, sizeof pair, at == offset ? " >%02x" : " %02x", bytes[at]);
        line += pair;
    }
    return line;
}

} // namespace

bytes_t hex(std::string_view text)
{
    bytes_t bytes;
    while (!text.empty())
        if (text.starts_with("//"))
            text.remove_prefix(std::min(text.size(), text.find('\n')));
        else if (std::isspace(static_cast<unsigned char>(text.front())))
            text.remove_prefix(1);
        else
            (text.front() == '@'    ? fill_to
             : text.front() == '*'  ? repeat
             : text.front() == '\'' ? characters
                                    : byte)(&bytes, &text);
    return bytes;
}

bytes_t bytes_at(const void *place, size_t len)
{
    const auto *begin = static_cast<const uint8_t *>(place);
    return len ? bytes_t(begin, begin + len) : bytes_t();
}

bytes_t slice(const bytes_t &bytes, size_t offset, size_t len)
{
    const size_t begin = std::min(offset, bytes.size());
    return bytes_at(bytes.data() + begin, std::min(len, bytes.size() - begin));
}

bytes_t operator+(const bytes_t &first, const bytes_t &second)
{
    bytes_t sum = first;
    sum.insert(sum.end(), second.begin(), second.end());
    return sum;
}

void put_net(bytes_t *bytes, size_t offset, uint64_t number, size_t width)
{
    for (size_t at = offset + width; at-- > offset; number >>= 8)
        bytes->at(at) = static_cast<uint8_t>(number);
}

bytes_t tlv(uint16_t type, const bytes_t &value, bool host_order)
{
    bytes_t record(8);
    put_net(&record, 4, type, 2);
    put_net(&record, 6, value.size(), 2);
    if (host_order) {
        std::swap(record[4], record[5]);
        std::swap(record[6], record[7]);
    }
    return record + value;
}

testing::AssertionResult same_bytes(const bytes_t &got, const bytes_t &expected)
{
    if (got == expected)
        return testing::AssertionSuccess();
    const auto differ = std::mismatch(got.begin(), got.end(), expected.begin(), expected.end());
    const auto offset = static_cast<size_t>(differ.first - got.begin());
    return testing::AssertionFailure() << "first difference at offset " << offset << "\n  got      (" << got.size() << ") "
                                       << around(got, offset) << "\n  expected (" << expected.size() << ") "
                                       << around(expected, offset);
}
