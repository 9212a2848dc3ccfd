#include "connection.h"

#include "failure.h"
#include "results.h"
#include "route_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

static_assert(RIB_PROTO_NAME_PAIR == 2 * RIB_PROTO_NAME_FIELD);

std::string run_directory()
{
    if (const char *dir = std::getenv("MSG_CHAN_DIR"); dir && *dir)
        return dir;
    if (geteuid() == 0)
        return "/run/msg_chan";
    const char *user_dir = std::getenv("XDG_RUNTIME_DIR");
    return user_dir && *user_dir ? fmt::format("{}/msg_chan", user_dir) : "unknown: set MSG_CHAN_DIR or use --dir";
}

rib_connection::rib_connection()
{
    errno = 0;
    if (ipv6_rib_bind(&conn_) >= 0)
        return;
    const int error = errno;
    const std::string dir = run_directory();
    switch (error) {
    case EPERM:
        fail("the RIB server in {} does not let this user in: its policy forbids it", dir);
    case EACCES:
        fail("cannot reach the RIB server: {} or its socket may not be used, or is not trusted: directory and server must belong "
             "to root, this user or $MSG_CHAN_USER, and the directory be writable by nobody else",
             dir);
    case ELOOP:
        fail("cannot reach the RIB server: {} is a symbolic link, which is not trusted", dir);
    }
    const char *why = error ? std::strerror(error) : "it refused this client";
    fail("cannot reach the RIB server: {} (is ribd running? run directory {})", why, dir);
}

/* The server's reasons to refuse a registration, in words that fit better than those of the system. */
static std::string registration_error(errcode code)
{
    switch (code) {
    case EBUSY:
        return "another client that lives has these names";
    case ENAMETOOLONG:
        return fmt::format("the names have more than {} characters together", RIB_PROTO_NAMES_MAX);
    case ENOSPC:
        return "every protocol identifier is in use";
    default:
        return error_text(code);
    }
}

/* With a kind other than 0 only a protocol of that kind is found. */
static std::optional<rib_protoid_td> find_of_kind(ipv6_rib_conn_p conn, const protocol_identity &identity, uint32_t kind)
{
    errcode err = 0;
    const rib_protoid_td id = ipv6_rib_findpdb(conn, identity.name.c_str(), identity.instance.c_str(), kind, &err);
    if (id != RIB_PROTOID_NONE)
        return id;
    if (err != RIB_SRV_ERR_NOT_FOUND)
        fail("cannot find protocol {}/{}: {}", identity.name, identity.instance, registration_error(err));
    return {};
}

std::optional<rib_protoid_td> find_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity)
{
    return find_of_kind(conn, identity, 0);
}

static uint32_t kind_of(ipv6_rib_conn_p conn, const protocol_identity &identity)
{
    if (identity.kind)
        return *identity.kind;
    if (!find_protocol(conn, identity))
        return RIB_PROTO_KIND_STATIC;
    constexpr uint32_t with_a_number[] = {RIB_PROTO_KIND_CONNECTED, RIB_PROTO_KIND_LOCAL, RIB_PROTO_KIND_STATIC};
    for (const uint32_t kind : with_a_number)
        if (find_of_kind(conn, identity, kind))
            return kind;
    return RIB_PROTO_KIND_ROUTING;
}

rib_protoid_td register_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity)
{
    errcode err = 0;
    const rib_protoid_td id =
        ipv6_rib_register_protocol(conn, identity.name.c_str(), identity.instance.c_str(), kind_of(conn, identity),
                                   identity.distance, identity.hold_seconds, 0, &err);
    if (id == RIB_PROTOID_NONE)
        fail("cannot register protocol {}/{}: {}", identity.name, identity.instance, registration_error(err));
    return id;
}

rib_protoid_td take_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity)
{
    if (!find_protocol(conn, identity))
        fail("no protocol {} is registered", text_of(identity));
    return register_protocol(conn, identity);
}

std::string text_of(const protocol_identity &identity)
{
    return fmt::format("{}/{}", identity.name, identity.instance);
}

/* A name field is terminated only when it is not full. */
static std::string name_in(const char *field)
{
    return printable({field, strnlen(field, RIB_PROTO_NAME_FIELD)});
}

std::vector<protocol_names> names_of(ipv6_rib_conn_p conn, const std::vector<rib_protoid_td> &ids)
{
    std::vector<char> pairs(size_t{RIB_PROTOID_COUNT} * RIB_PROTO_NAME_PAIR);
    const auto count = static_cast<uint16_t>(ids.size());
    if (const errcode err = ipv6_rib_batch_protoid_to_proto_info(conn, 0, ids.data(), count, pairs.data()))
        fail("cannot read the names of protocols: {}", error_text(err));
    std::vector<protocol_names> names;
    for (size_t i = 0; i < ids.size(); ++i) {
        const char *const pair = pairs.data() + i * RIB_PROTO_NAME_PAIR;
        names.push_back({ids[i], name_in(pair), name_in(pair + RIB_PROTO_NAME_FIELD)});
    }
    return names;
}

std::string text_of(const protocol_names &names)
{
    const bool named = !names.name.empty() || !names.instance.empty();
    return named ? fmt::format("{}/{}", names.name, names.instance) : fmt::format("protocol {}", names.id);
}

std::string protocol_name(ipv6_rib_conn_p conn, rib_protoid_td id)
{
    return text_of(names_of(conn, {id}).front());
}

protocol_namer cached_names(ipv6_rib_conn_p conn)
{
    return [conn, known = std::map<rib_protoid_td, std::string>()](rib_protoid_td id) mutable {
        const auto [at, is_new] = known.try_emplace(id);
        if (is_new)
            at->second = protocol_name(conn, id);
        return at->second;
    };
}

table_status status_of(ipv6_rib_conn_p conn, rib_tableid_td table)
{
    table_status status = {};
    if (const errcode err = ipv6_rib_get_table_status(conn, table, &status))
        fail("cannot read the status of table {:#010x}: {}", table, error_text(err));
    return status;
}
