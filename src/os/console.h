// Diagnostic text on standard output, and the command line.
//
// The program has no console of its own: what is written here reaches only who redirects its standard output.
// Without one, and on every error, writing does nothing; no operation here reports an error in text.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// The compiler checks the part of the format language that all the formatters here share with standard C.
#ifdef _WIN32
#define OS_FORMAT_CHECKED __attribute__((format(gnu_printf, 1, 2)))
#else
#define OS_FORMAT_CHECKED __attribute__((format(printf, 1, 2)))
#endif

// ---- Formatted output (one version for all systems) ----

// Formats with stb_sprintf's language and writes with os_console_write, byte for byte: in pieces of 1023
// bytes, the last one shorter.
OS_FORMAT_CHECKED void os_print(const char *format, ...);

// Formats with the standard library's language onto its stdout, which collects the text, and on Windows
// writes a line feed as two bytes. Order between this and os_print is not kept.
OS_FORMAT_CHECKED void os_debug_print(const char *format, ...);

// ---- Output (each system) ----

// Writes the bytes to standard output as they are; errors are ignored.
void os_console_write(Str text);

// ---- Command line (each system) ----

// The command line the process was started with, the program's name first, without the spaces and tabs at its
// end. Zero-terminated, owned by the layer, made at the first call; the empty Str when out of memory. Where
// the system hands over single arguments they are joined by spaces. An empty one, and one that holds a space
// or a tab and starts with neither a double quote nor a dash, is put in double quotes.
Str os_command_line();
