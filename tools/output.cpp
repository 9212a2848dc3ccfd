#include "output.h"

#include "failure.h"

#include <cerrno>
#include <cstring>

void output::object(const json &value)
{
    /* Names come from elsewhere: what is not UTF-8 in them is replaced. */
    const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    line("{}", text);
}

void output::write_when_due()
{
    constexpr size_t enough = 1 << 16;
    if (waiting_.size() >= enough)
        finish();
}

bool output::write()
{
    const bool written = fwrite(waiting_.data(), 1, waiting_.size(), file_) == waiting_.size() && fflush(file_) == 0;
    waiting_.clear();
    return written;
}

void output::finish()
{
    if (!write())
        fail("cannot write the output: {}", std::strerror(errno));
}
