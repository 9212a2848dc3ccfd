/*
 * The whole table away, route by route in full batches.
 */
#include "roads.h"

#include "bare_process.h"
#include "served_client.h"

void withdraw_roads(bench_run &run)
{
    const std::vector<uint32_t> routes = rising_routes(run.options.routes);
    served_client filled(run.options, cores::two, routes);
    const std::vector<exchange> exchanges = note_exchanges([&] { filled.client.withdraw_all(routes); });
    bare_process bare(cores::two);
    run.take({.name = "withdraw all",
              .unit = "ns/route",
              .measure =
                  [&] {
                      filled.client.announce_all(routes);
                      const sample taken = time_each(routes.size(), [&] { filled.client.withdraw_all(routes); });
                      filled.expect_prefixes(0);
                      return taken;
                  },
              .bound_name = "bare channel",
              .bound = [&] { return time_each(routes.size(), [&] { bare.replay(exchanges); }); }});
}
