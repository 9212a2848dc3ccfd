/*
 * Message facility: one line for each record that is raised, rate-limited per record, to standard error or syslog(3)
 * ($TEV_SYSLOG set to anything but 0).
 */
#ifndef PLATFORM_TEV_H
#define PLATFORM_TEV_H

#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/* Severities, as in syslog. */
#define TEV_ERR 3
#define TEV_WARNING 4

/* Bounds how often a record is printed: tml_limit lines in each period of 60 seconds, the rest are counted and told with the next
 * line. Without a limit record, or with a limit of 0, every line is printed. */
typedef struct tev_msg_limit {
    uint32_t tml_limit;
    uint32_t tml_printed;    /* lines in the running period */
    uint32_t tml_suppressed; /* left out since the last line */
    uint32_t tml_lock;       /* 0 or 1 */
    uint64_t tml_period;     /* when the running period began, seconds of the monotonic clock */
    uint8_t tml_reserved[8];
} tev_msg_limit_t;

typedef struct tev_msg_rec {
    uint64_t tmr_reserved_0;
    const char *tmr_format;     /*  8 printf format of the text */
    tev_msg_limit_t *tmr_limit; /* 16 */
    const char *tmr_facility;   /* 24 */
    const char *tmr_category;   /* 32 */
    const char *tmr_mnemonic;   /* 40 */
    uint16_t tmr_flags;         /* 48 1: the record is told to operators; 0: a programming or system fault. Not used here */
    uint16_t tmr_severity;      /* 50 */
    uint8_t tmr_reserved_52[12];
    uint32_t tmr_id; /* 64 component number << 16 | number of the message */
    uint32_t tmr_reserved_68;
} tev_msg_rec_t;

/** Raises a record with the arguments of its format. Keeps errno. Any thread may call; never allocates, never fails. */
PLATFORM_API void tev_errmsg(const tev_msg_rec_t *record, int level, ...);

PLATFORM_END

#endif
