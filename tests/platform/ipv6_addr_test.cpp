#include <platform/ipv6_addr.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>

static in6_addr addr(const char *text)
{
    in6_addr made;
    EXPECT_EQ(inet_pton(AF_INET6, text, &made), 1) << text;
    return made;
}

TEST(ipv6_addr, prefix_only_clears_the_host_bits)
{
    struct {
        uint32_t len;
        const char *prefix;
    } const cases[] = {{0, "::"},
                       {1, "8000::"},
                       {7, "fe00::"},
                       {8, "ff00::"},
                       {65, "ffff:ffff:ffff:ffff:8000::"},
                       {127, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe"},
                       {128, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
                       {4000000000, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"}};
    for (const auto &c : cases) {
        in6_addr all = addr("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
        const in6_addr expected = addr(c.prefix);
        ipv6_prefix_only(&all, c.len);
        EXPECT_EQ(ipv6_addr_comp(&all, &expected), 0) << c.len;
    }
}

TEST(ipv6_addr, comp_orders_as_numbers)
{
    const char *const ordered[] = {"::", "::1", "::100", "2001:db8::", "2001:db8::1", "fe80::", "ffff::"};
    for (size_t i = 0; i != std::size(ordered); i++)
        for (size_t j = 0; j != std::size(ordered); j++) {
            const in6_addr first = addr(ordered[i]), second = addr(ordered[j]);
            EXPECT_EQ(ipv6_addr_comp(&first, &second), i < j ? -1 : i > j) << ordered[i] << " " << ordered[j];
        }
}
