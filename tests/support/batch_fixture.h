/*
 * What the tests of batch records share: owned buffers and a view of their inside, addresses with recognisable bytes, and
 * the records as they travel.
 */
#pragma once

#include <cstring>
#include <memory>
#include <string>

#include "tests/support/client_test.h"

/* A buffer by offset: the control words, then the message with its 48-byte header and its data. */
struct batch_view_t {
    const rib_batch_buffer *buffer;

    uint32_t capacity() const { return word(0); }
    uint32_t send_limit() const { return word(1); }
    uint32_t data_len() const { return word(2); }
    uint32_t last_rec_off() const { return word(3); }
    bytes_t header() const { return bytes_at(start() + 32, 48); }
    bytes_t data() const { return data(0, data_len()); }
    /* Data bytes whether or not they count yet: records that are still open lie behind data_len(). */
    bytes_t data(size_t offset, size_t len) const { return bytes_at(start() + 80 + offset, len); }
    /* The control words and everything that lies in the data area. */
    bytes_t all() const { return bytes_at(buffer, 80 + data_len()); }

private:
    const char *start() const { return reinterpret_cast<const char *>(buffer); }
    uint32_t word(size_t number) const { return reinterpret_cast<const uint32_t *>(buffer)[number]; }
};

/* The data area, for a test that changes it behind the library's back. */
inline uint8_t *data_at(rib_batch_buffer *buffer, size_t offset)
{
    return reinterpret_cast<uint8_t *>(buffer) + 80 + offset;
}

struct batch_buffer_free {
    void operator()(rib_batch_buffer *buffer) const { ipv6_rib_batch_buffer_free(buffer); }
};
using batch_buffer_owner = std::unique_ptr<rib_batch_buffer, batch_buffer_free>;

inline batch_buffer_owner allocate_batch(int small = 0)
{
    return batch_buffer_owner(ipv6_rib_batch_buffer_allocate(small));
}
/* A buffer that was used before: other bytes stand where records will be written. */
inline constexpr size_t USED_LEN = 8192;
inline batch_buffer_owner used_batch()
{
    batch_buffer_owner buffer = allocate_batch();
    std::memset(data_at(buffer.get(), 0), 0xee, USED_LEN);
    return buffer;
}
/* The control words and everything that a record could have been written to, whether or not it counts yet. */
inline bytes_t all_of(const batch_buffer_owner &buffer)
{
    return bytes_at(buffer.get(), 80 + USED_LEN);
}

/* A caller's record in the notation of hex.h; not a byte more than it has is there to be read. */
template <class record_td> record_td *as(bytes_t &bytes)
{
    return reinterpret_cast<record_td *>(bytes.data());
}

inline constexpr const char *PREFIX_BYTES = "20010db8 01020304 05060708 090a0b0c";
inline constexpr const char *NEXTHOP_BYTES = "fe800000 11121314 15161718 191a1b1c";
inline constexpr const char *SOURCE_BYTES = "20010db8 21222324 25262728 292a2b2c";
inline const in6_addr PREFIX = address(PREFIX_BYTES), NEXTHOP = address(NEXTHOP_BYTES), SOURCE = address(SOURCE_BYTES);

/*
 * The route of add_route(PREFIX, 48, 0x0506, 0) as it travels: with that many paths (four hex digits), and with its
 * no-primary bits set or, once a primary path was added, clear.
 */
inline std::string plain_route(const char *paths, bool no_primary)
{
    return std::string("01 30 0e 00") + paths + "0506" + (no_primary ? "00008000" : "00000000") + "@20 00100001" +
           (no_primary ? "0000000000000080" : "00*8 ") + "@41 ffff 0000 01 @48 " + PREFIX_BYTES + "@336";
}

inline rib_batch_buffer_result add_plain_route(rib_batch_buffer *buffer)
{
    return ipv6_rib_batch_buffer_add_route(buffer, &PREFIX, 48, 0x0506, 0);
}
inline rib_batch_buffer_result add_path(rib_batch_buffer *b)
{
    return ipv6_rib_batch_buffer_add_path(b, 0x11121314, 0x0102030405060708, &NEXTHOP, &SOURCE, 0x21222324, 0x31323334, 0x4142);
}

/* The record that opens a path. */
inline rib_batch_path_init_in path_init()
{
    rib_batch_path_init_in in = {};
    in.pi_u32_0 = 0x51525354;
    in.pi_unused_4[0] = in.pi_unused_4[1] = in.pi_unused_4[2] = 0xe1e2e3e4;
    in.pi_u32_16 = 0x61626364;
    in.pi_u32_20 = 0x71727374;
    in.pi_infosource.afi = 2;
    in.pi_infosource.addr.v6 = &SOURCE;
    return in;
}
inline rib_batch_buffer_result add_path_init(rib_batch_buffer *b)
{
    const rib_batch_path_init_in in = path_init();
    return ipv6_rib_batch_buffer_add_path_init(b, &NEXTHOP, &in);
}
inline rib_batch_buffer_result del_path_init(rib_batch_buffer *b)
{
    const rib_batch_path_init_in in = path_init();
    return ipv6_rib_batch_buffer_del_path_init(b, &NEXTHOP, &in);
}
/* What becomes of it when it is finished without attributes. */
inline const std::string OPENED = std::string("01 @28 00100001 00100001 00100001 00100001 @152 51525354 @160 ") + NEXTHOP_BYTES +
                                  "61626364" + "@184 " + SOURCE_BYTES + "71727374 @224 02 @280";
inline const std::string WITHDRAWAL =
    std::string("02 @40 0002 @112 51525354 @120 ") + NEXTHOP_BYTES + "61626364 @160 71727374 @280";

/* Adds routes until no further one is within the length, then markers: leaves the buffer filled to exactly that. */
inline void fill_to(rib_batch_buffer *buffer, uint32_t len)
{
    const batch_view_t view{buffer};
    while (len - view.data_len() >= 336 + 336)
        ASSERT_EQ(add_plain_route(buffer), RIB_BATCH_BUFFER_OK);
    while (view.data_len() < len)
        ASSERT_EQ(ipv6_rib_batch_buffer_complete(buffer), RIB_BATCH_BUFFER_OK);
}
