/*
 * The platform's SRv6 symbols, each passed on while the test has nothing else for it.
 */
#include "tests/support/fake_srv6.h"

#include <dlfcn.h>

fake_srv6_t &fake_srv6()
{
    static fake_srv6_t fake;
    return fake;
}

template <class... args_t> static int call(const std::function<int(args_t...)> &fake, const char *name, args_t... args)
{
    return fake ? fake(args...) : reinterpret_cast<int (*)(args_t...)>(dlsym(RTLD_NEXT, name))(args...);
}

int srv6_sid_fmt_get_info(uint32_t format, srv6_sid_fmt_info_t *info)
{
    return call(fake_srv6().format, __func__, format, info);
}

int srv6_pltf_util_extract_sid_block_iid(uint32_t format, const in6_addr *sid, srv6_sid_block_t *block)
{
    return call(fake_srv6().block, __func__, format, sid, block);
}

int rib_srv6_is_valid_explicit_opcode(uint32_t opcode)
{
    return call(fake_srv6().opcode, __func__, opcode);
}

int rib_srv6_update_sid_info_list_interop(srv6_sid_list_t *list)
{
    return call(fake_srv6().interop, __func__, list);
}

int rib_srv6_validate_and_fill_sid_len(srv6_sid_list_t *list)
{
    return call(fake_srv6().lengths, __func__, list);
}
