/*
 * Bytes of a file or of standard input, decompressed when their first bytes say gzip or bzip2. Everything is read as a
 * stream; memory does not grow with the file.
 *
 * Data that ends badly (cut, damaged, unreadable) gives all that could be read, then the end; broken() tells why.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

class input
{
public:
    /* The most that can be peeked at. */
    static constexpr size_t window = 1 << 18;

    virtual ~input() = default;
    input(const input &) = delete;
    input &operator=(const input &) = delete;

    /* The bytes that come next: at least so many (at most window), fewer only before the end. Valid until the next call. */
    std::span<const uint8_t> peek(size_t least);
    /* Drops bytes that were peeked at. */
    void consume(size_t count);
    /* Takes bytes; fewer than asked for only at the end. */
    size_t read(uint8_t *into, size_t count);
    /* Drops bytes; fewer than asked for only at the end. */
    uint64_t skip(uint64_t count);

    /* Bytes taken so far, decompressed. */
    uint64_t position() const { return position_; }
    /* Empty when the data ended well; known once peek() came short. */
    const std::string &broken() const { return broken_; }

    /* "plain", "gzip" or "bzip2". */
    virtual const char *packing() const = 0;
    /* Bytes taken from the file itself, and its size, 0 when that is not known. */
    virtual uint64_t file_position() const = 0;
    virtual uint64_t file_size() const = 0;

protected:
    input() : buffer_(window) {}
    /* Reads some bytes; 0 at the end, having said why if it is none. */
    virtual size_t fill(uint8_t *into, size_t room) = 0;
    void break_off(const std::string &why) { broken_ = why; }

private:
    std::vector<uint8_t> buffer_;
    size_t begin_ = 0, end_ = 0;
    bool ended_ = false;
    uint64_t position_ = 0;
    std::string broken_;
};

/* Opens a file by its name, "-" for standard input. Fails the command when it cannot be opened. */
std::unique_ptr<input> open_input(const std::string &name);

/* The parts of it: the bytes of a descriptor, which is closed with the input, and what unpacks another input. */
std::unique_ptr<input> descriptor_input(int fd, uint64_t size);
std::unique_ptr<input> gzip_input(std::unique_ptr<input> packed);
std::unique_ptr<input> bzip2_input(std::unique_ptr<input> packed);
/* Unpacks by content; what is neither gzip nor bzip2 is handed through. */
std::unique_ptr<input> unpacked_input(std::unique_ptr<input> packed);
