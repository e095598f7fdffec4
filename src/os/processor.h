// What the processor at hand can do, for the loops that have a faster variant on newer ones.
#pragma once

#include <stdint.h>

// Whether it has AVX2, and beside it what every processor with AVX2 came with: BMI, POPCNT and LZCNT. May be
// called before main.
bool os_has_avx2();
