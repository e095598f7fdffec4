#include "os/processor.h"

uint8_t os_has_avx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("lzcnt");
}
