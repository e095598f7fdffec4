#include "support/heap_hook.h"

#include <utility>

#include "os/memory.h"

namespace {

std::function<bool(uint64_t)> allow_size;

bool ask(uint64_t size) {
    return allow_size(size);
}

} // namespace

HeapHookScope::HeapHookScope(std::function<bool(uint64_t size)> allow) {
    allow_size = std::move(allow);
    os_heap_hook = ask;
}

HeapHookScope::~HeapHookScope() {
    os_heap_hook = nullptr;
    allow_size = nullptr;
}

FailingAllocation::FailingAllocation(uint64_t nth, Series series)
    : hook([this, nth, series](uint64_t size) {
          uint64_t index = sizes.size();
          sizes.push_back(size);
          return series == ALONE ? index != nth : index < nth;
      }) {}
