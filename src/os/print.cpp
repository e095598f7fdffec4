#define __USE_MINGW_ANSI_STDIO 1 // one format language for vfprintf on all systems

#include "os/console.h"

#include <stdarg.h>
#include <stdio.h>

// The same settings as in stb_sprintf.cpp.
#define STB_SPRINTF_MIN 1024
#define STB_SPRINTF_NOUNALIGNED
#include <stb_sprintf.h>

namespace {

struct Piece {
    uint64_t count;
    char bytes[1023];
};

void write_piece(Piece *piece) {
    os_console_write({piece->count, piece->bytes});
    piece->count = 0;
}

// The formatter delivers text in pieces of other sizes.
char *add_to_piece(const char *bytes, void *user, int count) {
    Piece *piece = static_cast<Piece *>(user);
    for (int i = 0; i < count; i++) {
        piece->bytes[piece->count++] = bytes[i];
        if (piece->count == sizeof(piece->bytes)) {
            write_piece(piece);
        }
    }
    return const_cast<char *>(bytes);
}

} // namespace

void os_print(const char *format, ...) {
    char buffer[STB_SPRINTF_MIN];
    Piece piece;
    piece.count = 0;
    va_list arguments;
    va_start(arguments, format);
    stbsp_vsprintfcb(add_to_piece, &piece, buffer, format, arguments);
    va_end(arguments);
    if (piece.count > 0) {
        write_piece(&piece);
    }
}

void os_debug_print(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stdout, format, arguments);
    va_end(arguments);
}
