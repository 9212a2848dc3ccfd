/*
 * A connected client: what the channel knows of it, and how it introduced itself.
 */
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ip/rib/wire/bind.h"
#include "server/consumer.h"
#include "server/next_hops.h"
#include "server/policy.h"

struct rib_session {
    uint32_t client_id = 0;
    rib_credentials credentials;
    std::vector<std::pair<rib_right, unsigned>> refusals; /* of the policy, told already: what, and the line of its rule */
    std::function<bool()> gone;                           /* whether the client has closed its end already; empty: it has not */
    std::function<bool()> pulse; /* delivers the event; false: it did not reach the client. Empty: nowhere */
    bool bound = false;          /* everything below is the client's own word */
    std::string process;
    std::string node;
    bool has_event = false;
    std::array<uint8_t, RIB_SIGEVENT> event = {};
    uint64_t pulse_value = 0;
    uint8_t version = 0;
    uint16_t option = 0;
    std::string first_proto_name; /* of its first registration; further instances in a batch belong to it */
    rib_next_hops next_hops;
    rib_consumer consumer;
};
