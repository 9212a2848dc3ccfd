/*
 * The command line.
 */
#pragma once

/* Runs what the arguments ask for. Returns the exit code; failures have been told on standard error. */
int ribctl_run(int argc, char **argv);
