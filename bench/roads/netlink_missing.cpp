/*
 * In the place of netlink_peer.cpp where libmnl was not found.
 */
#include "netlink_peer.h"

sample load_kernel(std::span<const uint32_t>)
{
    throw netlink_unavailable("built without libmnl");
}
