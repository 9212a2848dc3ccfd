/*
 * Redistribution: whose routes in which tables a session wants to hear of.
 */
#pragma once

#include <compare>
#include <cstdint>

#include <absl/container/btree_map.h>

#include <ipv6_rib/errors.h>

struct rib_server;
struct rib_session;

constexpr size_t RIB_SESSION_REDISTRIBUTIONS = 65'536;

struct rib_redist_key {
    rib_protoid_td source = RIB_PROTOID_NONE;
    rib_tableid_td table = 0;
    auto operator<=>(const rib_redist_key &) const = default;
};

struct rib_redist {
    uint32_t flags = 0;
    uint32_t child_arg = 0;
    uint32_t parent = 0; /* client id of the session that was joined; RIB_NO_PARENT for none */
    uint16_t mode = 0;
    bool markers = false;
};

struct rib_redistributions {
    absl::btree_map<rib_redist_key, rib_redist> wanted;
};

/* Whether a request may name that parent: 0, or EPERM when it is no session of the same process that has a redistribution. */
errcode rib_check_parent(const rib_server &server, const rib_session &session, uint32_t parent);
/* A source is forgotten, and its identifier may be another's: nobody wants its routes any more. */
void rib_drop_source(rib_server &server, rib_protoid_td source);
