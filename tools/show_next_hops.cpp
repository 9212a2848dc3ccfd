#include "show_next_hops.h"

#include "address.h"

std::string next_hop_line(const rib_next_hop_update &told, const protocol_namer &name)
{
    const std::string addr = text_of(address_at(told.nu_addr));
    if (!(told.nu_flags & RIB_NH_REACHED))
        return fmt::format("- {} not reached", addr);
    const bool named = told.nu_interface != RIB_INTERFACE_NONE;
    return fmt::format("+ {} via {}{} from {}, length {}, distance {}, metric {}{}", addr, text_of(address_at(told.nu_via)),
                       named ? fmt::format(" interface {}", +told.nu_interface) : "", name(told.nu_protoid), +told.nu_prefix_len,
                       +told.nu_distance, +told.nu_metric, told.nu_flags & RIB_NH_CONNECTED ? ", connected" : "");
}

json next_hop_object(const rib_next_hop_update &told, const protocol_namer &name)
{
    json shown = {{"event", "next_hop"}, {"address", text_of(address_at(told.nu_addr))}};
    shown["reached"] = (told.nu_flags & RIB_NH_REACHED) != 0;
    if (!(told.nu_flags & RIB_NH_REACHED))
        return shown;
    shown.update({{"via", text_of(address_at(told.nu_via))},
                  {"interface", interface_json(told.nu_interface)},
                  {"connected", (told.nu_flags & RIB_NH_CONNECTED) != 0},
                  {"prefix_length", +told.nu_prefix_len},
                  {"protocol", name(told.nu_protoid)},
                  {"protocol_id", +told.nu_protoid},
                  {"distance", +told.nu_distance},
                  {"metric", +told.nu_metric}});
    return shown;
}

shown_update next_hops_told_update(rib_tableid_td table)
{
    return {fmt::format("= table 0x{:08X} next hops told", table), {{"event", "next_hops_told"}, {"table", table}}};
}

json interface_json(uint32_t interface)
{
    return interface == 0 || interface == RIB_INTERFACE_NONE ? json() : json(interface);
}
