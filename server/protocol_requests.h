/*
 * Requests about protocols and tables. Each takes its body in host order, fills the fields of its reply and returns the
 * result; docs/wire.md tells what they mean.
 */
#pragma once

#include "ip/rib/wire/protocol.h"
#include "server/server.h"

errcode rib_do_register(rib_server &, rib_session &, const rib_register_protocol_body_td &, rib_protoid_reply_td &);
errcode rib_do_findpdb(rib_server &, rib_session &, const rib_findpdb_body_td &, rib_protoid_reply_td &);
errcode rib_do_modify(rib_server &, rib_session &, const rib_modify_protocol_body_td &, rib_result_reply_td &);
errcode rib_do_unregister(rib_server &, rib_session &, const rib_protocol_unregister_body_td &, rib_result_reply_td &);
errcode rib_do_purge_protocol(rib_server &, rib_session &, const rib_purge_protocol_body_td &, rib_result_reply_td &);
errcode rib_do_purge_client(rib_server &, rib_session &, const rib_purge_client_body_td &, rib_result_reply_td &);
errcode rib_do_update_complete(rib_server &, rib_session &, const rib_update_complete_body_td &, rib_result_reply_td &);
errcode rib_do_clear_aft(rib_server &, rib_session &, const rib_clear_aft_body_td &, rib_result_reply_td &);
errcode rib_do_table_status(rib_server &, rib_session &, const rib_table_status_body_td &, rib_table_status_reply_td &);
errcode rib_do_proto_info(rib_server &, rib_session &, const rib_proto_info_body_td &, rib_proto_info_reply_td &);
errcode rib_do_free_all_sids(rib_server &, rib_session &, const rib_free_all_sids_body_td &, rib_result_reply_td &);

/* The text of a field of size bytes; nothing when it does not end within it. */
bool rib_text_of(const char *field, size_t size, std::string_view *text);
/* Both texts of a name pair; false: one does not end within its field. */
bool rib_names_of(const rib_name_pair_td &pair, std::string_view *proto_name, std::string_view *instance_name);
inline bool rib_names_are_empty(const rib_name_pair_td &names)
{
    return names.np_proto[0] == 0 && names.np_instance[0] == 0;
}
/* The protocol that was registered by these names: 0, EINVAL (a text does not end within its field), RIB_SRV_ERR_NOT_FOUND. */
errcode rib_protocol_named(rib_server &server, const rib_name_pair_td &names, rib_protocol **protocol);
