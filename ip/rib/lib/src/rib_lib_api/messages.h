/*
 * Logging: the library's messages by name. Only the layer that knows the reason logs, and once.
 */
#pragma once

/* An operation on a batch buffer was refused, with which result. */
void rib_log_batch_buffer(const char *operation, int result);
/* A lock, unlock, mutex set-up or disconnect failed: who, at what, and the error number. */
void rib_log_lock(const char *who, const char *operation, int error);
/* A bind found its handle set. */
void rib_log_connection_leak();
/* An update or a route record could not be decoded. */
void rib_log_fetch_update(const char *problem);
/* A step of an unbind failed. */
void rib_log_unbind(const char *operation, int error);
