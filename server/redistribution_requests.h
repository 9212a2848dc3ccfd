/*
 * Requests about redistribution. Each takes its body in host order, fills the fields of its reply and returns the result;
 * docs/wire.md tells what they mean.
 */
#pragma once

#include "ip/rib/wire/redistribution.h"
#include "server/server.h"

errcode rib_do_redist(rib_server &, rib_session &, const rib_redist_protocol_body_td &, rib_redist_reply_td &);
errcode rib_do_redist_markers(rib_server &, rib_session &, const rib_redist_markers_body_td &, rib_redist_reply_td &);
errcode rib_do_redist_reset(rib_server &, rib_session &, const rib_redist_reset_body_td &, rib_result_reply_td &);
