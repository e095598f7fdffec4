// Lets a test watch and refuse the program's allocations.
#pragma once

#include <stdint.h>

#include <functional>
#include <utility>

// While it lives, asked for each allocation with its size; false refuses it. One at a time.
class HeapHookScope {
public:
    explicit HeapHookScope(std::function<bool(uint64_t size)> allow);
    ~HeapHookScope();
    HeapHookScope(const HeapHookScope &) = delete;
    HeapHookScope &operator=(const HeapHookScope &) = delete;
};
