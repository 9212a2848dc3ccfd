/*
 * Every single request, one case each: the call with recognisable arguments, the bytes it sends, and what it makes of the
 * answers. The tests of what all requests have in common run over these.
 */
#pragma once

#include <functional>
#include <vector>

#include "tests/support/client_test.h"

inline constexpr errcode UNTOUCHED = 0xeeeeeeee;
inline constexpr int64_t IS_CODE = 1'000'000;

enum request_way : unsigned {
    TELLS_NO_CODE = 1, /* only that it failed */
    NEEDS_ERR = 2,     /* its error argument is required */
    ON_STACK = 4,      /* allocates nothing */
    OWN_REFUSAL = 8,   /* of a missing connection */
    PRESET_ID = 16,    /* its reply area says "no identifier" until the server answers */
};

struct request_case_t {
    const char *name;
    std::function<int64_t(ipv6_rib_conn_p, errcode *, uint8_t *out)> call;
    const char *sent; /* behind "0080a505 @20 000000"; @ offsets are those of the body plus 24 */
    size_t room;
    bytes_t reply; /* of a server that agrees */
    int64_t result;
    int64_t failed;       /* IS_CODE: the code is the result, too */
    size_t list;          /* where the reply's list begins, 0 for none */
    const char *out = ""; /* the out-parameters, behind one another; written only on success */
    unsigned ways = 0;
    errcode not_found = RIB_SRV_ERR_NOT_FOUND; /* what becomes of this answer; 0: it is no failure */
    errcode no_memory = RIB_LIB_ERR_NO_MEMORY;

    int64_t failure(errcode code) const { return failed == IS_CODE ? static_cast<int64_t>(code) : failed; }
};
/* The cases, without the route lookups. */
const std::vector<request_case_t> &single_requests();

/* Lists routes, walks and converts them, and writes flag and count to out; expects that a failure resets its outputs. */
int64_t get_and_walk_routes(ipv6_rib_conn_p conn, errcode *err, uint8_t *out);
/* Looks at all that a route in host order leads to. */
void visit_route(const ipv6_routetype *route);

/* An out-parameter of a call. */
template <class type> type *part(uint8_t *out, size_t offset = 0)
{
    return reinterpret_cast<type *>(out + offset);
}
