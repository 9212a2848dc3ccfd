/*
 * Trees against std::set.
 */
#include <platform/avl.h>

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <vector>

struct number_node {
    avl_node_t link;
    int32_t key;
};

static int32_t key_of(const avl_node_t *node)
{
    return reinterpret_cast<const number_node *>(node)->key;
}

static int compare(const avl_node_t *first, const avl_node_t *second)
{
    return key_of(first) < key_of(second) ? 0 : key_of(first) == key_of(second) ? 1 : 2;
}

/* Height of a tree; fails the test where two sides differ by more than one. */
static int height(const avl_node_t *node)
{
    if (!node)
        return 0;
    const int left = height(node->avl_left), right = height(node->avl_right);
    EXPECT_LE(std::abs(left - right), 1);
    return 1 + std::max(left, right);
}

static avl_node_t *search(avl_node_t *root, int32_t key)
{
    const number_node wanted = {{}, key};
    return avl_search(root, &wanted.link, compare);
}

TEST(avl, holds_what_a_set_holds)
{
    std::mt19937 random(4711);
    std::vector<number_node> nodes(400);
    for (size_t i = 0; i != nodes.size(); i++)
        nodes[i] = {{}, static_cast<int32_t>(i / 2) - 100}; // each key twice
    avl_node_t *root = nullptr;
    std::set<int32_t> model;
    for (int i = 0; i != 20000; i++) {
        number_node &node = nodes[random() % nodes.size()];
        const bool threaded = avl_is_threaded(&node.link);
        if (random() % 2) {
            const bool fits = !threaded && model.insert(node.key).second;
            ASSERT_EQ(avl_insert(&root, &node.link, compare), fits ? &node.link : nullptr);
        } else {
            ASSERT_EQ(avl_delete(&root, &node.link), threaded ? &node.link : nullptr);
            if (threaded)
                model.erase(node.key);
        }
        ASSERT_EQ(root == nullptr, model.empty());
        ASSERT_EQ(avl_get_first(root) ? key_of(avl_get_first(root)) : INT32_MAX, model.empty() ? INT32_MAX : *model.begin());
        if (i % 500 == 0)
            height(root);
    }
    for (int32_t key = -101; key != 101; key++) {
        const avl_node_t *found = search(root, key);
        ASSERT_EQ(found != nullptr, model.count(key) == 1);
        ASSERT_EQ(found ? key_of(found) : key, key);
    }
    while (avl_node_t *first = avl_get_first(root))
        ASSERT_EQ(avl_delete(&root, first), first);
    for (const number_node &node : nodes)
        EXPECT_FALSE(avl_is_threaded(&node.link));
}

TEST(avl, keeps_trees_apart)
{
    number_node left = {{}, 1}, right = {{}, 2};
    avl_node_t *roots[] = {nullptr, nullptr};
    avl_insert(&roots[0], &left.link, compare);
    avl_insert(&roots[1], &right.link, compare);
    EXPECT_EQ(avl_insert(&roots[1], &left.link, compare), nullptr);
    EXPECT_EQ(avl_delete(&roots[1], &left.link), nullptr);
    EXPECT_EQ(avl_delete(&roots[0], &left.link), &left.link);
    EXPECT_EQ(roots[0], nullptr);
    EXPECT_EQ(search(roots[1], 2), &right.link);
}
