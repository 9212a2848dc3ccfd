#include "tests/tools/memory_input.h"

#include <bzlib.h>
#include <zlib.h>

#include <gmock/gmock.h>

namespace
{

bytes_t gzipped(std::string_view text)
{
    z_stream stream = {};
    constexpr int gzip_window = 15 + 16;
    EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, gzip_window, 8, Z_DEFAULT_STRATEGY), Z_OK);
    bytes_t packed(deflateBound(&stream, text.size()) + 64);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

bytes_t bzip2ed(std::string_view text)
{
    bytes_t packed(text.size() + text.size() / 100 + 600);
    auto len = static_cast<unsigned>(packed.size());
    const int result = BZ2_bzBuffToBuffCompress(reinterpret_cast<char *>(packed.data()), &len, const_cast<char *>(text.data()),
                                                static_cast<unsigned>(text.size()), 1, 0, 0);
    EXPECT_EQ(result, BZ_OK);
    packed.resize(len);
    return packed;
}

/* Longer than the window and the 100 kB blocks that bzip2 is asked for. */
std::string long_text()
{
    std::string text;
    for (unsigned number = 12345; text.size() < 700'000; number = number * 1103515245 + 12345)
        text += std::to_string(number) + "\n";
    return text;
}

struct unpacked {
    std::string text, broken, packing;
};

unpacked unpack(const bytes_t &packed, size_t piece)
{
    const auto from = unpacked_input(std::make_unique<memory_input>(packed, piece));
    unpacked result;
    result.text = drained(*from);
    result.broken = from->broken();
    result.packing = from->packing();
    return result;
}

struct packing_case {
    const char *name;
    bytes_t (*pack)(std::string_view);
};
const packing_case packings[] = {{"gzip", gzipped}, {"bzip2", bzip2ed}};

} // namespace

TEST(input, unpacks_by_content_however_it_arrives)
{
    const std::string text = long_text();
    for (const packing_case &c : packings) {
        const bytes_t once = c.pack(text), twice = c.pack("first\n") + c.pack("") + c.pack(text);
        for (const size_t piece : {size_t{7}, size_t{1} << 20}) {
            const unpacked one = unpack(once, piece), several = unpack(twice, piece);
            EXPECT_EQ(one.packing, c.name);
            EXPECT_TRUE(one.text == text && one.broken.empty()) << c.name << one.broken;
            EXPECT_TRUE(several.text == "first\n" + text && several.broken.empty()) << c.name << several.broken;
        }
    }
    EXPECT_EQ(unpack(bytes_of("BZ, plain"), 1).text, "BZ, plain");
    EXPECT_EQ(unpack({}, 1).text, "");
}

TEST(input, cut_data_gives_what_was_whole_and_says_so)
{
    const std::string text = long_text();
    for (const packing_case &c : packings) {
        const bytes_t whole = c.pack(text);
        for (const size_t len : {size_t{5}, whole.size() / 3, whole.size() - 1}) {
            const unpacked part = unpack(slice(whole, 0, len), 4096);
            EXPECT_EQ(part.broken, std::string("the ") + c.name + " data ends early") << len;
            EXPECT_TRUE(text.starts_with(part.text));
            EXPECT_GE(part.text.size() + 200'000, text.size() * len / whole.size()) << c.name;
        }
    }
}

TEST(input, damage_ends_the_data_and_is_told)
{
    for (const packing_case &c : packings) {
        bytes_t damaged = c.pack(long_text());
        damaged[damaged.size() / 2] ^= 0x55;
        EXPECT_THAT(unpack(damaged, 4096).broken, testing::HasSubstr("is damaged")) << c.name;
        EXPECT_THAT(unpack(c.pack("x\n") + bytes_of("more"), 4096).broken, testing::HasSubstr("other data follows")) << c.name;
    }
}

TEST(input, peeks_across_pieces_and_skips)
{
    memory_input from(bytes_of("0123456789"), 3);
    EXPECT_EQ(from.peek(5).size(), 6u);
    from.consume(4);
    EXPECT_EQ(from.skip(3), 3u);
    EXPECT_EQ(from.position(), 7u);
    EXPECT_EQ(drained(from), "789");
    EXPECT_EQ(from.skip(1), 0u);
}
