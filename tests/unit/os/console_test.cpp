#include "os/console.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "os/clock.h"
#include "os/memory.h"
#include "support/test_tree.h"
#include "support/written_pieces.h"

namespace {

std::string numbered_lines(int count) {
    std::string text;
    for (int i = 1; i <= count; i++) {
        text += "line " + std::to_string(i) + "\n";
    }
    return text;
}

// ---- Formatted output ----

TEST(Print, WhatAFailedWindowLeavesIsOneLine) {
    WrittenPieces out;
    os_print("[%s:%i] ", "main_init", 1092);
    os_print("WTF failed to open window!\n");
    EXPECT_EQ(out.take(), (std::vector<std::string>{"[main_init:1092] ", "WTF failed to open window!\n"}));
}

TEST(Print, TheFormatLanguageIsStbSprintfs) {
    WrittenPieces out;
    os_print("%i|%5d|%-5d|%05u|%x|%c|%%|", -7, 42, 42, 42u, 0xBEEFu, 'z');
    os_print("%.3f|%8.2f|%g|%lld|%zu|%.3s|%10s|", 3.14159, 2.5, 0.5, -9000000000LL, size_t{5}, "abcdef",
             "right");
    EXPECT_EQ(out.take_all(),
              "-7|   42|42   |00042|beef|z|%|3.142|    2.50|0.5|-9000000000|5|abc|     right|");
    // Its own extension: thousands with commas.
    os_print("%'d", 1234567);
    EXPECT_EQ(out.take_all(), "1,234,567");
}

TEST(Print, ALineFeedStaysOneByte) {
    WrittenPieces out;
    os_print("a\nb\r\nc%s", "\n");
    EXPECT_EQ(out.take_all(), "a\nb\r\nc\n");
}

TEST(Print, NothingToPrintWritesNothing) {
    WrittenPieces out;
    os_print("%s", "");
    EXPECT_TRUE(out.take().empty());
}

TEST(Print, LongTextIsWrittenInPiecesOf1023Bytes) {
    std::string text = numbered_lines(900);
    WrittenPieces out;
    void (*print)(const char *, ...) = os_print; // without the compiler's check of formats
    for (size_t count : {1022u, 1023u, 1024u, 2046u, 2047u, 5000u}) {
        std::string part = text.substr(0, count);
        for (bool is_literal : {false, true}) {
            if (is_literal) {
                print(part.c_str());
            } else {
                os_print("%s", part.c_str());
            }
            std::string all;
            for (const std::string &piece : out.take()) {
                EXPECT_EQ(piece.size(), std::min<size_t>(1023, count - all.size())) << count << is_literal;
                all += piece;
            }
            EXPECT_EQ(all, part);
        }
    }
}

TEST(Print, EveryLengthAroundTheBuffersSizeComesThroughWhole) {
    WrittenPieces out;
    for (size_t count = 1015; count <= 1035; count++) {
        std::string text(count, 'x');
        text[count / 2] = 'y';
        os_print("%s", text.c_str());
        EXPECT_EQ(out.take_all(), text);
        os_print("<%s>%i\n", text.c_str(), 12345);
        EXPECT_EQ(out.take_all(), "<" + text + ">12345\n");
        os_print("%*d", static_cast<int>(count), 5);
        EXPECT_EQ(out.take_all(), std::string(count - 1, ' ') + "5");
    }
}

TEST(Print, AWritePassesEveryByteOnAsItIs) {
    std::string bytes;
    for (int i = 0; i < 256; i++) {
        bytes += static_cast<char>(i);
    }
    WrittenPieces out;
    os_console_write(str_over(bytes));
    EXPECT_EQ(out.take(), std::vector<std::string>{bytes});
    os_console_write({});
    EXPECT_TRUE(out.take().empty());
}

TEST(Print, WithoutStandardOutputNothingHappens) {
#ifdef _WIN32
    HANDLE kept = GetStdHandle(STD_OUTPUT_HANDLE);
    for (HANDLE missing : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE}) {
        SetStdHandle(STD_OUTPUT_HANDLE, missing);
        os_print("%s", numbered_lines(900).c_str());
        os_console_write(str_over("text"));
    }
    SetStdHandle(STD_OUTPUT_HANDLE, kept);
#else
    fflush(stdout);
    int kept = dup(STDOUT_FILENO);
    close(STDOUT_FILENO);
    os_print("%s", numbered_lines(900).c_str());
    os_console_write(str_over("text"));
    dup2(kept, STDOUT_FILENO);
    close(kept);
#endif
    // Standard output is back, and nothing of the above was kept for it.
    WrittenPieces out;
    os_print("later");
    EXPECT_EQ(out.take_all(), "later");
}

TEST(Print, WritingToAPipeThatNobodyReadsDoesNotEndTheProcess) {
    os_init();
#ifdef _WIN32
    HANDLE kept = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    ASSERT_TRUE(CreatePipe(&reader, &writer, nullptr, 0));
    CloseHandle(reader);
    SetStdHandle(STD_OUTPUT_HANDLE, writer);
    os_print("lost");
    SetStdHandle(STD_OUTPUT_HANDLE, kept);
    CloseHandle(writer);
#else
    fflush(stdout);
    int kept = dup(STDOUT_FILENO);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    os_print("lost");
    dup2(kept, STDOUT_FILENO);
    close(kept);
#endif
    WrittenPieces out;
    os_print("later");
    EXPECT_EQ(out.take_all(), "later");
}

TEST(DebugPrint, WritesFormattedTextToTheStandardLibrarysOutput) {
    testing::internal::CaptureStdout();
    os_debug_print("CLIP %i = %s\n", 13, "CF_UNICODETEXT");
    os_debug_print("%i\n", 2886);
    os_debug_print("%lld %zu %5.2f %%\n", -9000000000LL, size_t{7}, 1.5);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CLIP 13 = CF_UNICODETEXT\n2886\n-9000000000 7  1.50 %\n");
}

// ---- Command line ----

bool fail_to_allocate(uint64_t) {
    return false;
}

TEST(CommandLine, IsMadeOnceAndStartsWithTheProgramsName) {
    static bool is_made; // by this test, when the tests are repeated
    if (!is_made) {
        os_heap_hook = fail_to_allocate;
        Str failed = os_command_line();
        os_heap_hook = nullptr;
        EXPECT_EQ(failed.count, 0u);
        EXPECT_EQ(failed.data, nullptr);
        is_made = true;
    }

    std::string exe_name = std::filesystem::path(testing::internal::GetArgvs()[0]).filename().string();
    Str first = os_command_line();
    ASSERT_NE(first.data, nullptr);
    EXPECT_EQ(first.data[first.count], 0);
    EXPECT_NE(to_string(first).find(exe_name), std::string::npos);
    Str second = os_command_line();
    EXPECT_EQ(second.data, first.data);
    EXPECT_EQ(second.count, first.count);
}

} // namespace
