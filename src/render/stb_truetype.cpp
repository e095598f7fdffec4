// The one place where stb_truetype is compiled. Its memory comes from the program's heap. Its assertions are
// off: it goes on with a harmless value wherever it has one, which is what a font full of nonsense should
// get.
#include "os/memory.h"

#define STBTT_malloc(size, user) ((void)(user), os_alloc(size))
#define STBTT_free(ptr, user) ((void)(user), os_free(ptr))
#define STBTT_assert(condition) ((void)0)
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb_truetype.h>
