// Diagnostic text on standard output, and the command line.
//
// The program has no console of its own: output is seen only when standard output is redirected. Without one,
// and on every error, writing does nothing; no error is reported.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// Lets the compiler check the part of the format language that both formatters share with standard C.
#ifdef _WIN32
#define OS_FORMAT_CHECKED __attribute__((format(gnu_printf, 1, 2)))
#else
#define OS_FORMAT_CHECKED __attribute__((format(printf, 1, 2)))
#endif

// ---- Formatted output (one version for all systems) ----

// Formats with stb_sprintf's language and writes the bytes unchanged with os_console_write, in pieces of 1023
// bytes, the last one shorter.
OS_FORMAT_CHECKED void os_print(const char *format, ...);

// Formats with the standard library's language onto its buffered stdout; on Windows a line feed becomes two
// bytes. The order relative to os_print is not kept.
OS_FORMAT_CHECKED void os_debug_print(const char *format, ...);

// ---- Output (each system) ----

// Writes the bytes to standard output as they are; errors are ignored.
void os_console_write(Str text);

// ---- Command line (each system) ----

// The process's command line, starting with the program's name, without spaces and tabs at the end.
// Zero-terminated, owned by the layer, created by the first call; the empty Str when out of memory. Where the
// system passes separate arguments they are joined with spaces, and one that is empty, or contains a space or
// tab and starts with neither a double quote nor a dash, is put in double quotes.
Str os_command_line();
