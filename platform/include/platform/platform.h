/*
 * What every platform header shares: the export macro and the platform's status code type.
 */
#ifndef PLATFORM_PLATFORM_H
#define PLATFORM_PLATFORM_H

#include <stdint.h>

#define PLATFORM_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define PLATFORM_BEGIN extern "C" {
#define PLATFORM_END }
#else
#define PLATFORM_BEGIN
#define PLATFORM_END
#endif

/* A 32-bit status: 0, an errno value, or a service's own code. */
typedef uint32_t errcode;

#endif
