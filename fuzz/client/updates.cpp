/*
 * Fetches of updates, with a callback of every type.
 */
#include <cstdlib>
#include <cstring>

#include "fuzz/client/operations.h"

/* Three passes at most; those behind the first go over what the one before has left in the buffer. */
static void fetch(ipv6_rib_conn_p conn)
{
    const rib_route_update_cb route = [](uint32_t, ipv6_routetype *told, void *) { visit(told); };
    const rib_word_update_cb word = [](uint32_t, void *) {};
    const rib_bytes_update_cb bytes = [](uint32_t, const void *told, uint32_t len, void *) { look_at(told, len); };
    const rib_value_update_cb value = [](uint32_t, void *told, void *) { look_at(told, 72); };
    const rib_next_hop_update_cb next_hop = [](uint32_t, void *told, void *, uint32_t) { look_at(told, 88); };
    const rib_words_update_cb words = [](uint32_t, uint32_t, uint32_t, void *) {};
    const rib_state_update_cb state = [](uint32_t, void *told, uint8_t, void *) { look_at(told, told ? 264 : 0); };
    const rib_payload_update_cb payload = [](void *told, void *) { look_at(told, 16); };
    const rib_marker_update_cb marker = [](uint32_t, uint16_t, uint32_t, void *) {};
    const rib_list_update_cb list = [](uint32_t, uint32_t, uint32_t, uint32_t count, void *told, void *) {
        look_at(told, size_t{4} * count);
    };
    const rib_proto_update_cb proto = [](uint32_t, uint32_t, uint16_t, uint32_t, const char *name, const char *instance, void *) {
        if (std::strlen(name) > 40 || std::strlen(instance) > 40)
            std::abort();
    };
    const rib_state_record_cb record = [](rib_state_record *told, void *) { look_at(told, sizeof *told); };
    errcode err;
    ipv6_rib_fetch_update(conn, nullptr, &err, RIB_UPDATE_PASS_LIMIT, 3, RIB_UPDATE_ROUTES, route, RIB_UPDATE_CB_3, value,
                          RIB_UPDATE_NEXT_HOP, next_hop, RIB_UPDATE_DUMP_END, words, RIB_UPDATE_DUMPS_COMPLETE, word,
                          RIB_UPDATE_CB_7, state, RIB_UPDATE_ROUTES_8, route, RIB_UPDATE_CB_9, payload, RIB_UPDATE_NEXT_HOPS_TOLD,
                          word, RIB_UPDATE_SOURCE_MARKER, marker, RIB_UPDATE_CB_14, list, RIB_UPDATE_PROTOCOLS, proto,
                          RIB_UPDATE_OPAQUE, bytes, RIB_UPDATE_GRID, bytes, RIB_UPDATE_CB_21, bytes, RIB_UPDATE_CB_24, bytes,
                          RIB_UPDATE_STATE, record, RIB_UPDATE_END);
}

static const client_operation operations[] = {fetch};
const client_operations update_operations = operations;
