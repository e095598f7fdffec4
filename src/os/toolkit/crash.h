// The last line of defence: what to tell when the process crashes, and a way to give up. Nothing in the
// program switches it on.
#pragma once

#include <stdint.h>

// ---- Descriptions (one version for all systems) ----

// The name of a Windows exception code and a sentence on it, zero-terminated, without a line end, the
// program's own constant; "UNKNOWN" for a code that has none.
const char *exception_description(uint32_t code);

// ---- Crash report (each system) ----

// Gets 1 and the description of what happened, in the thread that crashed and with what is left of its stack:
// after a stack overflow that is little on Windows. The text is the program's own constant.
typedef void CrashCallback(int32_t is_crash, const char *description);

// Has callback called once when the process crashes; the process then ends with the exception's code as exit
// status, of which the lowest eight bits are left on Linux. The first call installs that, a later one only
// replaces callback; with null nothing is called. What MinGW's start-up code takes for harmless in the main
// thread (codes 0x80000002, 0xC000008C, 0xC0000092 and 0xC0000095) does not come as far. On Linux, where a
// signal stands for each exception, a stack overflow is reported only in the thread of the first call.
void os_set_crash_callback(CrashCallback *callback);

// ---- Fatal errors (each system) ----

// Shows message, a zero-terminated UTF-8 text, in a box of the title "YA FUCKED UP" until the user closes it,
// on Linux on standard error, and then aborts the process. A message of more than 8,388,608 UTF-16 units
// leaves the box empty.
[[noreturn]] void os_fatal(const char *message);
