/*
 * The callbacks: each reads all that it is given.
 */
#include "tests/support/update_log.h"

#include <concepts>
#include <cstring>

namespace
{
void append(bytes_t *to, const bytes_t &bytes)
{
    to->insert(to->end(), bytes.begin(), bytes.end());
}
template <std::unsigned_integral number> void append(bytes_t *to, number value)
{
    const size_t at = to->size();
    to->resize(at + sizeof value);
    put_net(to, at, value, sizeof value);
}
template <class... parts> void tell(void *context, uint8_t type, const parts &...part)
{
    bytes_t *to = &static_cast<update_log_t *>(context)->told;
    append(to, type);
    (append(to, part), ...);
}

bytes_t text(const char *name)
{
    return bytes_at(name, std::strlen(name) + 1);
}
template <class number> number load(const void *place)
{
    number value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

/* The fixed part up to its pointers; for each pointer whether it is set and what it leads to; of the paths what is told. */
bytes_t route_bytes(const ipv6_routetype *route)
{
    bytes_t bytes = bytes_at(route, 72);
    const auto attribute = [&](const void *value, size_t len) {
        append(&bytes, uint8_t{value != nullptr});
        append(&bytes, bytes_at(value, value ? len : 0));
    };
    const auto *advertisers = route->rt_advertisers;
    attribute(advertisers, advertisers ? 4 + size_t{2} * advertisers->adv_count : 0);
    const auto *attr_6 = static_cast<const char *>(route->rt_attr_6);
    attribute(attr_6, attr_6 ? 4 + size_t{28} * load<uint16_t>(attr_6 + 2) : 0);
    for (const void *other : {route->rt_attr_8, route->rt_attr_9, route->rt_attr_10, route->rt_attr_11, route->rt_attr_15})
        attribute(other, 4);
    for (size_t n = 0; n < route->rt_path_count; ++n) {
        const bytes_t path = bytes_at(reinterpret_cast<const char *>(route) + 128 + 88 * n, 88);
        append(&bytes, slice(path, 0, 12) + slice(path, 16, 56) + slice(path, 76, 6));
    }
    return bytes;
}

template <int type> void routes(uint32_t word, ipv6_routetype *route, void *context)
{
    tell(context, type, word, route_bytes(route));
}
template <int type> void word(uint32_t word, void *context)
{
    tell(context, type, word);
}
template <int type> void bytes(uint32_t word, const void *bytes, uint32_t len, void *context)
{
    tell(context, type, word, bytes_at(bytes, len));
}
template <int type> void pass(void *context)
{
    tell(context, type);
    const auto &meanwhile = static_cast<update_log_t *>(context)->meanwhile;
    if (type == 17 && meanwhile)
        meanwhile();
}
const rib_value_update_cb value_3 = [](auto word, auto value, auto to) { tell(to, 3, word, bytes_at(value, 72)); };
const rib_value_update_cb value_12 = [](auto word, auto value, auto to) { tell(to, 12, word, bytes_at(value, 4)); };
const rib_next_hop_update_cb next_hop = [](auto word, auto value, auto to, auto word_80) {
    tell(to, 4, word, bytes_at(value, 88), word_80);
};
const rib_words_update_cb dump_end = [](auto word, auto second, auto third, auto to) { tell(to, 5, word, second, third); };
const rib_state_update_cb state = [](auto word, auto told, auto byte, auto to) {
    tell(to, 7, word, uint8_t{told != nullptr}, bytes_at(told, told ? 264 : 0), byte);
};
/* By the layout of the record, not by its declaration. */
const rib_state_record_cb state_record = [](auto record, auto to) {
    const bytes_t all = bytes_at(record, 264);
    tell(to, 26, uint8_t{record->payload != nullptr}, all[8], load<uint32_t>(&all[12]), slice(all, 16, 4), slice(all, 24, 240));
};
const rib_payload_update_cb payload = [](auto told, auto to) { tell(to, 9, bytes_at(told, 16)); };
const rib_marker_update_cb marker = [](auto word, auto protoid, auto mark, auto to) { tell(to, 13, word, protoid, mark); };
const rib_list_update_cb list = [](auto word_0, auto word_4, auto word_8, auto count, auto words, auto to) {
    tell(to, 14, word_0, word_4, word_8, count, bytes_at(words, size_t{4} * count));
};
const rib_proto_update_cb proto = [](auto word, auto operation, auto protoid, auto kind, auto name, auto instance, auto to) {
    tell(to, 15, word, operation, protoid, kind, text(name), text(instance));
};
} // namespace

errcode fetch_updates(ipv6_rib_conn_p conn, update_log_t *log, uint32_t types, uint32_t pass_limit)
{
    const auto given = [types](int type, auto *callback) { return types >> type & 1 ? callback : nullptr; };
    errcode err = 0xeeeeeeee;
    const int32_t result = ipv6_rib_fetch_update(
        conn, log, &err, 1, given(1, routes<1>), 3, given(3, value_3), 4, given(4, next_hop), 5, given(5, dump_end), 6,
        given(6, word<6>), 7, given(7, state), 8, given(8, routes<8>), 9, given(9, payload), 10, given(10, word<10>), 11,
        pass_limit, 12, given(12, value_12), 13, given(13, marker), 14, given(14, list), 15, given(15, proto), 16,
        given(16, bytes<16>), 17, given(17, pass<17>), 18, given(18, pass<18>), 19, given(19, pass<19>), 20, given(20, bytes<20>),
        21, given(21, bytes<21>), 24, given(24, bytes<24>), 26, given(26, state_record), 254);
    EXPECT_EQ(static_cast<uint32_t>(result), 0u - err);
    return err;
}

tev_line_t update_fault(const std::string &text)
{
    return {"FETCH_UPDATE", 3, "Error fetching RIB update - " + text};
}
