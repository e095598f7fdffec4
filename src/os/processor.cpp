#include "os/processor.h"

#include <cpuid.h>

namespace {

// Asks the processor itself: not every compiler has a name for LZCNT.
bool has_lzcnt() {
    constexpr uint32_t extended_features = 0x80000001, lzcnt_bit = 1 << 5;
    uint32_t a, b, c, d;
    return __get_cpuid(extended_features, &a, &b, &c, &d) && (c & lzcnt_bit) != 0;
}

} // namespace

bool os_has_avx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("popcnt") && has_lzcnt();
}
