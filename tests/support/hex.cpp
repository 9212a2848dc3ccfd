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

/* Reads one text; the cursor moves from token to token. */
class hex_reader
{
public:
    explicit hex_reader(std::string_view text) : rest_(text) {}

    bytes_t read()
    {
        while (skip_space())
            token();
        return bytes_;
    }

private:
    bool skip_space()
    {
        while (!rest_.empty()) {
            if (rest_.substr(0, 2) == "//")
                rest_.remove_prefix(std::min(rest_.size(), rest_.find('\n')));
            else if (std::isspace(static_cast<unsigned char>(rest_.front())))
                rest_.remove_prefix(1);
            else
                return true;
        }
        return false;
    }

    void token()
    {
        if (rest_.front() == '@')
            fill_to();
        else if (rest_.front() == '\'')
            text();
        else if (rest_.front() == '*')
            repeat();
        else
            byte();
    }

    size_t number()
    {
        rest_.remove_prefix(1);
        size_t value = 0, digits = 0;
        while (digits < rest_.size() && std::isdigit(static_cast<unsigned char>(rest_[digits])))
            value = value * 10 + static_cast<size_t>(rest_[digits++] - '0');
        if (digits == 0 || digits > 7) /* a space was forgotten behind it */
            throw std::invalid_argument("number expected at: " + std::string(rest_));
        rest_.remove_prefix(digits);
        return value;
    }

    void fill_to()
    {
        const size_t offset = number();
        if (offset < bytes_.size())
            throw std::invalid_argument("@" + std::to_string(offset) + " stands at " + std::to_string(bytes_.size()));
        bytes_.resize(offset);
    }

    void repeat()
    {
        const size_t times = number();
        if (bytes_.empty() || times == 0)
            throw std::invalid_argument("nothing to repeat");
        bytes_.insert(bytes_.end(), times - 1, bytes_.back());
    }

    void text()
    {
        const size_t end = rest_.find('\'', 1);
        if (end == std::string_view::npos)
            throw std::invalid_argument("open text: " + std::string(rest_));
        bytes_.insert(bytes_.end(), rest_.begin() + 1, rest_.begin() + static_cast<std::ptrdiff_t>(end));
        rest_.remove_prefix(end + 1);
    }

    void byte()
    {
        const auto digit = [this](size_t at) {
            static constexpr std::string_view digits = "0123456789abcdef";
            const size_t value = at < rest_.size() ? digits.find(rest_[at]) : std::string_view::npos;
            if (value == std::string_view::npos)
                throw std::invalid_argument("two hex digits expected at: " + std::string(rest_));
            return static_cast<unsigned>(value);
        };
        bytes_.push_back(static_cast<uint8_t>(digit(0) << 4 | digit(1)));
        rest_.remove_prefix(2);
    }

    std::string_view rest_;
    bytes_t bytes_;
};

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
    return hex_reader(text).read();
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
