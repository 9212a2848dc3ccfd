/*
 * The names of a protocol and its instance, as requests carry them.
 */
#pragma once

#include <cstring>

#include "ip/rib/wire/protocol.h"

inline bool rib_names_fit(const char *proto_name, const char *instance_name)
{
    return std::strlen(proto_name) + std::strlen(instance_name) <= RIB_PROTO_NAMES_MAX;
}

/* Fills a zeroed pair with at most RIB_PROTO_NAMES_MAX characters of each name, so that both stay terminated. */
inline void rib_fill_names(rib_name_pair_td *names, const char *proto_name, const char *instance_name)
{
    std::memcpy(names->np_proto, proto_name, strnlen(proto_name, RIB_PROTO_NAMES_MAX));
    std::memcpy(names->np_instance, instance_name, strnlen(instance_name, RIB_PROTO_NAMES_MAX));
}
