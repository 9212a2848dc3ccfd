/*
 * Protocol notifications of a connection: values ordered by a signed notification id. The caller holds the connection's
 * lock.
 */
#pragma once

#include "connection.h"

/* The value kept under an id; NULL when there is none. */
void *rib_client_proto_notif_find(ip_rib_conn_p conn, int32_t id);
/* The value with the lowest id; NULL when there is none. */
void *rib_client_proto_notif_first(ip_rib_conn_p conn);
/* 0, EEXIST or ENOMEM. */
int rib_client_proto_notif_add(ip_rib_conn_p conn, int32_t id, void *value);
/* Forgets an id, known or not: 0. */
int rib_client_proto_notif_rem(ip_rib_conn_p conn, int32_t id);
