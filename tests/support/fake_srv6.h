/*
 * The platform's SRv6 functions: the real ones, unless a test sets others in their place.
 */
#pragma once

#include <functional>

#include <platform/srv6.h>

struct fake_srv6_t {
    std::function<int(uint32_t format, srv6_sid_fmt_info_t *info)> format;
    std::function<int(uint32_t format, const in6_addr *sid, srv6_sid_block_t *block)> block;
    std::function<int(uint32_t opcode)> opcode;
    std::function<int(srv6_sid_list_t *list)> interop, lengths;
};
fake_srv6_t &fake_srv6();
