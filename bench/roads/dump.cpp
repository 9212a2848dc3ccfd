/*
 * The whole table to a consumer that asks for it, each route decoded where it lies.
 */
#include "roads.h"

#include <stdexcept>

#include "bare_process.h"
#include "bench/bench_consumer.h"
#include "served_client.h"
#include "told_records.h"

void dump_roads(bench_run &run)
{
    const std::vector<uint32_t> routes = rising_routes(run.options.routes);
    const served_client filled(run.options, cores::two, routes);
    client_seat seat(cores::two);
    bench_consumer consumer;
    seat.settle();
    const auto dump = [&] {
        if (consumer.fetch_dump() != routes.size())
            throw std::runtime_error("a dump is not complete");
    };
    const std::vector<exchange> exchanges = note_exchanges(dump);
    bare_process bare(cores::two);
    run.take({.name = "dump to a consumer",
              .unit = "ns/route",
              .measure = [&] { return time_each(routes.size(), dump); },
              .bound_name = "bare channel, records moved and swapped",
              .bound = [&] { return time_each(routes.size(), [&] { bare.replay(exchanges, move_and_swap_records); }); },
              .goal = 1.3});
}
