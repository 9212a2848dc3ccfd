/*
 * SIGINT and SIGTERM end a long command in order: it notices between two exchanges, and what it made is cleared away.
 */
#pragma once

void watch_interrupts();
/* Ends the command when a signal has come. */
void check_interrupt();
