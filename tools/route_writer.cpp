#include "route_writer.h"

#include "failure.h"
#include "results.h"

namespace
{

rib_batch_buffer_result write_in_one_call(rib_batch_buffer *buffer, const route_path &path)
{
    const auto label = path.attributes.find(RIB_PATH_ATTR_LABELS), ecomms = path.attributes.find(RIB_PATH_ATTR_ECOMMS);
    const auto none = path.attributes.end();
    return ipv6_rib_batch_buffer_add_path2(
        buffer, path.interface, 0, &path.nexthop, path.nexthop_table, &in6addr_any, path.metric, 0, 0,
        label == none ? RIB_LABEL_NONE : field_at<uint32_t>(label->second, 0), ecomms == none ? nullptr : ecomms->second.data());
}

std::string write_in_steps(rib_batch_buffer *buffer, const route_path &path)
{
    rib_batch_path_init_in opening = {.pi_u32_0 = path.interface, .pi_u32_16 = path.nexthop_table};
    opening.pi_infosource = {.afi = 2, .addr = {.v6 = &in6addr_any}};
    announce(path.attributes, &opening);
    if (const auto result = ipv6_rib_batch_buffer_add_path_init(buffer, &path.nexthop, &opening); result != RIB_BATCH_BUFFER_OK)
        return batch_error_text(result);
    if (std::string why = put_attributes(buffer, path.attributes); !why.empty())
        return why;
    const auto done =
        path.backup ? ipv6_rib_batch_buffer_add_backup_path_done(buffer) : ipv6_rib_batch_buffer_add_path_done(buffer);
    return done == RIB_BATCH_BUFFER_OK ? "" : batch_error_text(done);
}

} // namespace

rib_batch_sizes sizes_of(const route_details &details)
{
    rib_batch_sizes sizes = {.paths = static_cast<uint16_t>(details.paths.size())};
    for (const route_path &path : details.paths)
        add_sizes(path.attributes, &sizes);
    return sizes;
}

std::string write_route(rib_batch_buffer *buffer, const ip_prefix &prefix, const route_details &details, bool replace,
                        uint8_t default_distance)
{
    const uint32_t distance = details.distance ? details.distance : default_distance;
    const auto begun = ipv6_rib_batch_buffer_add_route2(buffer, &prefix.addr, prefix.len, 0, 0, details.metric, replace,
                                                        details.tag, static_cast<uint8_t>(distance));
    if (begun != RIB_BATCH_BUFFER_OK)
        return batch_error_text(begun);
    for (const route_path &path : details.paths) {
        if (!takes_one_call(path)) {
            if (std::string why = write_in_steps(buffer, path); !why.empty())
                return why;
        } else if (const auto added = write_in_one_call(buffer, path); added != RIB_BATCH_BUFFER_OK) {
            return batch_error_text(added);
        }
    }
    return {};
}

single_batch::single_batch(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto)
    : conn_(conn), buffer_(ipv6_rib_batch_buffer_allocate(0), ipv6_rib_batch_buffer_free),
      reply_(ipv6_rib_batch_args_out_allocate(), ipv6_rib_batch_args_out_free)
{
    if (!buffer_ || !reply_)
        fail("no memory for a batch");
    ipv6_rib_batch_buffer_init(buffer_.get(), table, proto);
}

const rib_batch_route_out &single_batch::send()
{
    const int status = ipv6_rib_batch_buffer_send(conn_, buffer_.get(), reply_.get());
    if (status <= 0)
        fail("the exchange failed: {}", ribresulttype_to_string(status));
    route_ = ipv6_rib_batch_args_out_first_route(reply_.get());
    const auto *result = static_cast<const rib_batch_route_out *>(route_);
    if (!result || result->ro_type != RIB_BATCH_OUT_ROUTE)
        fail("the server's answer holds no result for the route");
    return *result;
}

int single_batch::refused_path()
{
    int last = RIB_RESULT_OK;
    for (void *at = ipv6_rib_batch_route_out_first_path(route_); at; at = ipv6_rib_batch_route_out_next_path(route_, at))
        if (const auto *path = static_cast<const rib_batch_path_out *>(at); path->po_type == 1 && refused(path->po_result))
            last = path->po_result;
    return last;
}
