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

const std::map<uint32_t, std::string> names = {
    {0x80000002, "EXCEPTION_DATATYPE_MISALIGNMENT"},
    {0x80000003, "EXCEPTION_BREAKPOINT"},
    {0x80000004, "EXCEPTION_SINGLE_STEP"},
    {0xC0000005, "EXCEPTION_ACCESS_VIOLATION"},
    {0xC0000006, "EXCEPTION_IN_PAGE_ERROR"},
    {0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION"},
    {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {0xC0000026, "EXCEPTION_INVALID_DISPOSITION"},
    {0xC000008C, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {0xC000008D, "EXCEPTION_FLT_DENORMAL_OPERAND"},
    {0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {0xC000008F, "EXCEPTION_FLT_INEXACT_RESULT"},
    {0xC0000090, "EXCEPTION_FLT_INVALID_OPERATION"},
    {0xC0000091, "EXCEPTION_FLT_OVERFLOW"},
    {0xC0000092, "EXCEPTION_FLT_STACK_CHECK"},
    {0xC0000093, "EXCEPTION_FLT_UNDERFLOW"},
    {0xC0000094, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {0xC0000095, "EXCEPTION_INT_OVERFLOW"},
    {0xC0000096, "EXCEPTION_PRIV_INSTRUCTION"},
    {0xC00000FD, "EXCEPTION_STACK_OVERFLOW"},
};

} // namespace

// ---- Descriptions ----

TEST(ExceptionDescription, EachCodeHasItsOwn) {
    for (const auto &[code, name] : names) {
        std::string description = exception_description(code);
        EXPECT_EQ(description.substr(0, name.size() + 4), name + " -> ");
        EXPECT_GT(description.size(), name.size() + 4);
        EXPECT_TRUE(description.ends_with("."));
    }
    EXPECT_STREQ(
        exception_description(0xC0000005),
        "EXCEPTION_ACCESS_VIOLATION -> The thread tried to read from or write to a virtual address for "
        "which it does not have the appropriate access.");
}

TEST(ExceptionDescription, EveryOtherCodeIsUnknown) {
    for (uint32_t start : {0xC0000000u, 0x80000000u, 0x40000000u, 0u, 0xFFFFFE00u}) {
        for (uint32_t code = start; code != start + 0x200; code++) {
            if (names.count(code) == 0) {
                EXPECT_STREQ(exception_description(code), "UNKNOWN") << std::hex << code;
            }
        }
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
    for (const auto &[code, name] : names) {
        EXPECT_EQ(filter(layers_own, code), 1);
        EXPECT_EQ(calls_of_first.back(), std::string("1 ") + exception_description(code));
    }
    EXPECT_EQ(calls_of_first.size(), names.size());

    os_set_crash_callback(second_callback);
    EXPECT_EQ(SetUnhandledExceptionFilter(before), filter_of_another);
    EXPECT_EQ(filter(layers_own, 0xC0000027), 1);
    EXPECT_EQ(calls_of_second, std::vector<std::string>{"1 UNKNOWN"});
    EXPECT_EQ(calls_of_first.size(), names.size());
    os_set_crash_callback(nullptr);
}

#endif
