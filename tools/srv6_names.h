/*
 * Names of SRv6 behaviours and SID formats. Where there is no name, the number stands for itself.
 */
#pragma once

#include <platform/srv6.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/* "end.x", "end.x.next-csid", or a code point. */
std::optional<uint32_t> endpoint_named(std::string_view text);
std::string endpoint_name(uint32_t function);

/* "h.encaps" */
std::optional<uint32_t> headend_named(std::string_view text);
std::string headend_name(uint32_t function);

/* "csid-32-16" */
std::optional<srv6_sid_fmt_info_t> format_named(std::string_view text);
std::string format_name(uint32_t format);
/* All of them, for messages. */
std::string format_names();
