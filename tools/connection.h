/*
 * The connection of one command to the RIB server.
 */
#pragma once

#include <ipv6_rib/connection.h>
#include <ipv6_rib/protocol.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/* Where the message channel looks for the server, as it chooses it. */
std::string run_directory();

class rib_connection
{
public:
    /* Binds; fails the command when the server cannot be reached. */
    rib_connection();
    ~rib_connection() { ipv6_rib_unbind(&conn_); }
    rib_connection(const rib_connection &) = delete;
    rib_connection &operator=(const rib_connection &) = delete;
    operator ipv6_rib_conn_p() const { return conn_; }

private:
    ipv6_rib_conn_p conn_ = nullptr;
};

/* A protocol as this tool registers it. */
struct protocol_identity {
    std::string name, instance;
    std::optional<uint32_t> kind = {}; /* none: the one that it has, static for a new protocol */
    uint32_t distance = 0;             /* 0 for the kind's */
    uint32_t hold_seconds = RIB_PROTO_HOLD_FOREVER;
};

/* The identifier of a protocol; nothing when it is not registered. */
std::optional<rib_protoid_td> find_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity);
/* Registering again sets all words of a protocol anew. Fails the command when the server refuses. */
rib_protoid_td register_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity);

/* The protocol of something that is to go: one that is there, taken over by this client. Fails the command when there is none. */
rib_protoid_td take_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity);
std::string text_of(const protocol_identity &identity);

struct protocol_names {
    rib_protoid_td id;
    std::string name, instance; /* both empty when the identifier is not registered */
};

std::vector<protocol_names> names_of(ipv6_rib_conn_p conn, const std::vector<rib_protoid_td> &ids);
/* "static/ribctl", or the number of an identifier without a name. */
std::string text_of(const protocol_names &names);
/* The same, asked of the server. */
std::string protocol_name(ipv6_rib_conn_p conn, rib_protoid_td id);
using protocol_namer = std::function<std::string(rib_protoid_td)>;
/* Asks the server for each name once. */
protocol_namer cached_names(ipv6_rib_conn_p conn);

/* RIB_TABLE_*, and how many prefixes there are. */
struct table_status {
    uint32_t flags, prefixes;
};
table_status status_of(ipv6_rib_conn_p conn, rib_tableid_td table);
