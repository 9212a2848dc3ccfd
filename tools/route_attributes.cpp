#include "route_attributes.h"

#include <ipv6_rib/attributes.h>

#include <cstring>

namespace
{

constexpr size_t head = 2 * sizeof(uint16_t); /* a zero word and the count of what follows */

template <class item> item item_at(const void *attribute, size_t index)
{
    item read;
    std::memcpy(&read, static_cast<const uint8_t *>(attribute) + head + index * sizeof read, sizeof read);
    return read;
}

template <class item> std::optional<item> first_of(const void *attribute)
{
    return attribute ? std::optional(item_at<item>(attribute, 0)) : std::nullopt;
}

json algo_labels_json(const void *attribute)
{
    uint16_t count;
    std::memcpy(&count, static_cast<const uint8_t *>(attribute) + sizeof(uint16_t), sizeof count);
    json labels = json::array();
    for (uint16_t i = 0; i < count; ++i) {
        const auto label = item_at<ip_rib_algo_label_td>(attribute, i);
        labels.push_back(fmt::format("{}:{}:{}", label.al_algo, label.al_index, label.al_label));
    }
    return labels;
}

/* The name's bytes, which need not be text, and the number. */
std::string aft_text(const ip_rib_route_aft_id_td &aft)
{
    return fmt::format("{:02x}:{}", fmt::join(aft.raf_name, ""), aft.raf_id);
}

} // namespace

json route_attributes_object(const ipv6_routetype &route)
{
    json told = json::object();
    if (const auto aft = first_of<ip_rib_route_aft_id_td>(route.rt_attr_6))
        told["aft"] = aft_text(*aft);
    if (route.rt_attr_8)
        told["algo_labels"] = algo_labels_json(route.rt_attr_8);
    if (const auto sid = held_sid(route))
        told["sid_context"] = sid->hs_context;
    if (const auto iid = held_iid(route))
        told["iid_context"] = iid->hi_context;
    if (const auto l2 = first_of<ip_rib_route_l2_info_td>(route.rt_attr_11))
        told["l2_info"] = l2->rl2_info;
    if (const auto algo = first_of<ip_rib_route_algo_td>(route.rt_attr_15))
        told["algo"] = algo->ra_algo;
    return told;
}

std::optional<rib_held_sid> held_sid(const ipv6_routetype &route)
{
    return first_of<rib_held_sid>(route.rt_attr_9);
}

std::optional<rib_held_iid> held_iid(const ipv6_routetype &route)
{
    return first_of<rib_held_iid>(route.rt_attr_10);
}
