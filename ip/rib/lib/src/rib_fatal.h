/*
 * Fatal assertions: they print in the C library's form, with the unit's path, and abort in every build type. For broken
 * contracts of the caller and the library's own state; bytes from the other side never reach one. The texts are part of
 * the interface. A function that asserts is global or static, so that its signature prints plainly.
 */
#pragma once

extern "C" [[noreturn]] void __assert_fail(const char *text, const char *file, unsigned line, const char *function) noexcept;

#define rib_fatal_unless(condition, text)                                                                                        \
    (__builtin_expect(static_cast<bool>(condition), 1) ? static_cast<void>(0)                                                    \
                                                       : __assert_fail(text, RIB_UNIT, __LINE__, __PRETTY_FUNCTION__))
