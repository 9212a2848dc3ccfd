/*
 * What the tests of batch records share: owned buffers, addresses with recognisable bytes, and the records as they travel.
 */
#pragma once

#include <memory>
#include <string>

#include "tests/support/batch_view.h"
#include "tests/support/client_test.h"

struct batch_buffer_free {
    void operator()(rib_batch_buffer *buffer) const { ipv6_rib_batch_buffer_free(buffer); }
};
using batch_buffer_owner = std::unique_ptr<rib_batch_buffer, batch_buffer_free>;

inline batch_buffer_owner allocate_batch(int small = 0)
{
    return batch_buffer_owner(ipv6_rib_batch_buffer_allocate(small));
}

inline constexpr const char *PREFIX_BYTES = "20010db8 01020304 05060708 090a0b0c";
inline constexpr const char *NEXTHOP_BYTES = "fe800000 11121314 15161718 191a1b1c";
inline constexpr const char *SOURCE_BYTES = "20010db8 21222324 25262728 292a2b2c";
inline const in6_addr PREFIX = address(PREFIX_BYTES);
inline const in6_addr NEXTHOP = address(NEXTHOP_BYTES);
inline const in6_addr SOURCE = address(SOURCE_BYTES);

/*
 * The route of add_route(PREFIX, 48, 0x0506, 0) as it travels: with that many paths (four hex digits), and with its
 * no-primary bits set or, once a primary path was added, clear.
 */
inline std::string plain_route(const char *paths, bool no_primary)
{
    return std::string("01 30 0e 00") + paths + "0506" + (no_primary ? "00008000" : "00000000") + "@20 00100001" +
           (no_primary ? "0000000000000080" : "00*8 ") + "@41 ffff 0000 01 @48 " + PREFIX_BYTES + "@336";
}

inline rib_batch_buffer_result add_plain_route(rib_batch_buffer *buffer)
{
    return ipv6_rib_batch_buffer_add_route(buffer, &PREFIX, 48, 0x0506, 0);
}
