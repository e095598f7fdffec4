// Lets a test watch the program's allocations and make them fail.
#pragma once

#include <stdint.h>

#include <functional>
#include <vector>

// While it lives, allow is called with each allocation's size; false makes it fail. One at a time.
class HeapHookScope {
public:
    explicit HeapHookScope(std::function<bool(uint64_t size)> allow);
    ~HeapHookScope();
    HeapHookScope(const HeapHookScope &) = delete;
    HeapHookScope &operator=(const HeapHookScope &) = delete;
};

enum Series {
    ALONE,
    WITH_ALL_LATER_ONES,
};

// While it lives, the nth allocation fails, counted from 0. Keeps the requested sizes.
class FailingAllocation {
public:
    explicit FailingAllocation(uint64_t nth, Series series = ALONE);

    std::vector<uint64_t> sizes;

private:
    HeapHookScope hook;
};
