// Deadlines and the clock they are on, for the layer's own files.
#pragma once

#include <stdint.h>
#include <time.h>

constexpr int64_t nanoseconds_per_second = 1000000000;

// Moves the time on by ms milliseconds.
void add_ms(timespec *time, uint32_t ms);

// The milliseconds of CLOCK_MONOTONIC.
int64_t monotonic_ms();
