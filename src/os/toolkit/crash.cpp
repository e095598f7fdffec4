#include "os/toolkit/crash.h"

// ---- Descriptions ----

namespace {

struct ExceptionRow {
    uint32_t code;
    const char *description;
};

// By name; the last row is for every code that no other row has.
constexpr ExceptionRow exceptions[] = {
    {0xC0000005,
     "EXCEPTION_ACCESS_VIOLATION -> The thread tried to read from or write to a virtual address for "
     "which it does not have the appropriate access."},
    {0xC000008C,
     "EXCEPTION_ARRAY_BOUNDS_EXCEEDED -> The thread tried to access an array element that is out of "
     "bounds and the underlying hardware supports bounds checking."},
    {0x80000003, "EXCEPTION_BREAKPOINT -> A breakpoint was encountered."},
    {0x80000002,
     "EXCEPTION_DATATYPE_MISALIGNMENT -> The thread tried to read or write data that is misaligned on "
     "hardware that does not provide alignment. For example, 16-bit values must be aligned on 2-byte "
     "boundaries; 32-bit values on 4-byte boundaries, and so on."},
    {0xC000008D,
     "EXCEPTION_FLT_DENORMAL_OPERAND -> One of the operands in a floating-point operation is denormal. "
     "A denormal value is one that is too small to represent as a standard floating-point value."},
    {0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO -> The thread tried to divide a floating-point value by a "
                 "floating-point divisor of zero."},
    {0xC000008F,
     "EXCEPTION_FLT_INEXACT_RESULT -> The result of a floating-point operation cannot be represented "
     "exactly as a decimal fraction."},
    {0xC0000090,
     "EXCEPTION_FLT_INVALID_OPERATION -> This exception represents any floating-point exception not "
     "included in this list."},
    {0xC0000091, "EXCEPTION_FLT_OVERFLOW -> The exponent of a floating-point operation is greater than the "
                 "magnitude allowed by the corresponding type."},
    {0xC0000092, "EXCEPTION_FLT_STACK_CHECK -> The stack overflowed or underflowed as the result of a "
                 "floating-point operation."},
    {0xC0000093,
     "EXCEPTION_FLT_UNDERFLOW -> The exponent of a floating-point operation is less than the magnitude "
     "allowed by the corresponding type."},
    {0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION -> The thread tried to execute an invalid instruction."},
    {0xC0000006,
     "EXCEPTION_IN_PAGE_ERROR -> The thread tried to access a page that was not present, and the system "
     "was unable to load the page. For example, this exception might occur if a network connection is "
     "lost while running a program over the network."},
    {0xC0000094,
     "EXCEPTION_INT_DIVIDE_BY_ZERO -> The thread tried to divide an integer value by an integer divisor "
     "of zero."},
    {0xC0000095,
     "EXCEPTION_INT_OVERFLOW -> The result of an integer operation caused a carry out of the most "
     "significant bit of the result."},
    {0xC0000026,
     "EXCEPTION_INVALID_DISPOSITION -> An exception handler returned an invalid disposition to the "
     "exception dispatcher. Programmers using a high-level language such as C should never encounter "
     "this exception."},
    {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION -> The thread tried to continue execution after a "
                 "noncontinuable exception occurred."},
    {0xC0000096,
     "EXCEPTION_PRIV_INSTRUCTION -> The thread tried to execute an instruction whose operation is not "
     "allowed in the current machine mode."},
    {0x80000004,
     "EXCEPTION_SINGLE_STEP -> A trace trap or other single-instruction mechanism signaled that one "
     "instruction has been executed."},
    {0xC00000FD, "EXCEPTION_STACK_OVERFLOW -> The thread used up its stack."},
    {0, "UNKNOWN"},
};
static_assert(sizeof(exceptions) / sizeof(exceptions[0]) == 21);

} // namespace

const char *exception_description(uint32_t code) {
    const ExceptionRow *row = exceptions;
    while (row->code != code && row->code != 0) {
        row++;
    }
    return row->description;
}
