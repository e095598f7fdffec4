// Lets a test watch the program's allocations and make them fail.
#pragma once

#include <stdint.h>

#include <functional>
#include <utility>

// While it lives, allow is called with each allocation's size; false makes it fail. One at a time.
class HeapHookScope {
public:
    explicit HeapHookScope(std::function<bool(uint64_t size)> allow);
    ~HeapHookScope();
    HeapHookScope(const HeapHookScope &) = delete;
    HeapHookScope &operator=(const HeapHookScope &) = delete;
};
