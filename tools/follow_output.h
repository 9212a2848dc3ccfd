/*
 * What the commands that follow the server share: how they go on, and how they print what they were told.
 */
#pragma once

#include "follower.h"
#include "output.h"
#include "show_updates.h"

/* A step of the follower. Output does not wait while nothing comes; an interrupt ends the command. */
void follow_step(follower &follower, output &out);
void show_update(output &out, const shown_update &update);
