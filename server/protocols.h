/*
 * The protocols that the server knows: name pair, identifier, owner and registration words.
 *
 * A path carries the epoch of its protocol. When the owner goes, the epoch grows, and all that was sent before is stale
 * at once; sending a path again brings it to the new epoch.
 */
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <sys/types.h>

#include <ipv6_rib/protocol.h>

struct rib_session;

constexpr uint64_t RIB_NEVER = std::numeric_limits<uint64_t>::max();

struct rib_protocol {
    rib_protoid_td id = 0;
    bool known = false;
    rib_session *owner = nullptr; /* NULL while the routes are held for a client that is gone */
    std::string proto_name;
    std::string instance_name;
    std::string process; /* of the last owner */
    std::string node;
    uid_t uid = 0;
    std::array<uint32_t, 4> words = {};
    uint64_t word64 = 0;
    uint8_t distance = 0;
    uint32_t epoch = 0;
    bool may_be_stale = false; /* paths of an earlier epoch may be left */
    bool complete = false;     /* has told so since it registered */
    uint64_t hold_until = RIB_NEVER;
};

class rib_protocols
{
public:
    rib_protocols();

    /* The protocol of an identifier or a name pair, or NULL. */
    rib_protocol *find(rib_protoid_td id);
    rib_protocol *find(std::string_view proto_name, std::string_view instance_name);
    /* Gives an identifier that is free to a name pair; NULL when none is. */
    rib_protocol *take(std::string_view proto_name, std::string_view instance_name);
    void forget(rib_protocol &protocol);

    auto begin() { return protocols_.begin(); }
    auto end() { return protocols_.end(); }

private:
    std::array<rib_protocol, RIB_PROTOID_COUNT> protocols_;
};
