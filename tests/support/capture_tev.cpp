/*
 * The message facility's symbol, for the test program to look at what was raised.
 */
#include "tests/support/capture_tev.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <ostream>
#include <utility>

#include <platform/tev.h>

static std::mutex capture_lock;
static std::vector<tev_line_t> &lines()
{
    static std::vector<tev_line_t> kept;
    return kept;
}

std::ostream &operator<<(std::ostream &out, const tev_line_t &line)
{
    return out << line.mnemonic << " (" << line.level << ") \"" << line.text << '"';
}

std::vector<tev_line_t> captured_tev()
{
    const std::lock_guard guard(capture_lock);
    return std::exchange(lines(), {});
}

tev_line_t lock_fatal(const char *function, const char *operation, int error)
{
    return {"ERR_LOCK_FATAL", 3,
            std::string(function) + " Pthread " + operation + ", unexpected fatal error [" + std::strerror(error) + "]"};
}

extern "C" void tev_errmsg(const tev_msg_rec_t *record, int level, ...)
{
    const int kept_errno = errno;
    char text[512];
    va_list arguments;
    va_start(arguments, level);
    std::vsnprintf(text, sizeof text, record->tmr_format, arguments);
    va_end(arguments);
    {
        const std::lock_guard guard(capture_lock);
        lines().push_back({record->tmr_mnemonic, level, text});
    }
    errno = kept_errno;
}
