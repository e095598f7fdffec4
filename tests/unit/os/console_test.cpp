#include "os/console.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "os/memory.h"
#include "os/threads.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/sysinfo.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

std::string string_of(Str text) {
    return std::string(text.data, text.count);
}

Str str_of(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

// Standard output as a pipe that keeps single writes apart, for as long as it lives.
class WrittenPieces {
public:
#ifdef _WIN32
    WrittenPieces() {
        constexpr DWORD size = 65536;
        std::string name = "\\\\.\\pipe\\tarnwick_console_test_" + std::to_string(GetCurrentProcessId());
        reader = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_INBOUND,
                                  PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, size, size, 0,
                                  nullptr);
        writer = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_NE(writer, INVALID_HANDLE_VALUE);
        SetStdHandle(STD_OUTPUT_HANDLE, writer);
    }
    ~WrittenPieces() {
        SetStdHandle(STD_OUTPUT_HANDLE, kept);
        CloseHandle(writer);
        CloseHandle(reader);
    }

    std::vector<std::string> take() {
        std::vector<std::string> pieces;
        DWORD waiting = 0;
        char bytes[65536];
        DWORD count = 0;
        while (PeekNamedPipe(reader, nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0 &&
               ReadFile(reader, bytes, sizeof(bytes), &count, nullptr)) {
            pieces.emplace_back(bytes, count);
        }
        return pieces;
    }

private:
    HANDLE kept = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE reader = INVALID_HANDLE_VALUE;
    HANDLE writer = INVALID_HANDLE_VALUE;
#else
    WrittenPieces() {
        EXPECT_EQ(pipe2(ends, O_DIRECT | O_CLOEXEC), 0);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        fflush(stdout);
        kept = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
    }
    ~WrittenPieces() {
        dup2(kept, STDOUT_FILENO);
        close(kept);
        close(ends[0]);
        close(ends[1]);
    }

    std::vector<std::string> take() {
        std::vector<std::string> pieces;
        char bytes[65536];
        ssize_t count = 0;
        while ((count = read(ends[0], bytes, sizeof(bytes))) > 0) {
            pieces.emplace_back(bytes, static_cast<size_t>(count));
        }
        return pieces;
    }

private:
    int kept = -1;
    int ends[2] = {-1, -1};
#endif

public:
    std::string take_all() {
        std::string all;
        for (const std::string &piece : take()) {
            all += piece;
        }
        return all;
    }
};

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
    // One of its own: thousands with commas.
    os_print("%'d", 1234567);
    EXPECT_EQ(out.take_all(), "1,234,567");
}

TEST(Print, ALineFeedStaysOneByte) {
    WrittenPieces out;
    os_print("a\nb\r\nc%s", "\n");
    EXPECT_EQ(out.take_all(), "a\nb\r\nc\n");
}

TEST(Print, NothingToPrintIsNoWrite) {
    WrittenPieces out;
    os_print("%s", "");
    EXPECT_TRUE(out.take().empty());
}

TEST(Print, LongTextIsWrittenInPiecesOf1023Bytes) {
    std::string text = numbered_lines(900);
    WrittenPieces out;
    void (*print)(const char *, ...) = os_print; // which looks at no format
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
    os_console_write(str_of(bytes));
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
        os_console_write(str_of("text"));
        os_console_red();
        EXPECT_EQ(os_console_move_cursor(1, 1), 0);
        EXPECT_EQ(os_console_height(), 0);
    }
    SetStdHandle(STD_OUTPUT_HANDLE, kept);
#else
    fflush(stdout);
    int kept = dup(STDOUT_FILENO);
    close(STDOUT_FILENO);
    os_print("%s", numbered_lines(900).c_str());
    os_console_write(str_of("text"));
    os_console_red();
    EXPECT_EQ(os_console_move_cursor(1, 1), 0);
    EXPECT_EQ(os_console_height(), 0);
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

// ---- Input ----

TEST(Input, ReadLineReturnsLinesWithoutTheirLineFeed) {
    std::string path = testing::TempDir() + "tarnwick_read_line.txt";
    std::ofstream(path, std::ios::binary) << "one\n two \n\n0123456789abcdef\nlast";
    ASSERT_NE(std::freopen(path.c_str(), "r", stdin), nullptr);
    char line[12];
    std::vector<std::string> lines;
    for (Str text = os_read_line(line, sizeof(line)); text.data; text = os_read_line(line, sizeof(line))) {
        EXPECT_EQ(text.data, line);
        EXPECT_EQ(line[text.count], 0);
        lines.push_back(string_of(text));
    }
    // A line longer than the room for it comes in pieces.
    EXPECT_EQ(lines, (std::vector<std::string>{"one", " two ", "", "0123456789a", "bcdef", "last"}));
    EXPECT_EQ(os_read_line(line, sizeof(line)).count, 0u);
#ifdef _WIN32
    std::freopen("NUL", "r", stdin);
#else
    EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
#endif
    std::filesystem::remove(path);
}

// ---- Command line ----

uint8_t refuse(uint64_t) {
    return 0;
}

TEST(CommandLine, IsMadeOnceAndStartsWithTheProgramsName) {
    static bool is_made; // by this test, when the tests are repeated
    if (!is_made) {
        os_heap_hook = refuse;
        Str refused = os_command_line();
        os_heap_hook = nullptr;
        EXPECT_EQ(refused.count, 0u);
        EXPECT_EQ(refused.data, nullptr);
        is_made = true;
    }

    Str first = os_command_line();
    ASSERT_NE(first.data, nullptr);
    EXPECT_EQ(first.data[first.count], 0);
    EXPECT_NE(string_of(first).find(string_of(os_exe_name())), std::string::npos);
    Str second = os_command_line();
    EXPECT_EQ(second.data, first.data);
    EXPECT_EQ(second.count, first.count);
}

// ---- Process and machine ----

TEST(Machine, TheExecutablesNameHasNoFolder) {
    std::string expected = std::filesystem::path(testing::internal::GetArgvs()[0]).filename().string();
    EXPECT_EQ(string_of(os_exe_name()), expected);
}

TEST(Machine, ProcessorsAreCounted) {
    EXPECT_GE(os_processor_count(), 1u);
#ifdef _WIN32
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    EXPECT_EQ(os_processor_count(), info.dwNumberOfProcessors);
#else
    EXPECT_EQ(os_processor_count(), static_cast<uint32_t>(get_nprocs()));
#endif
}

TEST(Machine, InstalledMemoryIsInBytes) {
#ifdef _WIN32
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    ASSERT_TRUE(GlobalMemoryStatusEx(&status));
    uint64_t managed = status.ullTotalPhys;
#else
    struct sysinfo info;
    ASSERT_EQ(sysinfo(&info), 0);
    uint64_t managed = uint64_t{info.totalram} * info.mem_unit;
#endif
    // What is installed is at least what the system manages, and not many times as much.
    EXPECT_GE(os_installed_memory() + 1024, managed);
    EXPECT_LT(os_installed_memory(), managed * 4);
}

// ---- Console ----

#ifdef _WIN32

// A console as standard output and input: the process's own, or one opened for the test.
class Console : public testing::Test {
protected:
    static constexpr DWORD streams[3] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};

    void SetUp() override {
        for (int i = 0; i < 3; i++) {
            kept[i] = GetStdHandle(streams[i]);
        }
        if (!GetConsoleWindow()) {
            FreeConsole(); // of one that shows nothing
            is_mine = AllocConsole();
        }
        for (int i = 0; i < 3; i++) {
            consoles_own[i] = GetStdHandle(streams[i]);
        }
        input = open("CONIN$");
        output = open("CONOUT$");
        SetStdHandle(STD_INPUT_HANDLE, input);
        SetStdHandle(STD_OUTPUT_HANDLE, output);
        if (!GetConsoleScreenBufferInfo(output, &before)) {
            GTEST_SKIP() << "no console to be had: no desktop";
        }
    }

    void TearDown() override {
        SetConsoleTextAttribute(output, before.wAttributes);
        // FreeConsole closes the handles that AllocConsole opened, or what stands in their place by then.
        restore(consoles_own);
        for (HANDLE handle : {input, output}) {
            if (handle != INVALID_HANDLE_VALUE) {
                CloseHandle(handle);
            }
        }
        if (is_mine) {
            FreeConsole();
        }
        restore(kept);
    }

    static void restore(HANDLE *handles) {
        for (int i = 0; i < 3; i++) {
            SetStdHandle(streams[i], handles[i]);
        }
    }

    static HANDLE open(const char *name) {
        return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_EXISTING, 0, nullptr);
    }

    CONSOLE_SCREEN_BUFFER_INFO now() const {
        CONSOLE_SCREEN_BUFFER_INFO info = {};
        GetConsoleScreenBufferInfo(output, &info);
        return info;
    }

    void put_event(WORD type, BOOL is_down, wchar_t character) const {
        INPUT_RECORD event = {};
        event.EventType = type;
        if (type == KEY_EVENT) {
            event.Event.KeyEvent.bKeyDown = is_down;
            event.Event.KeyEvent.wRepeatCount = 1;
            event.Event.KeyEvent.uChar.UnicodeChar = character;
        }
        DWORD count = 0;
        EXPECT_TRUE(WriteConsoleInputW(input, &event, 1, &count));
    }

    HANDLE kept[3] = {};
    HANDLE consoles_own[3] = {};
    HANDLE input = INVALID_HANDLE_VALUE;
    HANDLE output = INVALID_HANDLE_VALUE;
    CONSOLE_SCREEN_BUFFER_INFO before = {};
    BOOL is_mine = FALSE;
};

TEST_F(Console, EachColourSetsItsAttribute) {
    const struct {
        void (*set)();
        WORD attribute;
    } colours[] = {
        {os_console_red, 12},  {os_console_green, 10},   {os_console_blue, 9},   {os_console_yellow, 14},
        {os_console_cyan, 11}, {os_console_magenta, 13}, {os_console_normal, 7}, {os_console_white, 15},
    };
    for (const auto &colour : colours) {
        colour.set();
        EXPECT_EQ(now().wAttributes, colour.attribute);
    }
}

TEST_F(Console, TheCursorMovesRelativeToItsPlaceAndStopsAtTheLeft) {
    SetConsoleCursorPosition(output, {5, 5});
    EXPECT_EQ(os_console_move_cursor(3, -2), 1);
    EXPECT_EQ(now().dwCursorPosition.X, 8);
    EXPECT_EQ(now().dwCursorPosition.Y, 3);
    EXPECT_EQ(os_console_move_cursor(-100, 1), 1);
    EXPECT_EQ(now().dwCursorPosition.X, 0);
    EXPECT_EQ(now().dwCursorPosition.Y, 4);
    EXPECT_EQ(os_console_move_cursor(0, -100), 0); // rows are not clamped: the console refuses
    EXPECT_EQ(now().dwCursorPosition.Y, 4);
}

TEST_F(Console, TheHeightIsTheRowsOfTheVisibleWindow) {
    EXPECT_GT(os_console_height(), 0);
    EXPECT_EQ(os_console_height(), now().srWindow.Bottom - now().srWindow.Top + 1);
}

TEST_F(Console, OnlyAKeyThatGoesDownIsAKey) {
    FlushConsoleInputBuffer(input);
    put_event(KEY_EVENT, TRUE, L'q');
    put_event(KEY_EVENT, FALSE, L'r');
    put_event(FOCUS_EVENT, FALSE, 0);
    put_event(KEY_EVENT, TRUE, 0x20AC);
    // A console that has just been opened may have an event of its own among them.
    std::vector<uint32_t> keys;
    DWORD waiting = 0;
    while (GetNumberOfConsoleInputEvents(input, &waiting) && waiting > 0) {
        uint32_t key = os_console_read_key();
        if (key != 0) {
            keys.push_back(key);
        }
    }
    EXPECT_EQ(keys, (std::vector<uint32_t>{'q', 0x20AC}));
}

TEST_F(Console, TheWindowIsMovedWithItsSizeKept) {
    if (!IsWindowVisible(GetConsoleWindow())) {
        GTEST_SKIP() << "the console has no window of its own here";
    }
    Rect start = os_console_window_rect();
    EXPECT_GT(start.width, 0);
    EXPECT_GT(start.height, 0);
    EXPECT_EQ(os_console_window_move(start.x + 30, start.y + 40), 1);
    Rect moved = os_console_window_rect();
    EXPECT_EQ(moved.x, start.x + 30);
    EXPECT_EQ(moved.y, start.y + 40);
    EXPECT_EQ(moved.width, start.width);
    EXPECT_EQ(moved.height, start.height);

    // A console may keep whole rows only, so the height need not become exactly what was asked for.
    EXPECT_EQ(os_console_window_set_height(start.height - 60), 1);
    Rect lower = os_console_window_rect();
    EXPECT_LT(lower.height, start.height);
    EXPECT_EQ(lower.x, moved.x);
    EXPECT_EQ(lower.y, moved.y);
    EXPECT_EQ(lower.width, moved.width);
    os_console_window_flash();

    os_console_window_set_height(start.height);
    os_console_window_move(start.x, start.y);
}

#else

// A terminal as standard output and input.
class Console : public testing::Test {
protected:
    void SetUp() override {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        ASSERT_GE(master, 0);
        ASSERT_EQ(grantpt(master), 0);
        ASSERT_EQ(unlockpt(master), 0);
        terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
        ASSERT_GE(terminal, 0);
        fflush(stdout);
        kept_output = dup(STDOUT_FILENO);
        kept_input = dup(STDIN_FILENO);
        dup2(terminal, STDOUT_FILENO);
        dup2(terminal, STDIN_FILENO);
    }

    void TearDown() override {
        dup2(kept_output, STDOUT_FILENO);
        dup2(kept_input, STDIN_FILENO);
        for (int file : {kept_output, kept_input, terminal, master}) {
            close(file);
        }
    }

    // What has been written to the terminal since the last call; it takes a while to come through.
    std::string shown() const {
        constexpr char end = '#';
        EXPECT_EQ(write(terminal, &end, 1), 1);
        std::string text;
        pollfd waiting = {master, POLLIN, 0};
        char byte = 0;
        while (poll(&waiting, 1, 60000) == 1 && read(master, &byte, 1) == 1 && byte != end) {
            text += byte;
        }
        EXPECT_EQ(byte, end);
        return text;
    }

    void type(const std::string &bytes) const {
        EXPECT_EQ(write(master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    int master = -1;
    int terminal = -1;
    int kept_output = -1;
    int kept_input = -1;
};

TEST_F(Console, EachColourIsItsEscapeSequence) {
    const struct {
        void (*set)();
        const char *escape;
    } colours[] = {
        {os_console_red, "\x1b[91m"},   {os_console_green, "\x1b[92m"},   {os_console_blue, "\x1b[94m"},
        {os_console_cyan, "\x1b[96m"},  {os_console_magenta, "\x1b[95m"}, {os_console_yellow, "\x1b[93m"},
        {os_console_normal, "\x1b[0m"}, {os_console_white, "\x1b[97m"},
    };
    for (const auto &colour : colours) {
        colour.set();
        EXPECT_EQ(shown(), colour.escape);
    }
}

TEST_F(Console, TheCursorMovesRelativeToItsPlace) {
    EXPECT_EQ(os_console_move_cursor(3, -2), 1);
    EXPECT_EQ(shown(), "\x1b[3C\x1b[2A");
    EXPECT_EQ(os_console_move_cursor(-100, 1), 1);
    EXPECT_EQ(shown(), "\x1b[100D\x1b[1B");
    EXPECT_EQ(os_console_move_cursor(0, 0), 1);
    EXPECT_EQ(shown(), "");
}

TEST_F(Console, TheHeightIsTheTerminalsRows) {
    winsize size = {};
    size.ws_row = 33;
    size.ws_col = 90;
    ASSERT_EQ(ioctl(master, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(os_console_height(), 33);
}

TEST_F(Console, AKeyIsReadWithoutWaitingForTheEndOfItsLine) {
    termios before;
    ASSERT_EQ(tcgetattr(terminal, &before), 0);
    std::thread user([this] { type("q\xe2\x82\xac\xf0\x9f\x98\x80z"); });
    EXPECT_EQ(os_console_read_key(), uint32_t{'q'});
    EXPECT_EQ(os_console_read_key(), 0x20ACu);
    EXPECT_EQ(os_console_read_key(), 0x1F600u);
    EXPECT_EQ(os_console_read_key(), uint32_t{'z'});
    user.join();
    termios after;
    ASSERT_EQ(tcgetattr(terminal, &after), 0);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
}

#endif

TEST(NoConsole, ColoursDoNotGetIntoRedirectedOutput) {
    WrittenPieces out;
    os_console_red();
    os_print("text");
    os_console_normal();
    EXPECT_EQ(out.take_all(), "text");
}

TEST(NoConsole, CursorHeightAndKeyReportTheirFailure) {
    WrittenPieces out;
    EXPECT_EQ(os_console_move_cursor(1, 1), 0);
    EXPECT_EQ(os_console_height(), 0);
#ifdef _WIN32
    HANDLE kept = GetStdHandle(STD_INPUT_HANDLE);
    SetStdHandle(STD_INPUT_HANDLE, nullptr);
    EXPECT_EQ(os_console_read_key(), 0u);
    SetStdHandle(STD_INPUT_HANDLE, kept);
#else
    int kept = dup(STDIN_FILENO);
    int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    EXPECT_EQ(os_console_read_key(), 0u);
    dup2(kept, STDIN_FILENO);
    close(kept);
    close(nothing);
#endif
    EXPECT_TRUE(out.take().empty());
}

TEST(NoConsole, WithoutAWindowOfItsOwnThereIsNothingToMove) {
#ifdef _WIN32
    if (GetConsoleWindow()) {
        GTEST_SKIP() << "started from a console";
    }
#endif
    EXPECT_EQ(os_console_window_move(10, 10), 0);
    EXPECT_EQ(os_console_window_set_height(100), 0);
    Rect rect = os_console_window_rect();
    EXPECT_EQ(rect.x, 0);
    EXPECT_EQ(rect.y, 0);
    EXPECT_EQ(rect.width, 0);
    EXPECT_EQ(rect.height, 0);
    os_console_window_flash();
}

// ---- Desktop ----

#ifdef _WIN32

TEST(Desktop, TheMousePointerGoesWhereItIsSent) {
    Point start = {};
    ASSERT_EQ(os_mouse_position(&start), 1);
    for (Point place : {Point{100, 120}, Point{101, 119}, Point{0, 0}, Point{333, 7}}) {
        EXPECT_EQ(os_send_mouse_move(place), 1);
        Point point = {-1, -1};
        EXPECT_EQ(os_mouse_position(&point), 1);
        EXPECT_EQ(point.x, place.x);
        EXPECT_EQ(point.y, place.y);
    }
    os_send_mouse_move(start);
}

TEST(Desktop, SentKeysAndButtonsAreDownUntilTheyAreSentUp) {
    auto is_down = [](int key) { return (GetAsyncKeyState(key) & 0x8000) != 0; };
    EXPECT_EQ(os_send_key(VK_F13, 1), 1);
    EXPECT_TRUE(is_down(VK_F13));
    EXPECT_EQ(os_send_key(VK_F13, 0), 1);
    EXPECT_FALSE(is_down(VK_F13));
    const struct {
        SentButton button;
        int key;
    } buttons[] = {
        {SENT_BUTTON_LEFT, VK_LBUTTON}, {SENT_BUTTON_RIGHT, VK_RBUTTON}, {SENT_BUTTON_MIDDLE, VK_MBUTTON}};
    for (const auto &pair : buttons) {
        EXPECT_EQ(os_send_mouse_button(pair.button, 1), 1);
        EXPECT_TRUE(is_down(pair.key));
        EXPECT_EQ(os_send_mouse_button(pair.button, 0), 1);
        EXPECT_FALSE(is_down(pair.key));
    }
}

int16_t wheel_delta_seen;

LRESULT CALLBACK note_wheel(int code, WPARAM message, LPARAM data) {
    if (code == HC_ACTION && message == WM_MOUSEWHEEL) {
        wheel_delta_seen = static_cast<int16_t>(reinterpret_cast<MSLLHOOKSTRUCT *>(data)->mouseData >> 16);
    }
    return CallNextHookEx(nullptr, code, message, data);
}

TEST(Desktop, TheWheelTurnsByNotches) {
    HHOOK hook = SetWindowsHookExA(WH_MOUSE_LL, note_wheel, GetModuleHandleA(nullptr), 0);
    ASSERT_NE(hook, nullptr);
    for (int32_t notches : {2, -1}) {
        wheel_delta_seen = 0;
        MSG message;
        // The hooks of a thread that has asked for no messages for five seconds are not called.
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
        EXPECT_EQ(os_send_mouse_wheel(notches), 1);
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE); // lets the hook's call come in
        EXPECT_EQ(wheel_delta_seen, notches * 120);
    }
    UnhookWindowsHookEx(hook);
}

TEST(Desktop, TheMonitorsAreListedUpToTheRoomForThem) {
    Rect monitors[16] = {};
    uint32_t count = os_monitors(monitors, 16);
    EXPECT_EQ(count, static_cast<uint32_t>(GetSystemMetrics(SM_CMONITORS)));
    bool has_primary = false;
    for (uint32_t i = 0; i < count; i++) {
        has_primary = has_primary || (monitors[i].x == 0 && monitors[i].y == 0 &&
                                      monitors[i].width == GetSystemMetrics(SM_CXSCREEN) &&
                                      monitors[i].height == GetSystemMetrics(SM_CYSCREEN));
    }
    EXPECT_TRUE(has_primary);
    EXPECT_EQ(os_monitors(monitors, 1), 1u);
    EXPECT_EQ(os_monitors(nullptr, 0), 0u);
}

LRESULT CALLBACK paint_two_colours(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message != WM_PAINT) {
        return DefWindowProcA(window, message, first, second);
    }
    PAINTSTRUCT paint;
    HDC context = BeginPaint(window, &paint);
    RECT area;
    GetClientRect(window, &area);
    HBRUSH brush = CreateSolidBrush(RGB(200, 100, 50));
    FillRect(context, &area, brush);
    DeleteObject(brush);
    SetPixel(context, 3, 2, RGB(1, 2, 3));
    EndPaint(window, &paint);
    return 0;
}

TEST(Desktop, AWindowsClientAreaIsCopiedToTheClipboardAsABitmap) {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = paint_two_colours;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "tarnwick_console_test";
    RegisterClassA(&window_class);
    HWND window = CreateWindowExA(WS_EX_TOPMOST, "tarnwick_console_test", "", WS_POPUP | WS_VISIBLE, 40, 40,
                                  64, 48, nullptr, nullptr, window_class.hInstance, nullptr);
    if (!window) {
        GTEST_SKIP() << "no desktop that shows windows";
    }
    UpdateWindow(window);
    GdiFlush();
    ASSERT_TRUE(OpenClipboard(window));
    EmptyClipboard();
    EXPECT_NE(SetClipboardData(CF_TEXT, GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 16)), nullptr);
    CloseClipboard();
    EXPECT_EQ(os_copy_window_to_clipboard(window), 1);

    ASSERT_TRUE(OpenClipboard(window));
    EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr); // what was there before is gone
    HGDIOBJ bitmap = GetClipboardData(CF_BITMAP);
    ASSERT_NE(bitmap, nullptr);
    BITMAP info = {};
    EXPECT_NE(GetObjectA(bitmap, sizeof(info), &info), 0);
    EXPECT_EQ(info.bmWidth, 64);
    EXPECT_EQ(info.bmHeight, 48);
    HDC context = CreateCompatibleDC(nullptr);
    HGDIOBJ previous = SelectObject(context, bitmap);
    EXPECT_EQ(GetPixel(context, 10, 10), COLORREF{RGB(200, 100, 50)});
    EXPECT_EQ(GetPixel(context, 3, 2), COLORREF{RGB(1, 2, 3)});
    SelectObject(context, previous);
    DeleteDC(context);
    EmptyClipboard();
    CloseClipboard();
    DestroyWindow(window);
}

TEST(Desktop, NoWindowIsNoPicture) {
    EXPECT_EQ(os_copy_window_to_clipboard(nullptr), 0);
}

#else

TEST(Desktop, EveryOperationReportsItsFailure) {
    Point point = {-5, -6};
    EXPECT_EQ(os_mouse_position(&point), 0);
    EXPECT_EQ(point.x, -5);
    EXPECT_EQ(point.y, -6);
    EXPECT_EQ(os_send_mouse_move({1, 1}), 0);
    EXPECT_EQ(os_send_mouse_button(SENT_BUTTON_LEFT, 1), 0);
    EXPECT_EQ(os_send_mouse_wheel(1), 0);
    EXPECT_EQ(os_send_key(65, 1), 0);
    Rect monitor = {1, 2, 3, 4};
    EXPECT_EQ(os_monitors(&monitor, 1), 0u);
    EXPECT_EQ(monitor.width, 3);
    EXPECT_EQ(os_copy_window_to_clipboard(nullptr), 0);
}

#endif

} // namespace
