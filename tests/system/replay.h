/*
 * A table that a producer downloads in a random way which a seed repeats, and what servers and consumers then hold of it.
 */
#pragma once

#include <absl/container/flat_hash_map.h>
#include <array>

#include "system_test.h"

/* Next hops by prefix: the address, then its length. */
using table_td = absl::flat_hash_map<std::array<uint8_t, 17>, std::array<uint8_t, 16>>;

struct table_route {
    in6_addr_t prefix;
    uint8_t len;
    in6_addr_t nexthop;
};
/* So many routes as ribctl generates them. */
std::vector<table_route> generated_table(const run_dir &dir, size_t count);
std::vector<table_route> read_table(const std::string &file);

/* For each route of a table which of its next hops it has; 0 while it is withdrawn. */
using choice_td = std::vector<uint8_t>;
/* Loads most of a table, changes much of it, withdraws some. */
void play(uint32_t seed, size_t routes, const std::function<void(size_t route, uint8_t hop)> &change);
/* What that leaves. */
table_td table_of(const std::vector<table_route> &routes, const choice_td &choice);
table_td played(uint32_t seed, const std::vector<table_route> &routes);

/* What a server lists. */
table_td listed(ipv6_rib_conn_p conn);
/* Empty when two tables are equal, else how they differ. */
std::string difference(const table_td &is, const table_td &should);

/* Downloads changes of a table, and all of it again to a server that has lost it. */
class producer
{
public:
    test_client client;
    choice_td choice;
    unsigned rebinds = 0;

    explicit producer(const std::vector<table_route> &routes, int32_t (*bind)(ipv6_rib_conn_p *) = ipv6_rib_bind,
                      int32_t (*rebind)(ipv6_rib_conn_p) = ipv6_rib_rebind)
        : client("producer", bind), choice(routes.size()), routes_(routes), rebind_(rebind)
    {
    }
    /* Whether all that was sent arrived. When not, changes are only kept, for recover(). */
    bool up() const { return up_; }
    void change(size_t route, uint8_t hop);
    /* Sends what is left and tells that the table is complete. */
    void finish();
    /* Binds anew, waiting for a server, and downloads everything. Ends the process when that takes too long. */
    void recover();

private:
    void put(size_t route);
    void send();
    void try_again();

    const std::vector<table_route> &routes_;
    int32_t (*rebind_)(ipv6_rib_conn_p);
    bool up_ = true;
};

/* A consumer of all routes, which binds anew when the server went. */
class replica
{
public:
    ipv6_rib_conn_p conn = nullptr;
    table_td table;

    replica();
    ~replica() { ipv6_rib_unbind(&conn); }
    replica(const replica &) = delete;
    replica &operator=(const replica &) = delete;
    /* Takes in what has changed, on a server that is new all that there is; false while there is none. */
    bool catch_up();

private:
    bool follow();
    bool following_ = false;
};
