/*
 * What a road sends over the message channel and gets back, so that its bound can move as many bytes in as many messages.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

struct exchange {
    size_t sent, answered; /* bytes */
};

/* Runs work, and gives the exchanges of this process in the meantime, in order. */
std::vector<exchange> note_exchanges(const std::function<void()> &work);
