/*
 * Trees over Boost.Intrusive's AVL algorithms. Those want a header node that knows the root and both ends; a tree here is
 * one pointer, so each change builds the header on its stack and takes it out of the root's parent word again.
 *
 * The balance of a node in a tree is never 0 in the low bits of its parent word, so a zero word means "in no tree" and the
 * root, which has no parent, still counts as being in one. Searching changes nothing, so readers may share a tree.
 */
#include <platform/avl.h>

#include <boost/intrusive/avltree_algorithms.hpp>
#include <cstdlib>

struct avl_traits {
    using node = avl_node_t;
    using node_ptr = avl_node_t *;
    using const_node_ptr = const avl_node_t *;
    using balance = uintptr_t;

    static constexpr uintptr_t balance_mask = 3;
    static balance negative() { return 1; }
    static balance zero() { return 2; }
    static balance positive() { return 3; }

    static node_ptr get_parent(const_node_ptr n) { return reinterpret_cast<node_ptr>(n->avl_parent_balance & ~balance_mask); }
    static void set_parent(node_ptr n, node_ptr parent)
    {
        n->avl_parent_balance = reinterpret_cast<uintptr_t>(parent) | get_balance(n);
    }
    static balance get_balance(const_node_ptr n) { return n->avl_parent_balance & balance_mask; }
    static void set_balance(node_ptr n, balance b) { n->avl_parent_balance = (n->avl_parent_balance & ~balance_mask) | b; }
    static node_ptr get_left(const_node_ptr n) { return n->avl_left; }
    static void set_left(node_ptr n, node_ptr left) { n->avl_left = left; }
    static node_ptr get_right(const_node_ptr n) { return n->avl_right; }
    static void set_right(node_ptr n, node_ptr right) { n->avl_right = right; }
};
using avl_algo = boost::intrusive::avltree_algorithms<avl_traits>;

static_assert(alignof(avl_node_t) > avl_traits::balance_mask);

/* Runs a change of a tree between the two ends of its header's short life. */
template <class change_t> static void avl_change(avl_node_t **root, change_t change)
{
    avl_node_t header = {};
    avl_algo::init_header(&header);
    if (avl_node_t *top = *root) {
        avl_traits::set_parent(&header, top);
        avl_traits::set_parent(top, &header);
        for (header.avl_left = top; header.avl_left->avl_left;)
            header.avl_left = header.avl_left->avl_left;
        for (header.avl_right = top; header.avl_right->avl_right;)
            header.avl_right = header.avl_right->avl_right;
    }
    change(&header);
    *root = avl_traits::get_parent(&header);
    if (*root)
        avl_traits::set_parent(*root, nullptr);
}

avl_node_t *avl_insert(avl_node_t **root, avl_node_t *node, avl_compare_t compare)
{
    if (avl_is_threaded(node))
        return nullptr;
    const auto smaller = [compare](const avl_node_t *first, const avl_node_t *second) { return compare(first, second) == 0; };
    bool inserted = false;
    avl_change(root, [&](avl_node_t *header) {
        avl_algo::insert_commit_data place;
        inserted = avl_algo::insert_unique_check(header, node, smaller, place).second;
        if (inserted)
            avl_algo::insert_unique_commit(header, node, place);
    });
    return inserted ? node : nullptr;
}

avl_node_t *avl_search(avl_node_t *root, const avl_node_t *key, avl_compare_t compare)
{
    while (root) {
        const int order = compare(key, root);
        if (order == 1)
            return root;
        root = order == 0 ? root->avl_left : root->avl_right;
    }
    return nullptr;
}

avl_node_t *avl_get_first(avl_node_t *root)
{
    while (root && root->avl_left)
        root = root->avl_left;
    return root;
}

avl_node_t *avl_delete(avl_node_t **root, avl_node_t *node)
{
    if (!avl_is_threaded(node))
        return nullptr;
    const avl_node_t *top = node;
    while (const avl_node_t *parent = avl_traits::get_parent(top))
        top = parent;
    if (top != *root)
        return nullptr;
    avl_change(root, [node](avl_node_t *header) { avl_algo::erase(header, node); });
    *node = {};
    return node;
}

int avl_is_threaded(const avl_node_t *node)
{
    return node->avl_parent_balance != 0;
}

/* The name is for memory debuggers that put themselves in this function's place. */
void *calloc_named(size_t count, size_t size, const char *)
{
    return calloc(count, size);
}
