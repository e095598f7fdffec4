// What this processor can do, for loops that have a faster variant for newer ones.
#pragma once

#include <stdint.h>

// Whether the processor has AVX2 and what comes with it: BMI, POPCNT and LZCNT. May be called before main.
bool os_has_avx2();
