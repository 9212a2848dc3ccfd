/*
 * The whole interface of the IPv6 RIB client library.
 */
#ifndef IPV6_RIB_IPV6_RIB_H
#define IPV6_RIB_IPV6_RIB_H

#include <ipv6_rib/address.h>
#include <ipv6_rib/attributes.h>
#include <ipv6_rib/batch.h>
#include <ipv6_rib/batch_route.h>
#include <ipv6_rib/batch_send.h>
#include <ipv6_rib/connection.h>
#include <ipv6_rib/errors.h>
#include <ipv6_rib/messages.h>
#include <ipv6_rib/next_hop.h>
#include <ipv6_rib/next_hop_batch.h>
#include <ipv6_rib/protocol.h>
#include <ipv6_rib/redist_batch.h>
#include <ipv6_rib/redistribution.h>
#include <ipv6_rib/route.h>
#include <ipv6_rib/route_change.h>
#include <ipv6_rib/route_fetch.h>
#include <ipv6_rib/route_inspect.h>
#include <ipv6_rib/srv6.h>
#include <ipv6_rib/types.h>
#include <ipv6_rib/update.h>

#endif
