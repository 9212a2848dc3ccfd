/*
 * Random numbers that are the same on every machine for the same seed; the standard distributions are not.
 */
#pragma once

#include <cstdint>
#include <random>

class random_source
{
public:
    explicit random_source(uint64_t seed) : engine_(seed) {}

    uint64_t next() { return engine_(); }
    /* 0 to limit - 1. */
    uint64_t below(uint64_t limit) { return static_cast<uint64_t>(static_cast<unsigned __int128>(next()) * limit >> 64); }
    /* 0 to below 1. */
    double part() { return static_cast<double>(next() >> 11) * 0x1p-53; }

private:
    std::mt19937_64 engine_;
};
