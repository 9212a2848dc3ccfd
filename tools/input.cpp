#include "input.h"

#include "failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

std::span<const uint8_t> input::peek(size_t least)
{
    if (end_ - begin_ < least && begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    while (!ended_ && end_ - begin_ < least && end_ < buffer_.size()) {
        const size_t got = fill(buffer_.data() + end_, buffer_.size() - end_);
        end_ += got;
        ended_ = got == 0 || !broken_.empty();
    }
    return {buffer_.data() + begin_, end_ - begin_};
}

void input::consume(size_t count)
{
    begin_ += std::min(count, end_ - begin_);
    position_ += count;
}

size_t input::read(uint8_t *into, size_t count)
{
    size_t done = 0;
    while (done < count) {
        const std::span<const uint8_t> next = peek(1);
        const size_t part = std::min(next.size(), count - done);
        if (part == 0)
            break;
        std::memcpy(into + done, next.data(), part);
        consume(part);
        done += part;
    }
    return done;
}

uint64_t input::skip(uint64_t count)
{
    uint64_t done = 0;
    while (done < count) {
        const size_t part = static_cast<size_t>(std::min<uint64_t>(peek(1).size(), count - done));
        if (part == 0)
            break;
        consume(part);
        done += part;
    }
    return done;
}

namespace
{

class descriptor_bytes final : public input
{
public:
    descriptor_bytes(int fd, uint64_t size) : fd_(fd), size_(size) {}
    ~descriptor_bytes() override { close(fd_); }
    const char *packing() const override { return "plain"; }
    uint64_t file_position() const override { return position(); }
    uint64_t file_size() const override { return size_; }

private:
    size_t fill(uint8_t *into, size_t room) override
    {
        ssize_t got;
        do
            got = ::read(fd_, into, room);
        while (got < 0 && errno == EINTR);
        if (got < 0)
            break_off(fmt::format("cannot be read on: {}", std::strerror(errno)));
        return got < 0 ? 0 : static_cast<size_t>(got);
    }

    int fd_;
    uint64_t size_;
};

} // namespace

std::unique_ptr<input> descriptor_input(int fd, uint64_t size)
{
    return std::make_unique<descriptor_bytes>(fd, size);
}

std::unique_ptr<input> unpacked_input(std::unique_ptr<input> packed)
{
    const std::span<const uint8_t> start = packed->peek(4);
    if (start.size() >= 2 && start[0] == 0x1F && start[1] == 0x8B)
        return gzip_input(std::move(packed));
    if (start.size() >= 4 && std::memcmp(start.data(), "BZh", 3) == 0 && start[3] >= '1' && start[3] <= '9')
        return bzip2_input(std::move(packed));
    return packed;
}

std::unique_ptr<input> open_input(const std::string &name)
{
    const int fd = name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        fail("cannot open {}: {}", name, std::strerror(errno));
    struct stat status = {};
    fstat(fd, &status);
    std::unique_ptr<input> bytes = descriptor_input(fd, S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0);
    if (S_ISDIR(status.st_mode))
        fail("cannot read {}: it is a directory", name);
    return unpacked_input(std::move(bytes));
}
