/*
 * A test with fresh fakes and, when it asks for one, a bound connection.
 */
#pragma once

#include <gtest/gtest.h>

#include <cerrno>

#include <ipv6_rib/ipv6_rib.h>

#include "tests/support/capture_tev.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fake_msg_chan.h"
#include "tests/support/fake_platform.h"
#include "tests/support/hex.h"

/* What the server answers to bind data: result, node id 0x1a2b3c4d, client id 0x00c0ffee, format version 1, end. */
inline constexpr const char *BIND_REPLY = "00000000 1a2b3c4d 00c0ffee 00*4 0068 0008 01 01 0000 00000001 00*8";

/* How the library dies of an address that is not there. */
inline constexpr const char *NO_ADDRESS =
    "ip/rib/ipv6/src/rib_ipv6_addr_public_funcs.*rib_copy_addr.*Assertion `src != \\(\\(void\\*\\)0\\)' failed";

inline in6_addr address(std::string_view text)
{
    const bytes_t bytes = hex(text);
    in6_addr addr = {};
    std::copy_n(bytes.begin(), std::min(bytes.size(), sizeof addr), addr.s6_addr);
    return addr;
}

class client_test : public testing::Test
{
protected:
    /* Also begins each case of a table anew. */
    void SetUp() override
    {
        ipv6_rib_unbind(&conn);
        fake_msg_chan_reset();
        fake_platform_reset();
        captured_tev();
    }

    void TearDown() override
    {
        ipv6_rib_unbind(&conn);
        for (unsigned number = 0; number < 8; ++number)
            ipv6_rib_unnotify(fake_manager(number));
    }

    /* A connection whose updates have the given format, with all traces of its bind removed. */
    ipv6_rib_conn_p bind(uint8_t format = 1)
    {
        bytes_t reply = hex(BIND_REPLY);
        reply[27] = format;
        fake_msg_chan().answer(reply);
        EXPECT_GT(ipv6_rib_bind(&conn), 0);
        fake_msg_chan().forget_calls();
        return conn;
    }

    /* The only message sent since; empty when there is not exactly one. */
    static bytes_t only_sent()
    {
        EXPECT_EQ(fake_msg_chan().sent.size(), 1u);
        return fake_msg_chan().sent.size() == 1 ? fake_msg_chan().sent[0].msg : bytes_t();
    }

    static std::vector<tev_line_t> tev_lines(std::initializer_list<tev_line_t> lines) { return lines; }

    ipv6_rib_conn_p conn = nullptr;
};
