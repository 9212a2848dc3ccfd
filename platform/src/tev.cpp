/*
 * Message facility: formats a record's text into one line and writes it with one call.
 */
#include <platform/tev.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sched.h>
#include <syslog.h>
#include <unistd.h>

constexpr uint64_t limit_period = 60;
constexpr size_t text_room = 1024;
constexpr size_t line_room = text_room + 320;

static_assert(sizeof(tev_msg_limit_t) == 32 && sizeof(tev_msg_rec_t) == 72);

/* Seconds of the monotonic clock; never 0, which is what a fresh limit record holds. */
static uint64_t seconds_running(void)
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) + 1;
}

/* Accounts for one line. True when it may be printed; *suppressed then tells how many were left out before it. */
static bool limit_admits(tev_msg_limit_t *limit, uint32_t *suppressed)
{
    *suppressed = 0;
    if (!limit || limit->tml_limit == 0)
        return true;
    while (__atomic_exchange_n(&limit->tml_lock, 1, __ATOMIC_ACQUIRE) != 0)
        sched_yield();
    const uint64_t now = seconds_running();
    if (limit->tml_period == 0 || now - limit->tml_period >= limit_period) {
        limit->tml_period = now;
        limit->tml_printed = 0;
    }
    const bool admitted = limit->tml_printed < limit->tml_limit;
    if (admitted) {
        limit->tml_printed++;
        *suppressed = limit->tml_suppressed;
        limit->tml_suppressed = 0;
    } else {
        limit->tml_suppressed++;
    }
    __atomic_store_n(&limit->tml_lock, 0, __ATOMIC_RELEASE);
    return admitted;
}

/* One line per record, whatever its text holds: control characters become spaces, those at the end go. */
static void flatten(char *text)
{
    size_t len = strlen(text);
    for (size_t i = 0; i != len; i++)
        if (static_cast<unsigned char>(text[i]) < ' ' || text[i] == '\x7F')
            text[i] = ' ';
    while (len != 0 && text[len - 1] == ' ')
        text[--len] = '\0';
}

/* By the calendar of <chrono>: gmtime() may read files and allocate. */
static void format_time(char *text, size_t room)
{
    using namespace std::chrono;
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const sys_seconds second{seconds{now.tv_sec}};
    const sys_days day = floor<days>(second);
    const year_month_day date{day};
    const hh_mm_ss clock{second - day};
    snprintf(text, room, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
             static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
             static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
             static_cast<int>(now.tv_nsec / 1'000'000));
}

static bool to_syslog(void)
{
    const char *set = getenv("TEV_SYSLOG");
    return set && *set && strcmp(set, "0") != 0;
}

static void write_line(const char *message)
{
    char when[40];
    format_time(when, sizeof when);
    char line[line_room];
    int len = snprintf(line, sizeof line - 1, "%s %.64s[%d]: %s", when, program_invocation_short_name, static_cast<int>(getpid()),
                       message);
    if (len < 0)
        return;
    if (len > static_cast<int>(sizeof line) - 2)
        len = sizeof line - 2;
    line[len] = '\n';
    while (write(STDERR_FILENO, line, static_cast<size_t>(len) + 1) < 0 && errno == EINTR)
        ;
}

static void print_record(const tev_msg_rec_t *record, int level, uint32_t suppressed, va_list arguments)
{
    char text[text_room];
    if (vsnprintf(text, sizeof text, record->tmr_format, arguments) < 0)
        snprintf(text, sizeof text, "%s", record->tmr_format);
    flatten(text);
    char more[40] = "";
    if (suppressed != 0)
        snprintf(more, sizeof more, " (%u more suppressed)", suppressed);
    char message[text_room + 200];
    snprintf(message, sizeof message, "%.48s-%d-%.64s : %s%s", record->tmr_facility, level, record->tmr_mnemonic, text, more);
    if (to_syslog())
        syslog(LOG_USER | (level & LOG_PRIMASK), "%s", message);
    else
        write_line(message);
}

void tev_errmsg(const tev_msg_rec_t *record, int level, ...)
{
    const int kept = errno;
    uint32_t suppressed;
    if (limit_admits(record->tmr_limit, &suppressed)) {
        va_list arguments;
        va_start(arguments, level);
        print_record(record, level, suppressed, arguments);
        va_end(arguments);
    }
    errno = kept;
}
