/*
 * The connection record. The caller's handle is the only way to it: the library keeps no list of records.
 */
#pragma once

#include <csignal>
#include <pthread.h>

#include <ipv6_rib/types.h>
#include <platform/avl.h>

struct rib_client_struct {
    uint32_t conn;           /* message channel; 0 once unbound */
    pthread_mutex_t lock;    /* recursive */
    uint32_t afi;            /* 2 for IPv6 */
    uint32_t redist_issu;    /* 1 once the redistribution batch was opened in its ISSU form */
    struct sigevent event;   /* copy of the event manager's event, this record's address its pulse value; zero without event */
    void *nh_buff;           /* next-hop registration batch */
    void *redist_buff;       /* redistribution registration batch */
    uint32_t my_node_id;     /* all-ones when not to be had */
    uint32_t server_node_id; /* all-ones after a failed exchange of bind data */
    avl_node_t *proto_notif; /* protocol notifications */
    uint32_t client_id;      /* all-ones before bind data were exchanged */
    uint32_t msg_version;    /* update-message format of the server */
    uint64_t client_context; /* the caller's; never interpreted */
    void *lookup_reply;      /* reply area of lookups, all zero between them; NULL before the first one */
};

constexpr uint32_t RIB_ID_NONE = 0xFFFFFFFF;

/* A new record without its lock; NULL without memory. */
ip_rib_conn_p rib_client_struct_allocate(uint32_t afi, uint64_t context);
/* Creates the record's recursive lock; a failure is logged, and false. */
bool rib_client_struct_init(ip_rib_conn_p conn);
/* Frees a record and what hangs on it, not its lock, and sets the handle to NULL. */
void rib_client_free_client_struct(struct rib_client_struct **conn);
