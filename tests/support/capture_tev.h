/*
 * Keeps what is raised through the message facility, instead of printing it.
 */
#pragma once

#include <string>
#include <vector>

struct tev_line_t {
    std::string mnemonic;
    int level;
    std::string text;
    bool operator==(const tev_line_t &) const = default;
};
std::ostream &operator<<(std::ostream &out, const tev_line_t &line);

/* Every record raised since the last call, oldest first. */
std::vector<tev_line_t> captured_tev();
/* What is raised when an operation on a lock or channel fails that never should. */
tev_line_t lock_fatal(const char *function, const char *operation, int error);
