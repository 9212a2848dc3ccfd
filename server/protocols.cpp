/*
 * Names and identifiers.
 */
#include "server/protocols.h"

#include <algorithm>

rib_protocols::rib_protocols()
{
    for (size_t id = 0; id != protocols_.size(); ++id)
        protocols_[id].id = static_cast<rib_protoid_td>(id);
}

rib_protocol *rib_protocols::find(rib_protoid_td id)
{
    return id < protocols_.size() && protocols_[id].known ? &protocols_[id] : nullptr;
}

rib_protocol *rib_protocols::find(std::string_view proto_name, std::string_view instance_name)
{
    const auto found = std::find_if(begin(), end(), [&](const rib_protocol &protocol) {
        return protocol.known && protocol.proto_name == proto_name && protocol.instance_name == instance_name;
    });
    return found == end() ? nullptr : &*found;
}

rib_protocol *rib_protocols::take(std::string_view proto_name, std::string_view instance_name)
{
    const auto free = std::find_if(begin(), end(), [](const rib_protocol &protocol) { return !protocol.known; });
    if (free == end())
        return nullptr;
    free->known = true;
    free->proto_name = proto_name;
    free->instance_name = instance_name;
    return &*free;
}

void rib_protocols::forget(rib_protocol &protocol)
{
    const rib_protoid_td id = protocol.id;
    protocol = rib_protocol{};
    protocol.id = id;
}
