/*
 * A message channel that answers with fuzz bytes: the platform's symbols, defined in the program. Messages of the library to
 * operators go nowhere.
 */
#pragma once

#include <optional>

#include <ipv6_rib/ipv6_rib.h>

#include "fuzz/input.h"

/* Asked at each send: the reply, or nothing when the channel breaks. */
inline std::optional<fuzz_bytes> (*next_answer)();

/* The reply by which a server accepts a client whose updates shall have the format. */
fuzz_bytes acceptance(uint32_t format);
/* A connection that was accepted so; next_answer stays as it was. */
ipv6_rib_conn_p connect_client(uint32_t format);
