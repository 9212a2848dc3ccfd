/*
 * Names of the RIB results.
 */
#include <iterator>

#include <ipv6_rib/errors.h>

static constexpr int lowest = RIB_RESULT_PRIMARY_PATHID;

/* In the order of the values, from the lowest on. */
static const char *const result_texts[] = {
    "Invalid Primary PathID change",
    "Path attribute too large",
    "Invalid Path Feature Combination",
    "No ECMP Support",
    "No connection",
    "Invalid AFI",
    "RPC error",
    "Too many Paths",
    "Invalid Parameter",
    "Invalid Handle",
    "No memory",
    "OK",
    "Route created/modified as backup",
    "Route changed",
    "Route created modified as first backup",
    "No change",
    "Route exists",
    "Maximum routes exceeded",
    "System Error",
    "Table/VRF limit reached",
    "Table/VRF not created",
    "Interface Index Parameter Mismatch",
    "Unknown Error",
};
static_assert(std::size(result_texts) == RIB_RESULT_UNKNOWN - lowest + 1);

const char *ribresulttype_to_string(int result)
{
    if (result < lowest || result > RIB_RESULT_UNKNOWN)
        return "Invalid RIB Result";
    return result_texts[result - lowest];
}
