/*
 * Adding and withdrawing paths.
 */
#include "server/batch_path.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <numeric>
#include <utility>

#include "ip/rib/wire/batch_results.h"
#include "server/attribute_reply.h"
#include "server/attributes.h"

/* Where the fields of an added path stand. */
#define AT(field) (record + offsetof(rib_batch_add_path_in, field))

static rib_path_id id_of(const uint8_t *nexthop, const uint8_t *interface, const uint8_t *table)
{
    rib_path_id id = {{}, rib_load_net<uint32_t>(interface), rib_load_net<uint32_t>(table)};
    std::copy_n(nexthop, id.nexthop.size(), id.nexthop.begin());
    return id;
}

static rib_path_id id_of(const uint8_t *record)
{
    if (record[0] == RIB_BATCH_REC_DEL_PATH)
        return id_of(record + offsetof(rib_batch_del_path_in, bdpi_nexthop),
                     record + offsetof(rib_batch_del_path_in, bdpi_u32_112),
                     record + offsetof(rib_batch_del_path_in, bdpi_u32_136));
    return id_of(AT(bapi_nexthop), AT(bapi_u32_152), AT(bapi_u32_176));
}

/* The bits alone are asked: the words before them are the client's and bound nothing here. */
static bool has_bitmap(const uint8_t *record)
{
    std::array<uint64_t, sizeof(rib_batch_add_path_in::bapi_bitmap_bits) / sizeof(uint64_t)> words;
    std::memcpy(words.data(), AT(bapi_bitmap_bits), sizeof words);
    return std::accumulate(words.begin(), words.end(), uint64_t{0}, std::bit_or()) != 0;
}

static std::unique_ptr<rib_path_extra> extra_of(const uint8_t *record)
{
    const uint8_t label_count = *AT(bapi_label_count);
    const auto binding_label = rib_load_net<uint32_t>(AT(bapi_binding_label));
    const uint32_t ext_mask = rib_batch_ext_mask(record);
    const size_t attr_len = rib_batch_attr_len(AT(bapi_attrs));
    const bool bitmap = has_bitmap(record);
    if (label_count < 2 && binding_label == RIB_LABEL_NONE && ext_mask == 0 && attr_len == 0 && !bitmap)
        return nullptr;
    auto extra = std::make_unique<rib_path_extra>();
    extra->binding_label = binding_label;
    extra->ext_mask = ext_mask;
    const uint8_t *labels = label_count <= 3 ? AT(bapi_labels) : AT(bapi_label_stack);
    for (size_t label = 0; label != label_count; ++label)
        extra->labels[label] = rib_load_net<uint32_t>(labels + label * sizeof(uint32_t));
    std::copy_n(AT(bapi_bitmap_bits), extra->bitmap.size(), extra->bitmap.begin());
    extra->attrs = rib_attrs_kept(rib_batch_attrs(AT(bapi_attrs)), attr_len);
    const uint8_t *blocks = record + RIB_BATCH_PATH_FIXED + attr_len;
    extra->blocks.assign(blocks, blocks + rib_batch_trailing_size(ext_mask));
    return extra;
}

static rib_path path_of(const uint8_t *record, const rib_path_work &work)
{
    rib_path path;
    path.id = id_of(record);
    std::copy_n(AT(bapi_infosource), path.infosource.size(), path.infosource.begin());
    path.flags = rib_load_net<uint64_t>(AT(bapi_u64_8));
    path.extra = extra_of(record);
    path.metric = rib_load_net<uint32_t>(AT(bapi_u32_4));
    path.u32_20 = rib_load_net<uint32_t>(AT(bapi_u32_20));
    path.u32_24 = rib_load_net<uint32_t>(AT(bapi_u32_24));
    path.u32_200 = rib_load_net<uint32_t>(AT(bapi_u32_200));
    path.label_count = *AT(bapi_label_count);
    if (path.label_count != 0)
        path.label = rib_load_net<uint32_t>(path.label_count <= 3 ? AT(bapi_labels) : AT(bapi_label_stack));
    path.epoch = work.epoch;
    path.u16_16 = rib_load_net<uint16_t>(AT(bapi_u16_16));
    path.infosource_afi = *AT(bapi_infosource_afi);
    path.backup = work.route_is_backup || has_bitmap(record);
    if (path.extra)
        path.extra->records_len = rib_path_attrs_measure(path);
    return path;
}

/* Whether the route's attributes stay within bounds with this path, in the place of the one held. */
static bool attrs_fit(rib_batch_run &run, const rib_path_work &work, const rib_path &path, const rib_path *held)
{
    const size_t others = rib_path_attrs_len(work.paths) - (held ? rib_path_attrs_len(*held) : 0);
    const size_t all = others + rib_path_attrs_len(path);
    if (all > RIB_PATH_ATTRS_MAX)
        return false;
    run.server.most_path_attrs = std::max(run.server.most_path_attrs, all);
    return true;
}

static int32_t add_path(rib_batch_run &run, rib_path_work &work, const uint8_t *record)
{
    const size_t attr_len = rib_batch_attr_len(AT(bapi_attrs));
    if (*AT(bapi_label_count) > RIB_MAX_LABELS)
        return RIB_RESULT_INVALID_PARAMETER;
    if (attr_len != 0 && !rib_attrs_valid(rib_batch_attrs(AT(bapi_attrs)), attr_len, rib_attr_owner::path))
        return RIB_RESULT_INVALID_PARAMETER;
    rib_path path = path_of(record, work);
    rib_path *held = rib_path_find(work.paths, path.id);
    if (!held && work.paths.size() == RIB_STORED_PATHS)
        return RIB_RESULT_TOO_MANY_PATHS;
    if (path.extra && !attrs_fit(run, work, path, held))
        return RIB_RESULT_ATTR_TOO_LARGE;
    const rib_path *known = held || !work.before ? held : rib_path_find(*work.before, path.id);
    const bool same = known && rib_path_same(*known, path);
    const int32_t fresh = path.backup ? RIB_RESULT_BACKUP : RIB_RESULT_OK;
    const int32_t result = same ? RIB_RESULT_NO_CHANGE : known ? RIB_RESULT_CHANGED : fresh;
    if (held)
        *held = std::move(path);
    else
        work.paths.push_back(std::move(path));
    ++work.added;
    work.changed |= !same;
    return result;
}

static int32_t delete_path(rib_path_work &work, const uint8_t *record)
{
    const rib_path_id id = id_of(record);
    const bool every = id == rib_path_id{};
    const auto meant = [&](const rib_path &path) { return every || path.id == id; };
    const bool was_there = work.before && std::any_of(work.before->begin(), work.before->end(), meant);
    const auto last = std::remove_if(work.paths.begin(), work.paths.end(), meant);
    const bool removed = last != work.paths.end();
    work.paths.erase(last, work.paths.end());
    work.changed |= removed || was_there;
    return removed || was_there ? RIB_RESULT_OK : RIB_RESULT_NO_CHANGE;
}

const uint8_t *rib_batch_apply_path(rib_batch_run &run, rib_path_work &work, const uint8_t *record)
{
    const bool adds = record[0] == RIB_BATCH_REC_ADD_PATH;
    const int32_t result = adds ? add_path(run, work, record) : delete_path(work, record);
    if (rib_result_refuses(result) && work.refused++ == 0)
        work.first_refusal = result;
    return rib_batch_answer_path(run, record, result);
}

const uint8_t *rib_batch_answer_path(rib_batch_run &run, const uint8_t *record, int32_t result)
{
    const rib_path_id id = id_of(record);
    uint8_t *area = rib_batch_result(run, sizeof(rib_batch_path_out));
    if (record[0] == RIB_BATCH_REC_ADD_PATH) {
        auto *out = reinterpret_cast<rib_batch_path_out *>(area);
        out->po_type = RIB_BATCH_REC_ADD_PATH;
        out->po_interface = id.interface;
        std::memcpy(&out->po_nexthop, id.nexthop.data(), sizeof out->po_nexthop);
        out->po_result = result;
        out->po_nexthop_table = id.nexthop_table;
        rib_batch_path_out_net::swap(out);
    } else {
        auto *out = reinterpret_cast<rib_batch_path_del_out *>(area);
        out->pd_type = RIB_BATCH_REC_DEL_PATH;
        out->pd_interface = id.interface;
        std::memcpy(&out->pd_nexthop, id.nexthop.data(), sizeof out->pd_nexthop);
        out->pd_result = result;
        out->pd_nexthop_table = id.nexthop_table;
        rib_batch_path_del_out_net::swap(out);
    }
    run.refused += rib_result_refuses(result);
    return record + rib_batch_path_len(record);
}
