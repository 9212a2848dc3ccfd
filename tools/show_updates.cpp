#include "show_updates.h"

#include "lookup.h"

#include <ipv6_rib/update.h>

/* Names are looked up only where there is a protocol. */
static json protocol_json(rib_protoid_td id, const protocol_namer &name)
{
    return id == RIB_PROTOID_NONE ? json() : json(name(id));
}

static json number_json(rib_protoid_td id)
{
    return id == RIB_PROTOID_NONE ? json() : json(id);
}

std::string change_line(const ipv6_routetype &route, const protocol_namer &name)
{
    if (!(route.rt_state & RIB_ROUTE_WITHDRAWN))
        return "+ " + route_line(route, name);
    const std::string prefix = text_of(prefix_of(route));
    return route.rt_protoid == RIB_PROTOID_NONE ? fmt::format("- {}", prefix)
                                                : fmt::format("- {} from {}", prefix, name(route.rt_protoid));
}

json change_object(const ipv6_routetype &route, const protocol_namer &name)
{
    if (route.rt_state & RIB_ROUTE_WITHDRAWN)
        return {{"event", "withdraw"},
                {"prefix", text_of(prefix_of(route))},
                {"protocol", protocol_json(route.rt_protoid, name)},
                {"protocol_id", number_json(route.rt_protoid)}};
    json told = {{"event", "route"}};
    told.update(route_object(route, name));
    return told;
}

shown_update established_update(uint32_t client_id)
{
    return {fmt::format("= established, client {}", client_id), {{"event", "established"}, {"client_id", client_id}}};
}

shown_update lost_update()
{
    return {"= lost", {{"event", "lost"}}};
}

shown_update complete_update(rib_tableid_td table, rib_protoid_td source, const protocol_namer &name)
{
    const std::string from = source == RIB_PROTOID_NONE ? "" : fmt::format(", from {}", name(source));
    return {fmt::format("= table 0x{:08X} complete{}", table, from),
            {{"event", "complete"},
             {"table", table},
             {"protocol", protocol_json(source, name)},
             {"protocol_id", number_json(source)}}};
}

shown_update marker_update(rib_protoid_td source, uint32_t marker, const protocol_namer &name)
{
    const std::string what = marker == RIB_MARKER_COMPLETE    ? "update complete"
                             : marker == RIB_MARKER_CONVERGED ? "converged"
                                                              : fmt::format("marker {}", marker);
    return {fmt::format("* {} {}", name(source), what),
            {{"event", "marker"}, {"protocol", name(source)}, {"protocol_id", source}, {"marker", what}}};
}

shown_update protocol_update(bool came, rib_protoid_td id, const protocol_namer &name)
{
    const char *what = came ? "came" : "went";
    return {fmt::format("* {} {}", name(id), what),
            {{"event", "protocol"}, {"protocol", name(id)}, {"protocol_id", id}, {"change", what}}};
}
