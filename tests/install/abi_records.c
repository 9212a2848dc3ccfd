/*
 * The public records and callbacks that exported functions know only behind void pointers and variable arguments. Their
 * layout is compared with the library's.
 */
#include <ipv6_rib/ipv6_rib.h>

struct abi_records {
    ip_rib_ecomms_array_td ecomms;
    rib_batch_table_out batch_table;
    rib_batch_route_out batch_route;
    rib_batch_path_out batch_path;
    rib_batch_path_del_out batch_path_del;
    rib_batch_request_answer request_answer;
    rib_proto_result proto_result;
    rib_held_sid held_sid;
    rib_held_iid held_iid;
    rib_next_hop_update next_hop;
    rib_state_record state;
    rib_route_update_cb on_route;
    rib_value_update_cb on_value;
    rib_next_hop_update_cb on_next_hop;
    rib_words_update_cb on_words;
    rib_word_update_cb on_word;
    rib_state_update_cb on_state;
    rib_payload_update_cb on_payload;
    rib_marker_update_cb on_marker;
    rib_list_update_cb on_list;
    rib_proto_update_cb on_protocol;
    rib_bytes_update_cb on_bytes;
    rib_pass_update_cb on_pass;
    rib_state_record_cb on_state_record;
};
IPV6_RIB_API struct abi_records abi_records;
