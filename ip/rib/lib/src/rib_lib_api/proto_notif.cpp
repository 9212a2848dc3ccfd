/*
 * The tree of protocol notifications.
 */
#include "proto_notif.h"

#include <cerrno>
#include <cstdlib>

#include "../rib_fatal.h"

struct proto_notif_node {
    avl_node_t link; /* first, so that a link is its node */
    int32_t id;
    void *value;
};
static_assert(sizeof(proto_notif_node) == 40);

static const proto_notif_node *node_of(const avl_node_t *link)
{
    return reinterpret_cast<const proto_notif_node *>(link);
}

static int compare(const avl_node_t *first, const avl_node_t *second)
{
    const int32_t a = node_of(first)->id, b = node_of(second)->id;
    return a < b ? 0 : a == b ? 1 : 2;
}

static avl_node_t *find_link(ip_rib_conn_p conn, int32_t id)
{
    const proto_notif_node key = {{}, id, nullptr};
    return conn && conn->proto_notif ? avl_search(conn->proto_notif, &key.link, compare) : nullptr;
}

void *rib_client_proto_notif_find(ip_rib_conn_p conn, int32_t id)
{
    const avl_node_t *link = find_link(conn, id);
    return link ? node_of(link)->value : nullptr;
}

void *rib_client_proto_notif_first(ip_rib_conn_p conn)
{
    const avl_node_t *link = conn ? avl_get_first(conn->proto_notif) : nullptr;
    return link ? node_of(link)->value : nullptr;
}

int rib_client_proto_notif_add(ip_rib_conn_p conn, int32_t id, void *value)
{
    if (find_link(conn, id))
        return EEXIST;
    auto *node = static_cast<proto_notif_node *>(calloc_named(1, sizeof(proto_notif_node), "RIB Clnt Prot Notif"));
    if (!node)
        return ENOMEM;
    node->id = id;
    node->value = value;
    if (!avl_insert(&conn->proto_notif, &node->link, compare)) {
        std::free(node);
        return ENOMEM;
    }
    return 0;
}

int rib_client_proto_notif_rem(ip_rib_conn_p conn, int32_t id)
{
    avl_node_t *an = find_link(conn, id);
    if (!an)
        return 0;
    if (avl_is_threaded(an))
        an = avl_delete(&conn->proto_notif, an);
    rib_fatal_unless(an, "an != ((void*)0)");
    std::free(an);
    return 0;
}
