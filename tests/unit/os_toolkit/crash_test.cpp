#include "os/toolkit/crash.h"

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

const std::map<uint32_t, std::string> descriptions = {
    {0x80000002,
     "EXCEPTION_DATATYPE_MISALIGNMENT -> The thread tried to read or write data that is misaligned on "
     "hardware that does not provide alignment. For example, 16-bit values must be aligned on 2-byte "
     "boundaries; 32-bit values on 4-byte boundaries, and so on."},
    {0x80000003, "EXCEPTION_BREAKPOINT -> A breakpoint was encountered."},
    {0x80000004,
     "EXCEPTION_SINGLE_STEP -> A trace trap or other single-instruction mechanism signaled that one "
     "instruction has been executed."},
    {0xC0000005,
     "EXCEPTION_ACCESS_VIOLATION -> The thread tried to read from or write to a virtual address for "
     "which it does not have the appropriate access."},
    {0xC0000006,
     "EXCEPTION_IN_PAGE_ERROR -> The thread tried to access a page that was not present, and the system "
     "was unable to load the page. For example, this exception might occur if a network connection is "
     "lost while running a program over the network."},
    {0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION -> The thread tried to execute an invalid instruction."},
    {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION -> The thread tried to continue execution after a "
                 "noncontinuable exception occurred."},
    {0xC0000026,
     "EXCEPTION_INVALID_DISPOSITION -> An exception handler returned an invalid disposition to the "
     "exception dispatcher. Programmers using a high-level language such as C should never encounter "
     "this exception."},
    {0xC000008C,
     "EXCEPTION_ARRAY_BOUNDS_EXCEEDED -> The thread tried to access an array element that is out of "
     "bounds and the underlying hardware supports bounds checking."},
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
    {0xC0000094,
     "EXCEPTION_INT_DIVIDE_BY_ZERO -> The thread tried to divide an integer value by an integer divisor "
     "of zero."},
    {0xC0000095,
     "EXCEPTION_INT_OVERFLOW -> The result of an integer operation caused a carry out of the most "
     "significant bit of the result."},
    {0xC0000096,
     "EXCEPTION_PRIV_INSTRUCTION -> The thread tried to execute an instruction whose operation is not "
     "allowed in the current machine mode."},
    {0xC00000FD, "EXCEPTION_STACK_OVERFLOW -> The thread used up its stack."},
};

std::string expected_description(uint32_t code) {
    const auto found = descriptions.find(code);
    return found == descriptions.end() ? "UNKNOWN" : found->second;
}

} // namespace

// ---- Descriptions ----

TEST(ExceptionDescription, EachCodeHasItsOwn) {
    EXPECT_EQ(descriptions.size(), 20u);
    for (const auto &[code, description] : descriptions) {
        EXPECT_EQ(exception_description(code), description) << std::hex << code;
    }
}

TEST(ExceptionDescription, NeighboursOfACodeHaveTheirOwnOrNone) {
    for (const auto &[code, description] : descriptions) {
        for (uint32_t neighbour = code - 3; neighbour != code + 4; neighbour++) {
            EXPECT_EQ(exception_description(neighbour), expected_description(neighbour))
                << std::hex << neighbour;
        }
        // The same number with other bits for its severity and origin is another code.
        for (uint32_t bit = 16; bit < 32; bit++) {
            uint32_t other = code ^ (uint32_t{1} << bit);
            EXPECT_EQ(exception_description(other), expected_description(other)) << std::hex << other;
        }
    }
}

TEST(ExceptionDescription, EveryCodeAroundTheTwoRangesIsRight) {
    for (uint32_t start : {0xC0000000u, 0x80000000u, 0u, 0xFFFFFE00u}) {
        for (uint32_t code = start; code != start + 0x200; code++) {
            EXPECT_EQ(exception_description(code), expected_description(code)) << std::hex << code;
        }
    }
}

TEST(ExceptionDescription, JustPastTheTableIsUnknown) {
    for (uint32_t code : {0xC0000027u, 0xC0000004u, 0xC000008Bu, 0xC0000097u, 0xC00000FCu, 0xC00000FEu,
                          0x80000001u, 0x80000005u, 0u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(exception_description(code), "UNKNOWN") << std::hex << code;
    }
}

// ---- The filter ----

#ifdef _WIN32

namespace {

std::vector<std::string> calls_of_first;
std::vector<std::string> calls_of_second;

void first_callback(int32_t is_crash, const char *description) {
    calls_of_first.push_back(std::to_string(is_crash) + " " + description);
}

void second_callback(int32_t is_crash, const char *description) {
    calls_of_second.push_back(std::to_string(is_crash) + " " + description);
}

LONG WINAPI filter_of_another(EXCEPTION_POINTERS *) {
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG filter(LPTOP_LEVEL_EXCEPTION_FILTER layers_own, uint32_t code) {
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = code;
    CONTEXT context = {};
    EXCEPTION_POINTERS exception = {&record, &context};
    return layers_own(&exception);
}

} // namespace

TEST(CrashFilter, IsInstalledOnceAndCallsTheLatestCallbackOrNone) {
    LPTOP_LEVEL_EXCEPTION_FILTER before = SetUnhandledExceptionFilter(filter_of_another);
    os_set_crash_callback(nullptr);
    static LPTOP_LEVEL_EXCEPTION_FILTER layers_own; // kept for when the tests are repeated
    if (!layers_own) {
        layers_own = SetUnhandledExceptionFilter(filter_of_another);
    }
    ASSERT_NE(layers_own, filter_of_another);
    calls_of_first.clear();
    calls_of_second.clear();
    EXPECT_EQ(filter(layers_own, 0xC0000005), 1); // no callback: it only says that the process ends

    os_set_crash_callback(first_callback);
    EXPECT_EQ(SetUnhandledExceptionFilter(filter_of_another), filter_of_another); // not installed again
    for (const auto &[code, description] : descriptions) {
        EXPECT_EQ(filter(layers_own, code), 1);
        EXPECT_EQ(calls_of_first.back(), "1 " + description);
    }
    EXPECT_EQ(calls_of_first.size(), descriptions.size());

    os_set_crash_callback(second_callback);
    EXPECT_EQ(SetUnhandledExceptionFilter(before), filter_of_another);
    EXPECT_EQ(filter(layers_own, 0xC0000027), 1);
    EXPECT_EQ(calls_of_second, std::vector<std::string>{"1 UNKNOWN"});
    EXPECT_EQ(calls_of_first.size(), descriptions.size());
    os_set_crash_callback(nullptr);
}

#endif
