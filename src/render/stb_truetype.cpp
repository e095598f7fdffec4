// The only place where stb_truetype is compiled. Its memory comes from the program's heap, or from a spare
// block when out of memory, as it does not check all of its allocations for null. Its assertions are off:
// without them it continues with a harmless value where it has one, as it should for a broken font.
#include <stddef.h>
#include <stdint.h>

#include "os/memory.h"

namespace {

// Enough for a glyph of a few thousand points, a few thousand pixels wide; a larger one crashes when out of
// memory.
// Interface thread only, like all of stb_truetype.
constexpr uint64_t spare_size = 0x40000; // bytes
alignas(16) uint8_t spare[spare_size];
uint64_t spare_used; // bytes from the start; 0 again once all its allocations are freed
uint32_t spare_live; // allocations in it

void *spare_alloc(uint64_t size) {
    constexpr uint64_t alignment = 16;
    if (size >= spare_size - spare_used) { // even an empty allocation begins within the spare block
        return nullptr;
    }
    void *block = spare + spare_used;
    // spare_size is a multiple of the alignment, so rounding up never goes beyond it.
    spare_used += (size + alignment - 1) & ~(alignment - 1);
    spare_live++;
    return block;
}

void *glyph_alloc(uint64_t size) {
    void *block = os_alloc(size);
    return block ? block : spare_alloc(size);
}

void glyph_free(void *block) {
    uintptr_t offset = reinterpret_cast<uintptr_t>(block) - reinterpret_cast<uintptr_t>(spare);
    if (offset >= spare_size) { // also for addresses below it, and null
        os_free(block);
        return;
    }
    spare_live--;
    if (spare_live == 0) {
        spare_used = 0;
    }
}

} // namespace

#define STBTT_malloc(size, user) ((void)(user), glyph_alloc(size))
#define STBTT_free(ptr, user) ((void)(user), glyph_free(ptr))
#define STBTT_assert(condition) ((void)0)
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb_truetype.h>
