/*
 * A channel without a server: whatever is sent, one prepared answer comes back. It takes the place of the platform's in a program
 * that measures what the library itself does.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <ipv6_rib/ipv6_rib.h>

using bytes = std::vector<uint8_t>;
bytes operator+(bytes first, const bytes &second);

/* What the server answers to everything, and when it was last received. */
extern bytes canned_answer;
extern std::chrono::steady_clock::time_point canned_answer_came;

/* A bound connection, the same each time. */
ipv6_rib_conn_p canned_connection();

/*
 * Answers, and what they are made of, as they travel.
 */
enum class told_attributes { none, some };
/* A route with one path. */
bytes told_route(told_attributes attributes);
/* A reply with that many routes: of a listing, and of a fetch. */
bytes told_listing(const bytes &route, uint32_t count);
bytes told_updates(const bytes &route, uint32_t count);
/* The results of a batch of so many routes, each with a path. */
bytes batch_results(uint32_t count);
