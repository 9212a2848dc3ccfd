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
    unpacked(const bytes_t &packed, size_t piece)
    {
        const auto from = unpacked_input(std::make_unique<memory_input>(packed, piece));
        text = drained(*from);
        broken = from->broken();
        packing = from->packing();
    }
    std::string text, broken, packing;
};

const std::pair<std::string, bytes_t (*)(std::string_view)> packings[] = {{"gzip", gzipped}, {"bzip2", bzip2ed}};

} // namespace

TEST(input, unpacks_by_content_however_it_arrives)
{
    const std::string text = long_text();
    for (const auto &[name, pack] : packings)
        for (const size_t piece : {size_t{7}, size_t{1} << 20}) {
            const unpacked several(pack("first\n") + pack("") + pack(text), piece);
            EXPECT_EQ(several.packing, name);
            EXPECT_TRUE(several.text == "first\n" + text && several.broken.empty()) << name << several.broken;
        }
    EXPECT_EQ(unpacked(bytes_of("BZ, plain"), 1).text, "BZ, plain");
    EXPECT_EQ(unpacked({}, 1).text, "");
}

TEST(input, cut_or_damaged_data_gives_what_was_whole_and_says_so)
{
    const std::string text = long_text();
    for (const auto &[name, pack] : packings) {
        bytes_t whole = pack(text);
        for (const size_t len : {size_t{5}, whole.size() / 3, whole.size() - 1}) {
            const unpacked part(slice(whole, 0, len), 4096);
            EXPECT_EQ(part.broken, "the " + name + " data ends early") << len;
            EXPECT_TRUE(text.starts_with(part.text));
            EXPECT_GE(part.text.size() + 200'000, text.size() * len / whole.size()) << name;
        }
        whole[whole.size() / 2] ^= 0x55;
        EXPECT_THAT(unpacked(whole, 4096).broken, testing::HasSubstr("is damaged")) << name;
        EXPECT_THAT(unpacked(pack("x\n") + bytes_of("more"), 4096).broken, testing::HasSubstr("other data follows")) << name;
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
