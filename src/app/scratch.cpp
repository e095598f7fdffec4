#include "app/scratch.h"

#include <string.h>

namespace {

constexpr uint64_t scratch_capacity = 1000000;

} // namespace

Scratch *scratch;

void scratch_create() {
    char *data = static_cast<char *>(os_alloc(scratch_capacity));
    scratch = static_cast<Scratch *>(os_alloc(sizeof(Scratch)));
    if (scratch) {
        *scratch = {data ? scratch_capacity : 0, 0, data};
    } else {
        os_free(data);
    }
}

void scratch_empty() {
    if (scratch) {
        scratch->used = 0;
    }
}

Str scratch_room() {
    return scratch ? Str{scratch->capacity - scratch->used, scratch->data + scratch->used} : Str{};
}

Str scratch_join(Str first, Str second) {
    uint64_t count = first.count + second.count;
    if (!scratch || scratch->capacity - scratch->used <= count) {
        return {};
    }
    char *text = scratch->data + scratch->used;
    scratch->used += count + 1;
    if (first.count > 0) {
        memcpy(text, first.data, first.count);
    }
    if (second.count > 0) {
        memcpy(text + first.count, second.data, second.count);
    }
    text[count] = 0;
    return {count, text};
}
