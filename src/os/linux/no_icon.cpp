// An icon file without pictures, linked into programs that have no icon of their own.
#include <stdint.h>

extern "C" {
extern const uint8_t program_icon[6] = {};
}
