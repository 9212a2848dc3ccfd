/*
 * bzip2, also of several streams one behind the other. Only whole blocks can be unpacked: a cut file gives the blocks
 * before the cut.
 */
#include "failure.h"
#include "input.h"

#include <bzlib.h>

namespace
{

class bzip2_bytes final : public input
{
public:
    explicit bzip2_bytes(std::unique_ptr<input> packed) : packed_(std::move(packed)) { begin_stream(); }
    ~bzip2_bytes() override { BZ2_bzDecompressEnd(&stream_); }
    const char *packing() const override { return "bzip2"; }
    uint64_t file_position() const override { return packed_->file_position(); }
    uint64_t file_size() const override { return packed_->file_size(); }

private:
    void begin_stream()
    {
        stream_ = {};
        if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK)
            fail("no memory to unpack bzip2 data");
    }

    size_t fill(uint8_t *into, size_t room) override
    {
        char *const start = reinterpret_cast<char *>(into);
        size_t done = 0;
        while (done == 0 && step(start, room, &done))
            ;
        return done;
    }

    /* Unpacks what the window of the packed input holds; false at the end, good or bad. */
    bool step(char *into, size_t room, size_t *done)
    {
        const std::span<const uint8_t> next = packed_->peek(1);
        if (next.empty())
            return end_of_file(into, room, done);
        if (between_streams_ && next[0] != 'B')
            return break_off("other data follows the bzip2 data"), false;
        between_streams_ = false;
        stream_.next_in = reinterpret_cast<char *>(const_cast<uint8_t *>(next.data())); // libbz2 only reads it
        stream_.avail_in = static_cast<unsigned>(next.size());
        const int result = unpack(into, room, done);
        packed_->consume(next.size() - stream_.avail_in);
        return go_on(result);
    }

    int unpack(char *into, size_t room, size_t *done)
    {
        stream_.next_out = into;
        stream_.avail_out = static_cast<unsigned>(room);
        const int result = BZ2_bzDecompress(&stream_);
        *done = room - stream_.avail_out;
        return result;
    }

    bool go_on(int result)
    {
        if (result == BZ_OK)
            return true;
        if (result != BZ_STREAM_END)
            return break_off("the bzip2 data is damaged"), false;
        BZ2_bzDecompressEnd(&stream_);
        begin_stream();
        between_streams_ = true;
        return true;
    }

    /* All input is given, but a whole block may still wait to be unpacked. */
    bool end_of_file(char *into, size_t room, size_t *done)
    {
        if (between_streams_)
            return adopt_break();
        stream_.next_in = nullptr;
        stream_.avail_in = 0;
        const int result = unpack(into, room, done);
        if (*done > 0)
            return go_on(result);
        if (!adopt_break() && broken().empty())
            break_off("the bzip2 data ends early");
        return false;
    }

    bool adopt_break()
    {
        if (!packed_->broken().empty())
            break_off(packed_->broken());
        return false;
    }

    std::unique_ptr<input> packed_;
    bz_stream stream_ = {};
    bool between_streams_ = false;
};

} // namespace

std::unique_ptr<input> bzip2_input(std::unique_ptr<input> packed)
{
    return std::make_unique<bzip2_bytes>(std::move(packed));
}
