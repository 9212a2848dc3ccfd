/*
 * What a request for an SRv6 SID or an IID claims: the numbers that it may get, and what names it.
 */
#pragma once

#include <ipv6_rib/srv6.h>

#include "server/ledger.h"

/* 0, or EINVAL: a field of the request is wrong. */
errcode rib_sid_claim(const rib_held_sid &held, rib_protoid_td protoid, rib_claim *claim);
errcode rib_iid_claim(const rib_held_iid &held, rib_protoid_td protoid, rib_claim *claim);
