/*
 * Result codes. Three vocabularies meet: an errcode tells how an exchange went; a RIB result tells what the server made
 * of one table, route or path; the results of batch operations are in batch.h.
 */
#ifndef IPV6_RIB_ERRORS_H
#define IPV6_RIB_ERRORS_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/*
 * Values of errcode besides 0. After a failed send it is the errno value that the message channel left (ECONNRESET,
 * EMSGSIZE, EBADF ...); EBADMSG (74) is a reply whose record list is malformed; a few functions return system error
 * numbers and say so.
 */
#define RIB_LIB_ERR_BAD_ARG 0xA2D28000u        /* a required argument is missing */
#define RIB_LIB_ERR_NO_MEMORY 0xA2D28200u      /* an allocation failed */
#define RIB_LIB_ERR_NO_CONNECTION 0xA2D28800u  /* no connection, or it could not be locked */
#define RIB_LIB_ERR_NO_TABLE 0x42D29800u       /* next-hop registration without a table */
#define RIB_LIB_ERR_SIGEVENT_TABLE 0x42D2A800u /* four event managers are registered already, or this one is not */
#define RIB_LIB_ERR_PASS_LIMIT 0x42D2B000u     /* an update fetch reached the caller's pass limit */
#define RIB_LIB_ERR_BATCH_FULL 0x42D2B200u     /* no room for another redistribution registration */
#define RIB_LIB_ERR_CLIENT_INFO 0x42D2B400u    /* node name, node id or process name is not to be had */
#define RIB_LIB_ERR_BATCH_SEND 0x42D2B600u     /* a registration batch could not be sent */
#define RIB_LIB_ERR_READ_BUF 0x42D2BA00u       /* read buffer or connection lock failure in an update fetch */

#define RIB_SRV_ERR_ACCEPTED 0x42D29000u  /* answer of the server that the advertising requests take as success */
#define RIB_SRV_ERR_NOT_FOUND 0x42D29400u /* answer of the server: no such route, address, protocol or entry */

/* RIB results, carried per table, route and path. Negative and above RIB_RESULT_EXISTS: refused. */
#define RIB_RESULT_PRIMARY_PATHID (-11)
#define RIB_RESULT_ATTR_TOO_LARGE (-10)
#define RIB_RESULT_PATH_FEATURES (-9)
#define RIB_RESULT_NO_ECMP (-8)
#define RIB_RESULT_NO_CONNECTION (-7)
#define RIB_RESULT_INVALID_AFI (-6)
#define RIB_RESULT_RPC_ERROR (-5)
#define RIB_RESULT_TOO_MANY_PATHS (-4)
#define RIB_RESULT_INVALID_PARAMETER (-3)
#define RIB_RESULT_INVALID_HANDLE (-2)
#define RIB_RESULT_NO_MEMORY (-1)
#define RIB_RESULT_OK 0
#define RIB_RESULT_BACKUP 1
#define RIB_RESULT_CHANGED 2
#define RIB_RESULT_FIRST_BACKUP 3
#define RIB_RESULT_NO_CHANGE 4
#define RIB_RESULT_EXISTS 5
#define RIB_RESULT_ROUTE_LIMIT 6
#define RIB_RESULT_SYSTEM_ERROR 7
#define RIB_RESULT_TABLE_LIMIT 8
#define RIB_RESULT_NO_TABLE 9
#define RIB_RESULT_INTERFACE_MISMATCH 10
#define RIB_RESULT_UNKNOWN 11

/**
 * Names a RIB result.
 *
 * @param result  any number
 * @return a constant text, never NULL: "Invalid RIB Result" outside -11 to 11
 */
IPV6_RIB_API const char *ribresulttype_to_string(int result);

IPV6_RIB_END

#endif
