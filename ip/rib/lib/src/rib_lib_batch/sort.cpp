/*
 * The orders in which sets travel. The sets belong to the caller and may stand at any address.
 */
#include <cstdlib>

#include <ipv6_rib/errors.h>

#include "attributes.h"

template <class number> static int compare(number first, number second)
{
    return (first > second) - (first < second);
}

/* Next-next-hops of kind 2 come first, those of kind 1 behind them, all others last. */
static int rank_of(uint8_t kind)
{
    return kind == 2 ? 0 : kind == 1 ? 1 : 2;
}

static int compare_nnh(const void *first, const void *second)
{
    const auto a = rib_load<ip_rib_nnh_td>(first), b = rib_load<ip_rib_nnh_td>(second);
    if (const int order = compare(rank_of(a.nn_kind), rank_of(b.nn_kind)))
        return order;
    return a.nn_kind == 2 ? compare(a.nn_value, b.nn_value) : 0;
}

static int compare_algo_label(const void *first, const void *second)
{
    const auto a = rib_load<ip_rib_algo_label_td>(first), b = rib_load<ip_rib_algo_label_td>(second);
    const int order = compare(a.al_algo, b.al_algo);
    return order ? order : compare(a.al_index, b.al_index);
}

/* Sorts the items of a set, which begin behind its head. */
static errcode sort_set(void *set, rib_attr_type_t type, int (*order)(const void *, const void *))
{
    if (!set)
        return RIB_LIB_ERR_BAD_ARG;
    const rib_attr_shape &shape = rib_attr_shapes[type];
    std::qsort(static_cast<char *>(set) + shape.head, shape.count(set), shape.item, order);
    return 0;
}

errcode rib_sort_path_attr_type_nnh_set(void *set)
{
    return sort_set(set, RIB_ATTR_NNH, compare_nnh);
}

errcode rib_sort_algo_label_set(void *set)
{
    return sort_set(set, RIB_ATTR_ALGO_LABELS, compare_algo_label);
}
