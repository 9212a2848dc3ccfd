/*
 * What the tests of attributes share: setters with their values as steps, and what they are set to.
 */
#pragma once

#include <functional>

#include "tests/support/batch_fixture.h"

using result_t = rib_batch_buffer_result;
using step_t = std::function<result_t(rib_batch_buffer *)>;

/* A setter with a value that has the bytes of the text, and not one more that could be read. */
template <class value_td> step_t given(result_t (*set)(rib_batch_buffer *, value_td *), std::string text)
{
    return [=](rib_batch_buffer *b) {
        bytes_t value = hex(text);
        return set(b, reinterpret_cast<value_td *>(value.data()));
    };
}
template <class value_td> step_t given(result_t (*set)(rib_batch_buffer *, value_td *), std::nullptr_t)
{
    return [=](rib_batch_buffer *b) { return set(b, nullptr); };
}
inline step_t label(uint32_t value)
{
    return [=](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_path_set_binding_label(b, value); };
}
inline step_t labels(uint32_t count)
{
    return [=](rib_batch_buffer *b) {
        std::vector<uint32_t> values;
        while (values.size() < count)
            values.push_back(0x000a0b01 + static_cast<uint32_t>(values.size()));
        return ipv6_rib_batch_buffer_path_set_remote_label_stack(b, count, values.data());
    };
}
inline step_t via_sid(std::string sid, int len)
{
    return [=](rib_batch_buffer *b) {
        const in6_addr addr = address(sid);
        return ipv6_rib_batch_buffer_path_set_via_srv6_sid(b, &addr, len);
    };
}
inline step_t number(result_t (*set)(rib_batch_buffer *, uint32_t), uint32_t value)
{
    return [=](rib_batch_buffer *b) { return set(b, value); };
}
inline step_t bitmap(uint64_t bits)
{
    return [=](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_backup_delete_protected_bitmap(b, bits); };
}
/* One after the other, up to the first that is refused. */
inline step_t all(std::vector<step_t> steps)
{
    return [=](rib_batch_buffer *b) {
        result_t result = RIB_BATCH_BUFFER_OK;
        for (size_t at = 0; at < steps.size() && result == RIB_BATCH_BUFFER_OK; ++at)
            result = steps[at](b);
        return result;
    };
}

inline const step_t open_route = [](auto b) { return ipv6_rib_batch_buffer_init_route(b, &PREFIX, 48); };
inline const step_t open_path = all({add_plain_route, add_path_init});
inline const step_t open_withdrawal = all({add_plain_route, del_path_init});

/* The result, and a buffer that is changed only when something was set. */
inline void check_result(const batch_buffer_owner &buffer, const step_t &step, result_t expected, bool sets)
{
    const bytes_t before = all_of(buffer);
    EXPECT_EQ(step(buffer.get()), expected);
    EXPECT_EQ(all_of(buffer) != before, sets);
}
