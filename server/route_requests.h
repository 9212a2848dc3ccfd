/*
 * Requests that change one route. Each takes its body in host order, fills the fields of its reply and returns the result;
 * docs/wire.md tells what they mean.
 */
#pragma once

#include "ip/rib/wire/route_change.h"
#include "server/server.h"

errcode rib_do_route_add(rib_server &, rib_session &, const rib_route_add_body_td &, rib_route_add_reply_td &);
errcode rib_do_route_delete(rib_server &, rib_session &, const rib_route_delete_body_td &, rib_route_delete_reply_td &);
errcode rib_do_advertising_flag(rib_server &, rib_session &, const rib_advertising_flag_body_td &, rib_result_reply_td &);
