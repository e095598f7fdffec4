// The last line of defence: a report when the process crashes, and a way to give up. The program does not use
// it.
#pragma once

#include <stdint.h>

// ---- Descriptions (one version for all systems) ----

// The name of a Windows exception code and a sentence on it, zero-terminated, without a line end, the
// program's own constant; "UNKNOWN" for a code that has none.
const char *exception_description(uint32_t code);

// ---- Crash report (each system) ----

// Called with 1 and the description of what happened, in the thread that crashed and with what is left of its
// stack: after a stack overflow that is little on Windows. The text is the program's own constant.
typedef void CrashCallback(int32_t is_crash, const char *description);

// Calls callback once when the process crashes; the process then ends with the exception's code as its exit
// status, on Linux with its lowest eight bits. The first call installs the handler, later ones
// only replace callback; null: none. Codes that MinGW's start-up code handles in the main thread (0x80000002,
// 0xC000008C, 0xC0000092 and 0xC0000095) are not reported. On Linux signals are reported as the exceptions
// they correspond to, and a stack overflow only in the thread of the first call.
void os_set_crash_callback(CrashCallback *callback);

// ---- Fatal errors (each system) ----

// Shows message, a zero-terminated UTF-8 text, in a box with the title "YA FUCKED UP" until the user closes
// it, on Linux on standard error, and then aborts the process. A message of more than 8,388,608 UTF-16 units
// leaves the box empty.
[[noreturn]] void os_fatal(const char *message);
