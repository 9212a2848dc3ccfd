/*
 * A client as somebody else would build it, from the installed headers and libraries alone; compiled as C and as C++.
 * Needs no server: expects that a bind tells so.
 */
#include <ipv6_rib/ipv6_rib.h>

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures;

static void expect(int holds, const char *what)
{
    if (!holds) {
        fprintf(stderr, "consumer: failed: %s\n", what);
        failures++;
    }
}

static void use_results(void)
{
    expect(strcmp(ribresulttype_to_string(99), "Invalid RIB Result") == 0, "an unknown result has its text");
    expect(strcmp(ribresulttype_to_string(RIB_RESULT_OK), ribresulttype_to_string(RIB_RESULT_EXISTS)) != 0,
           "results have texts of their own");
    expect(tev_msg_rec_rib_lib_unbind_getfn() == &tev_msg_rec_rib_lib_unbind, "a message record is where its getter says");
}

static void use_batch(void)
{
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    in6_addr_t prefix, nexthop;
    inet_pton(AF_INET6, "2001:db8::", &prefix);
    inet_pton(AF_INET6, "fe80::1", &nexthop);
    expect(ipv6_rib_batch_buffer_is_empty(buffer) == 1, "a new buffer is empty");
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    expect(ipv6_rib_batch_buffer_route_fits(buffer, 1) == 1, "a route fits");
    expect(ipv6_rib_batch_buffer_add_route(buffer, &prefix, 32, 0, 1) == RIB_BATCH_BUFFER_OK, "a route is added");
    expect(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0) == RIB_BATCH_BUFFER_OK, "a path is added");
    expect(ipv6_rib_batch_buffer_is_empty(buffer) == 0, "a filled buffer is not empty");
    ipv6_rib_batch_buffer_clear(buffer);
    expect(ipv6_rib_batch_buffer_is_empty(buffer) == 1, "a cleared buffer is empty");
    ipv6_rib_batch_buffer_free(buffer);
}

static void use_connection(void)
{
    ipv6_rib_conn_p conn = NULL;
    ipv6_routetype *route = (ipv6_routetype *)calloc(1, sizeof *route);
    in6_addr_t address = in6addr_loopback;
    errcode err = 0;
    expect(ipv6_rib_bind(&conn) == -1 && conn == NULL, "a bind without a server fails");
    expect(ipv6_rib_route_lookup(conn, IPV6_RIB_TABLE_DEFAULT, &address, 128, RIB_LOOKUP_LONGEST, 0, route, &err) == 0 &&
               err == RIB_LIB_ERR_BAD_ARG,
           "a lookup without a connection tells why");
    ipv6_rib_unbind(&conn);
    free(route);
}

int main(void)
{
    use_results();
    use_batch();
    use_connection();
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
