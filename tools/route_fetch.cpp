#include "route_fetch.h"

#include "failure.h"
#include "interrupt.h"
#include "lookup.h"
#include "results.h"

#include <cerrno>
#include <memory>

namespace
{

struct route_pass {
    std::unique_ptr<void, decltype(&ipv6_rib_route_free)> routes{nullptr, ipv6_rib_route_free};
    uint32_t count = 0;
};

class route_walk
{
public:
    route_walk(ipv6_rib_conn_p conn, const route_filter &filter, route_teller tell)
        : conn_(conn), filter_(filter), tell_(tell), at_(filter.range.start)
    {
    }

    uint64_t run()
    {
        bool wanted = true;
        do {
            check_interrupt();
            const route_pass pass = fetch();
            if (pass.routes)
                wanted = walk(pass);
            else if (flag_ != RIB_FETCH_FROM_START)
                fail("the server lists no routes and says that there are more");
        } while (wanted && flag_ != RIB_FETCH_FROM_START);
        return told_;
    }

private:
    /* No routes when nothing matches, or nothing more: the rest may have been withdrawn between two passes. */
    route_pass fetch()
    {
        route_pass pass;
        pass.count = filter_.in_a_pass;
        void *routes = nullptr;
        const ip_prefix &end = filter_.range.end;
        const errcode err =
            ipv6_rib_get_routes(conn_, filter_.table, filter_.protocol.c_str(), filter_.instance.c_str(), at_.addr, at_.len,
                                end.addr, end.len, &flag_, &pass.count, filter_.best_only ? RIB_FETCH_BEST_ONLY : 0, &routes);
        if (err != 0 && err != ENODATA)
            fail("listing the routes of table {:#010x} failed: {} ({} routes were listed before)", filter_.table, error_text(err),
                 told_);
        pass.routes.reset(routes);
        return pass;
    }

    /* Whether more is wanted. */
    bool walk(const route_pass &pass)
    {
        rib_get_route_iter iter = {};
        ipv6_routetype *route = nullptr;
        uint32_t walked = 0;
        for (errcode err = ipv6_rib_get_route_get_first_route(pass.routes.get(), &iter, &route); err == 0 && route;
             err = ipv6_rib_get_route_get_next_route(&iter, &route)) {
            const paths_attributes attributes = attributes_in(*route);
            convert(route);
            at_ = prefix_of(*route);
            ++walked;
            ++told_;
            if (!tell_(*route, attributes))
                return false;
        }
        if (walked != pass.count || walked == 0)
            fail("the server's list breaks off: {} routes instead of {}", walked, pass.count);
        return true;
    }

    /* Of a route with very many paths the last ones get lost when it is converted. */
    static void convert(ipv6_routetype *route)
    {
        const unsigned paths = route->rt_path_count;
        ipv6_rib_route_xform(route);
        if (route->rt_path_count < paths)
            fmt::print(stderr, "ribctl: {}: only the first {} of its {} paths can be listed\n", text_of(prefix_of(*route)),
                       +route->rt_path_count, paths);
    }

    ipv6_rib_conn_p conn_;
    const route_filter &filter_;
    route_teller tell_;
    ip_prefix at_;
    uint32_t flag_ = RIB_FETCH_FROM_START;
    uint64_t told_ = 0;
};

} // namespace

uint64_t for_each_route(ipv6_rib_conn_p conn, const route_filter &filter, route_teller tell)
{
    return route_walk(conn, filter, tell).run();
}
