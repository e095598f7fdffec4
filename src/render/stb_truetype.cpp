// The one place where stb_truetype is compiled. Its memory comes from the program's heap, and from a spare
// block when the heap refuses: without its outline and its row of pixels stb_truetype would write through
// null. Its assertions are off: it goes on with a harmless value wherever it has one, which is what a font
// full of nonsense should get.
#include <stddef.h>
#include <stdint.h>

#include "os/memory.h"

namespace {

// Enough for a glyph of some thousand points and pixels of width. What asks for more gets null when the heap
// refuses as well, which a larger outline or row does not survive. Used by the interface thread only, as all
// of stb_truetype is.
constexpr uint64_t spare_size = 0x40000; // bytes
alignas(16) uint8_t spare[spare_size];
uint64_t spare_used; // bytes from its start, given back all at once
uint32_t spare_live; // allocations in it

void *spare_alloc(uint64_t size) {
    constexpr uint64_t alignment = 16;
    if (size >= spare_size - spare_used) { // even an empty one begins within the spare
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
    if (offset >= spare_size) { // below it as well, and null
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
