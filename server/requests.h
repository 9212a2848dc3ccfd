/*
 * Single requests: a table from command to the function that serves it, and the parts they share.
 */
#pragma once

#include "server/server.h"

/* A request on its way: the body in network order, and what speaks against serving it. */
struct rib_request_td {
    rib_server &server;
    rib_session &session;
    uint8_t *body;
    errcode refusal; /* not 0: answer this, in the reply record of the command */
    rib_reply_area area;
};

/* The body in host order. */
template <class body_td> body_td rib_body_of(const rib_request_td &request)
{
    auto body = rib_load<body_td>(request.body);
    rib_to_host(&body);
    return body;
}

/* Serves a message of type RIB_MSG_LWM; as rib_server_handle(). */
size_t rib_serve_request(rib_server &server, rib_session &session, uint8_t *msg, size_t len, rib_reply_area area);
/* Replies with a result word alone. */
size_t rib_reply_result(rib_reply_area area, errcode result);

/* Requests with a reply of their own shape. */
size_t rib_serve_bind_data(rib_request_td &request);
size_t rib_serve_route_lookup(rib_request_td &request);
size_t rib_serve_get_routes(rib_request_td &request);
size_t rib_serve_get_check(rib_request_td &request);
size_t rib_serve_fetch(rib_request_td &request);
