/*
 * Ordered balanced trees of nodes that the caller owns. A tree is one pointer, NULL when empty. No locking.
 */
#ifndef PLATFORM_AVL_H
#define PLATFORM_AVL_H

#include <stddef.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/* Stands first in the caller's node; zero before the node is inserted. */
typedef struct avl_node {
    uintptr_t avl_parent_balance; /* the parent with the balance in its low bits */
    struct avl_node *avl_left;
    struct avl_node *avl_right;
} avl_node_t;

/* Order of two nodes: 0 the first is smaller, 1 they are equal, 2 the first is greater. */
typedef int (*avl_compare_t)(const avl_node_t *first, const avl_node_t *second);

/** Puts a node into the tree. Returns the node, or NULL when an equal one is there (nothing changed) or the node is in a tree. */
PLATFORM_API avl_node_t *avl_insert(avl_node_t **root, avl_node_t *node, avl_compare_t compare);
/** Finds the node that is equal to key (a node of which only the compared fields are set), or NULL. */
PLATFORM_API avl_node_t *avl_search(avl_node_t *root, const avl_node_t *key, avl_compare_t compare);
/** The smallest node, NULL in an empty tree. */
PLATFORM_API avl_node_t *avl_get_first(avl_node_t *root);
/** Takes a node out of its tree and returns it; NULL when it is in no tree. */
PLATFORM_API avl_node_t *avl_delete(avl_node_t **root, avl_node_t *node);
/** 1 when the node is in a tree, else 0. */
PLATFORM_API int avl_is_threaded(const avl_node_t *node);

/** calloc() whose purpose is named for diagnostics; release with free(). */
PLATFORM_API void *calloc_named(size_t count, size_t size, const char *name);

PLATFORM_END

#endif
