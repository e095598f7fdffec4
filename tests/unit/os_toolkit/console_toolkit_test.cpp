#include "os/toolkit/console.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "os/clock.h"
#include "os/console.h"
#include "support/test_tree.h"
#include "support/written_pieces.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

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
            FreeConsole(); // one without a window
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
        // FreeConsole closes the handles that AllocConsole opened, or others that have taken their numbers.
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
    EXPECT_TRUE(os_console_move_cursor(3, -2));
    EXPECT_EQ(now().dwCursorPosition.X, 8);
    EXPECT_EQ(now().dwCursorPosition.Y, 3);
    EXPECT_TRUE(os_console_move_cursor(-100, 1));
    EXPECT_EQ(now().dwCursorPosition.X, 0);
    EXPECT_EQ(now().dwCursorPosition.Y, 4);
    EXPECT_FALSE(os_console_move_cursor(0, -100)); // rows are not clamped, so the console refuses
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
    EXPECT_TRUE(os_console_window_move(start.x + 30, start.y + 40));
    Rect moved = os_console_window_rect();
    EXPECT_EQ(moved.x, start.x + 30);
    EXPECT_EQ(moved.y, start.y + 40);
    EXPECT_EQ(moved.width, start.width);
    EXPECT_EQ(moved.height, start.height);

    // A console may show whole rows only, so the height may differ from the one requested. Under Wine a
    // console that has just been moved may keep the old one, so ask again.
    Rect lower = moved;
    for (int tries = 0; tries < 500 && lower.height >= start.height; tries++) {
        EXPECT_TRUE(os_console_window_set_height(start.height - 60));
        os_sleep_ms(10);
        lower = os_console_window_rect();
    }
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

    // What has been written to the terminal since the last call; it may take a while to arrive.
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
    EXPECT_TRUE(os_console_move_cursor(3, -2));
    EXPECT_EQ(shown(), "\x1b[3C\x1b[2A");
    EXPECT_TRUE(os_console_move_cursor(-100, 1));
    EXPECT_EQ(shown(), "\x1b[100D\x1b[1B");
    EXPECT_TRUE(os_console_move_cursor(0, 0));
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
    EXPECT_FALSE(os_console_move_cursor(1, 1));
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

TEST(NoConsole, WithoutStandardOutputNothingHappens) {
    fflush(stdout);
#ifdef _WIN32
    HANDLE kept = GetStdHandle(STD_OUTPUT_HANDLE);
    for (HANDLE missing : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE}) {
        SetStdHandle(STD_OUTPUT_HANDLE, missing);
        os_console_red();
        EXPECT_FALSE(os_console_move_cursor(1, 1));
        EXPECT_EQ(os_console_height(), 0);
    }
    SetStdHandle(STD_OUTPUT_HANDLE, kept);
#else
    int kept = dup(STDOUT_FILENO);
    close(STDOUT_FILENO);
    os_console_red();
    EXPECT_FALSE(os_console_move_cursor(1, 1));
    EXPECT_EQ(os_console_height(), 0);
    dup2(kept, STDOUT_FILENO);
    close(kept);
#endif
}

TEST(NoConsole, WithoutAWindowOfItsOwnThereIsNothingToMove) {
#ifdef _WIN32
    if (GetConsoleWindow()) {
        GTEST_SKIP() << "started from a console";
    }
#endif
    EXPECT_FALSE(os_console_window_move(10, 10));
    EXPECT_FALSE(os_console_window_set_height(100));
    Rect rect = os_console_window_rect();
    EXPECT_EQ(rect.x, 0);
    EXPECT_EQ(rect.y, 0);
    EXPECT_EQ(rect.width, 0);
    EXPECT_EQ(rect.height, 0);
    os_console_window_flash();
}

// ---- Lines ----

TEST(Lines, ReadLineReturnsLinesWithoutTheirLineFeed) {
    std::string path = testing::TempDir() + "tarnwick_read_line.txt";
    std::ofstream(path, std::ios::binary) << "one\n two \n\n0123456789abcdef\nlast";
    ASSERT_NE(std::freopen(path.c_str(), "r", stdin), nullptr);
    char line[12];
    std::vector<std::string> lines;
    for (Str text = os_read_line(line, sizeof(line)); text.data; text = os_read_line(line, sizeof(line))) {
        EXPECT_EQ(text.data, line);
        EXPECT_EQ(line[text.count], 0);
        lines.push_back(to_string(text));
    }
    // A line longer than the buffer arrives in pieces.
    EXPECT_EQ(lines, (std::vector<std::string>{"one", " two ", "", "0123456789a", "bcdef", "last"}));
    EXPECT_EQ(os_read_line(line, sizeof(line)).count, 0u);
#ifdef _WIN32
    std::freopen("NUL", "r", stdin);
#else
    EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
#endif
    std::filesystem::remove(path);
}

} // namespace
