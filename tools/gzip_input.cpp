/*
 * gzip, also of several members one behind the other.
 */
#include "failure.h"
#include "input.h"

#include <zlib.h>

namespace
{

class gzip_bytes final : public input
{
public:
    explicit gzip_bytes(std::unique_ptr<input> packed) : packed_(std::move(packed))
    {
        constexpr int gzip_only = 15 + 16;
        if (inflateInit2(&stream_, gzip_only) != Z_OK)
            fail("no memory to unpack gzip data");
    }
    ~gzip_bytes() override { inflateEnd(&stream_); }
    const char *packing() const override { return "gzip"; }
    uint64_t file_position() const override { return packed_->file_position(); }
    uint64_t file_size() const override { return packed_->file_size(); }

private:
    size_t fill(uint8_t *into, size_t room) override
    {
        stream_.next_out = into;
        stream_.avail_out = static_cast<uInt>(room);
        while (stream_.avail_out == room && step())
            ;
        return room - stream_.avail_out;
    }

    /* Unpacks what the window of the packed input holds; false at the end, good or bad. */
    bool step()
    {
        const std::span<const uint8_t> next = packed_->peek(1);
        if (next.empty())
            return end_of_file();
        if (between_members_ && next[0] != 0x1F)
            return break_off("other data follows the gzip data"), false;
        between_members_ = false;
        stream_.next_in = const_cast<Bytef *>(next.data()); // zlib only reads it
        stream_.avail_in = static_cast<uInt>(next.size());
        const int result = inflate(&stream_, Z_NO_FLUSH);
        packed_->consume(next.size() - stream_.avail_in);
        return go_on(result);
    }

    bool go_on(int result)
    {
        if (result == Z_STREAM_END) {
            between_members_ = true;
            return inflateReset(&stream_) == Z_OK;
        }
        if (result == Z_OK || result == Z_BUF_ERROR)
            return true;
        break_off(fmt::format("the gzip data is damaged: {}", stream_.msg ? stream_.msg : zError(result)));
        return false;
    }

    /* All input is given, but zlib may still hold bytes for which there was no room. */
    bool end_of_file()
    {
        if (!between_members_) {
            const uInt room = stream_.avail_out;
            stream_.avail_in = 0;
            const int result = inflate(&stream_, Z_NO_FLUSH);
            if (stream_.avail_out != room)
                return go_on(result);
        }
        if (!packed_->broken().empty())
            break_off(packed_->broken());
        else if (!between_members_)
            break_off("the gzip data ends early");
        return false;
    }

    std::unique_ptr<input> packed_;
    z_stream stream_ = {};
    bool between_members_ = false;
};

} // namespace

std::unique_ptr<input> gzip_input(std::unique_ptr<input> packed)
{
    return std::make_unique<gzip_bytes>(std::move(packed));
}
