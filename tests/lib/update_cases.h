/*
 * Every message of an update, one case each: its payload, and what callbacks are told of it.
 */
#pragma once

#include <string>
#include <vector>

#include "tests/support/update_bytes.h"
#include "tests/support/update_log.h"

struct update_case_t {
    const char *name;
    uint16_t type;
    bytes_t payload;
    /* As update_log_t keeps it, one text for each callback; what differs in format 1. */
    std::vector<std::string> told, told_v1 = {};

    /* What callbacks of these types are told. */
    bytes_t told_to(uint32_t types, unsigned format) const;
};
const std::vector<update_case_t> &update_cases();
