#include "os/toolkit/process.h"

#include <gtest/gtest.h>

#include <stdio.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "os/clock.h"
#include "support/child_process.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

using namespace std::string_literals;

// Starts a command without its output.
uint32_t run(const std::string &cmd) {
    return os_run_process(str_over(cmd), {}, no_console);
}

// A command that was run for its output.
struct Captured {
    uint32_t exit_code;
    std::vector<std::string> chunks;

    std::string text() const {
        std::string all;
        for (const std::string &chunk : chunks) {
            all += chunk;
        }
        return all;
    }
};

void keep_chunk(void *context, Str chunk) {
    static_cast<Captured *>(context)->chunks.push_back(to_string(chunk));
}

Captured capture(const std::string &cmd, bool show_console = no_console) {
    Captured captured = {};
    captured.exit_code = os_run_process(str_over(cmd), {keep_chunk, &captured}, show_console);
    return captured;
}

// What the child sees as its arguments, each in brackets.
std::string arguments_seen(const std::string &arguments) {
    return capture(probe("arguments " + arguments)).text();
}

// ---- A child to talk with ----

class Child {
public:
    explicit Child(const std::string &cmd) {
        os_init(); // a child may have exited before it is written to
        EXPECT_EQ(os_process_start(&process, str_over(cmd), no_console), 0);
    }
    ~Child() {
        if (!is_killed) {
            os_process_kill(&process);
        }
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    int64_t say(const std::string &text) {
        return os_process_write(&process, static_cast<uint32_t>(text.size()), text.data());
    }

    // Reads pieces of at most max bytes until the text ends with end.
    std::string hear_until(const std::string &end, uint32_t max = 4096) {
        std::string heard;
        std::vector<char> piece(max);
        EXPECT_TRUE(comes_true([&] {
            int64_t count = os_process_read(&process, max, piece.data());
            EXPECT_LE(count, int64_t{max});
            heard.append(piece.data(), count > 0 ? static_cast<size_t>(count) : 0);
            return heard.ends_with(end);
        })) << heard;
        return heard;
    }

    bool ends() {
        return comes_true([&] { return !os_process_is_running(&process); });
    }

    int32_t kill() {
        is_killed = true;
        return os_process_kill(&process);
    }

    Process process;

private:
    bool is_killed = false;
};

} // namespace

// ---- One command ----

TEST(ChildProcess, AProgramPathWithSpacesNeedsQuotes) {
    TestTree tree;
    fs::create_directory(tree.native("a folder"));
    fs::copy_file(fs::path(probe_path()), tree.native("a folder/probe" + exe_suffix));
    std::string path = tree.path("a folder/probe" + exe_suffix);
    EXPECT_EQ(capture("\"" + path + "\" exit 7").exit_code, 7u);
    EXPECT_EQ(capture("\"" + path + "\" arguments x").text(), "[x]");
}

TEST(ChildProcess, AnEmptyCommandIsCapturedAsOne) {
    EXPECT_EQ(run(""), 1u);
    EXPECT_EQ(os_run_process({}, {}, no_console), 1u);
    EXPECT_EQ(capture("").exit_code, 1u);
}

TEST(ChildProcess, ACommandLongerThanASystemTakesIsCapturedAsOne) {
    std::string cmd = probe("exit 0 ");
    cmd.append(8388608, 'x');
    EXPECT_EQ(run(cmd), 1u);
    EXPECT_EQ(capture(cmd).exit_code, 1u);
}

TEST(ChildProcess, ACommandEndsAtItsFirstZeroByte) {
    std::string cmd = probe("arguments one two\0 three"s);
    Captured captured = {};
    EXPECT_EQ(os_run_process(str_over(cmd), {keep_chunk, &captured}, no_console), 0u);
    EXPECT_EQ(captured.text(), "[one][two]");
}

TEST(ChildProcess, ACommandNeedsNoZeroByteAfterIt) {
    std::string cmd = probe("arguments one two");
    Captured captured = {};
    EXPECT_EQ(os_run_process({cmd.size() - 4, cmd.data()}, {keep_chunk, &captured}, no_console), 0u);
    EXPECT_EQ(captured.text(), "[one]");
}

// ---- With the output ----

TEST(ChildProcess, ACapturedCommandGivesItsExitCode) {
    for (uint32_t code : {0u, 1u, 42u, 255u}) {
        Captured captured = capture(probe("exit " + std::to_string(code)));
        EXPECT_EQ(captured.exit_code, code);
        EXPECT_TRUE(captured.chunks.empty());
    }
}

TEST(ChildProcess, AnExitCodeHasTheBitsThatTheSystemKeeps) {
#ifdef _WIN32
    EXPECT_EQ(capture(probe("exit 259")).exit_code, 259u);
    EXPECT_EQ(capture(probe("exit 4000000000")).exit_code, 4000000000u);
#else
    EXPECT_EQ(capture(probe("exit 259")).exit_code, 3u);
    EXPECT_EQ(capture("/bin/sh -c \"kill -9 $$\"").exit_code, 137u);
#endif
}

TEST(ChildProcess, LongOutputComesInOrderInChunksOfAtMost4096Bytes) {
    for (size_t size : {size_t{1}, size_t{4095}, size_t{4096}, size_t{4097}, size_t{300001}}) {
        Captured captured = capture(probe("letters " + std::to_string(size) + " 5"));
        EXPECT_EQ(captured.exit_code, 5u);
        std::string expected;
        for (size_t i = 0; i < size; i++) {
            expected += static_cast<char>('a' + i % 26);
        }
        EXPECT_EQ(captured.text(), expected) << size;
        EXPECT_GE(captured.chunks.size(), (size + 4095) / 4096);
        for (const std::string &chunk : captured.chunks) {
            EXPECT_GE(chunk.size(), 1u);
            EXPECT_LE(chunk.size(), 4096u);
        }
    }
}

#ifdef __linux__ // where a pipe holds all of it
TEST(ChildProcess, OutputThatWaitsComesInChunksOf4096Bytes) {
    struct Context {
        TestTree tree;
        std::vector<uint64_t> sizes;
    } context;
    const auto note_size = [](void *pointer, Str chunk) {
        Context *noted = static_cast<Context *>(pointer);
        noted->sizes.push_back(chunk.count);
        if (noted->sizes.size() == 1) { // the rest is written before any of it is read
            noted->tree.file("go", "");
            EXPECT_TRUE(appears(noted->tree.native("written")));
        }
    };
    std::string cmd = probe("letters_after \"" + context.tree.path("go") + "\" 10000 \"" +
                            context.tree.path("written") + "\"");
    EXPECT_EQ(os_run_process(str_over(cmd), {note_size, &context}, no_console), 0u);
    EXPECT_EQ(context.sizes, (std::vector<uint64_t>{1, 4096, 4096, 1808}));
}
#endif

TEST(ChildProcess, ErrorsAreCapturedWithTheOutput) {
    EXPECT_EQ(capture(probe("both")).text(), "out 0\nerr 0\nout 1\nerr 1\nout 2\nerr 2\n");
}

TEST(ChildProcess, AMissingProgramIsCapturedAsOneWithoutOutput) {
    Captured captured = capture("no_program_has_this_name");
    EXPECT_EQ(captured.exit_code, 1u);
    EXPECT_TRUE(captured.chunks.empty());
}

TEST(ChildProcess, ACapturedCommandMayShowAConsole) {
    Captured captured = capture(probe("letters 3 4"), 1);
    EXPECT_EQ(captured.exit_code, 4u);
    EXPECT_EQ(captured.text(), "abc");
}

TEST(ChildProcess, ACaptureWithinACaptureIsACommandOfItsOwn) {
    struct Outer {
        std::string text;
        std::string inner;
    } outer;
    std::string cmd = probe("letters 3 6");
    ProcessOutput on_output = {[](void *context, Str chunk) {
                                   Outer *kept = static_cast<Outer *>(context);
                                   kept->text += to_string(chunk);
                                   kept->inner += capture(probe("letters 2 0")).text();
                               },
                               &outer};
    EXPECT_EQ(os_run_process(str_over(cmd), on_output, no_console), 6u);
    EXPECT_EQ(outer.text, "abc");
    EXPECT_TRUE(outer.inner.starts_with("ab"));
}

TEST(ChildProcess, AChildHasThisProcesssFolderAndEnvironment) {
#ifdef _WIN32
    ASSERT_TRUE(SetEnvironmentVariableW(L"TARNWICK_TEST", L"handed on"));
    std::string text = capture("cmd /c cd&& set TARNWICK_TEST").text();
    std::erase(text, '\r');
    SetEnvironmentVariableW(L"TARNWICK_TEST", nullptr);
    EXPECT_EQ(text, fs::current_path().string() + "\nTARNWICK_TEST=handed on\n");
#else
    setenv("TARNWICK_TEST", "handed on", 1);
    std::string text = capture("sh -c \"pwd; echo $TARNWICK_TEST\"").text();
    unsetenv("TARNWICK_TEST");
    EXPECT_EQ(text, fs::current_path().string() + "\nhanded on\n");
#endif
}

// ---- Arguments ----

TEST(ChildProcess, ArgumentsAreSplitAtSpacesAndTabsOutsideQuotes) {
    EXPECT_EQ(arguments_seen("a b"), "[a][b]");
    EXPECT_EQ(arguments_seen("  a \t b  "), "[a][b]");
    EXPECT_EQ(arguments_seen("\"a b\" c"), "[a b][c]");
    EXPECT_EQ(arguments_seen("a\"b c\"d e"), "[ab cd][e]");
    EXPECT_EQ(arguments_seen("\"\" a \"\""), "[][a][]");
    EXPECT_EQ(arguments_seen("\"never closed "), "[never closed ]");
    EXPECT_EQ(arguments_seen(""), "");
}

TEST(ChildProcess, BackslashesMeanSomethingOnlyBeforeAQuote) {
    EXPECT_EQ(arguments_seen("C:\\a\\b \\\\server\\x"), "[C:\\a\\b][\\\\server\\x]");
    EXPECT_EQ(arguments_seen("a\\\"b"), "[a\"b]");
    EXPECT_EQ(arguments_seen("\"a b\\\\\" c"), "[a b\\][c]");
    EXPECT_EQ(arguments_seen("\"a\\\" b\" c"), "[a\" b][c]");
    EXPECT_EQ(arguments_seen("a\\\\\\\"b"), "[a\\\"b]");
    EXPECT_EQ(arguments_seen("end\\"), "[end\\]");
}

TEST(ChildProcess, NothingInAnArgumentIsExpanded) {
    EXPECT_EQ(arguments_seen("'a $HOME ~ %PATH% {x} `b` ; #c"), "['a][$HOME][~][%PATH%][{x}][`b`][;][#c]");
}

TEST(ChildProcess, TheCommandOfTheFileManagerArrivesWithItsQuotesTakenOff) {
    EXPECT_EQ(arguments_seen("/select,\"C:\\my data\\src\\a.c\""), "[/select,C:\\my data\\src\\a.c]");
}

TEST(ChildProcess, TextThatIsNotAsciiArrives) {
    EXPECT_EQ(arguments_seen("\"Grüße/你 好\" naïve 😀"), "[Grüße/你 好][naïve][😀]");
}

TEST(ChildProcess, AProgramsPathNeedNotBeAscii) {
    TestTree tree;
    fs::create_directory(tree.native("Grüße 你好"));
    fs::copy_file(fs::path(probe_path()), tree.native("Grüße 你好/probe" + exe_suffix));
    EXPECT_EQ(capture("\"" + tree.path("Grüße 你好/probe" + exe_suffix) + "\" exit 9").exit_code, 9u);
}

TEST(ChildProcess, ArgumentsOfManyThousandBytesArrive) {
    std::string words;
    std::string expected;
    for (int i = 0; i < 4000; i++) {
        words += std::to_string(i) + " ";
        expected += "[" + std::to_string(i) + "]";
    }
    EXPECT_EQ(arguments_seen(words), expected);
}

// ---- What stays open, and failures on the way ----

namespace {

// Handles, or files, that this process holds open.
int64_t open_handles() {
#ifdef _WIN32
    // Counted one by one, as not every system reports their number.
    int64_t count = 0;
    for (uintptr_t value = 4; value < 16384; value += 4) {
        DWORD flags;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0;
    }
    return count;
#else
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
#endif
}

int64_t handles_left_by(const std::function<void()> &act) {
    act(); // the first call may open files that the system keeps open
    int64_t before = open_handles();
    act();
    return open_handles() - before;
}

} // namespace

TEST(ChildProcess, ACommandWithoutOutputIntentionallyLeavesItsHandlesOpen) {
    TestTree tree;
    std::string cmd = probe("record" + quoted(tree.path("seen")));
#ifdef _WIN32
    EXPECT_EQ(handles_left_by([&] { run(cmd); }), 2);
#else
    EXPECT_EQ(handles_left_by([&] { run(cmd); }), 0);
#endif
}

TEST(ChildProcess, ACapturedCommandIntentionallyLeavesItsOwnEndsOfThePipesOpen) {
    EXPECT_EQ(handles_left_by([] { EXPECT_EQ(capture(probe("letters 5 6")).exit_code, 6u); }), 2);
}

TEST(ChildProcess, AFailedStartIntentionallyLeavesBothPipesOpen) {
    EXPECT_EQ(handles_left_by([] { EXPECT_EQ(capture("no_program_has_this_name").exit_code, 1u); }), 4);
}

TEST(ChildProcess, AKilledChildIntentionallyLeavesThisSidesEndsOfThePipesOpen) {
    EXPECT_EQ(handles_left_by([] {
                  Child child(probe("hold"));
                  child.hear_until("\n");
                  EXPECT_NE(child.kill(), 0);
              }),
              2);
}

TEST(ChildProcess, AnExitCodeThatCannotBeReadIsReportedAs2886) {
    testing::internal::CaptureStdout();
#ifdef _WIN32
    // The callback closes the child's handles, which the call still needs.
    ProcessOutput on_output = {[](void *, Str) {
                                   for (uintptr_t value = 4; value < 16384; value += 4) {
                                       HANDLE handle = reinterpret_cast<HANDLE>(value);
                                       DWORD id = GetProcessId(handle);
                                       if (id != 0 && id != GetCurrentProcessId()) {
                                           CloseHandle(handle);
                                       }
                                   }
                               },
                               nullptr};
    std::string cmd = probe("letters 3 0");
    uint32_t code = os_run_process(str_over(cmd), on_output, no_console);
#else
    // The system reaps children whose signal is ignored.
    auto before = signal(SIGCHLD, SIG_IGN);
    uint32_t code = capture(probe("letters 3 0")).exit_code;
    signal(SIGCHLD, before);
#endif
    fflush(stdout);
    std::string written = testing::internal::GetCapturedStdout();
    std::erase(written, '\r'); // the standard library's line end
    EXPECT_EQ(written, "2886\n");
    EXPECT_EQ(code, 1u);
}

TEST(ChildProcess, WithoutMemoryACommandGivesOneOrNeedsNone) {
    HeapHookScope failing([](uint64_t) { return false; });
    std::string cmd = "\"" + probe_path() + "\" exit 8";
    Captured captured = {};
    uint32_t code = os_run_process(str_over(cmd), {keep_chunk, &captured}, no_console);
#ifdef _WIN32
    EXPECT_EQ(code, 8u); // it is converted on the stack
#else
    EXPECT_EQ(code, 1u);
#endif
}

#ifdef _WIN32
// From a program without a console, as ours is; one that has a console hands its own on.
TEST(ChildProcess, AConsoleProgramGetsAConsoleWindowOnlyWhenItIsToBeShown) {
    std::string parent = "\"" + probe_path("child_probe_gui") + "\" start ";
    EXPECT_EQ(capture(parent + "0 " + probe("console_window")).text(), "no window\n");
    HWND window =
        CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 8, 8, nullptr, nullptr, nullptr, nullptr);
    if (!window) {
        GTEST_SKIP() << "no desktop that shows windows";
    }
    DestroyWindow(window);
    EXPECT_EQ(capture(parent + "1 " + probe("await_console_window")).text(), "window\n");
}

TEST(ChildProcess, AChildGetsInheritableHandlesOnlyWithItsOutput) {
    TestTree tree;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    HANDLE event = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
    std::string cmd = probe("set_event " + std::to_string(reinterpret_cast<uintptr_t>(event)));
    run(cmd + quoted(tree.path("without")));
    ASSERT_TRUE(appears(tree.native("without")));
    EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(capture(cmd + quoted(tree.path("with"))).exit_code, 0u);
    EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    CloseHandle(event);
}
#else
TEST(ChildProcess, ACommandIsLookedUpAlongThePath) {
    EXPECT_EQ(capture("sh -c \"echo found\"").text(), "found\n");
}

TEST(ChildProcess, AChildGetsNoOtherFiles) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0); // inheritable
    EXPECT_EQ(capture("sh -c \"ls /proc/$$/fd; true\"").text(), "0\n1\n2\n");
    close(ends[0]);
    close(ends[1]);
}
#endif

// ---- A child to talk with ----

TEST(ChildProcess, AChildAnswersWhatItIsTold) {
    Child child(probe("talk"));
    char buffer[16];
    EXPECT_EQ(os_process_read(&child.process, sizeof(buffer), buffer), 0); // nothing is waiting
    EXPECT_EQ(child.say("hello\n"), 6);
    EXPECT_EQ(child.hear_until("]\n"), "[hello]\n");
    EXPECT_EQ(child.say("Grüße 你好\n"), 15);
    EXPECT_EQ(child.hear_until("]\n"), "[Grüße 你好]\n");
    EXPECT_TRUE(os_process_is_running(&child.process));
}

TEST(ChildProcess, AnAnswerIsReadInPiecesOfAnySize) {
    Child child(probe("talk"));
    child.say("a longer line than is read at once\n");
    EXPECT_EQ(child.hear_until("]\n", 3), "[a longer line than is read at once]\n");
    child.say("one\n");
    EXPECT_EQ(child.hear_until("]\n", 1), "[one]\n");
}

TEST(ChildProcess, ALineLargerThanAPipesPieceArrives) {
    Child child(probe("talk"));
    std::string line(20000, 'x');
    EXPECT_EQ(child.say(line + "\n"), 20001);
    EXPECT_EQ(child.hear_until("]\n"), "[" + line + "]\n");
}

TEST(ChildProcess, WritingNothingWritesNothing) {
    Child child(probe("talk"));
    EXPECT_EQ(child.say(""), 0);
}

TEST(ChildProcess, AChildThatEndsIsSeenToEnd) {
    Child child(probe("talk"));
    EXPECT_TRUE(os_process_is_running(&child.process));
    child.say("last\nquit 3\n");
    EXPECT_TRUE(child.ends());
    EXPECT_EQ(child.hear_until("]\n"), "[last]\n");
    char buffer[16];
    EXPECT_EQ(os_process_read(&child.process, sizeof(buffer), buffer), 0); // this side could still write
    EXPECT_NE(child.kill(), 0);
    EXPECT_TRUE(comes_true([&] { return os_process_read(&child.process, sizeof(buffer), buffer) == -1; }));
}

TEST(ChildProcess, AKilledChildEnds) {
    Child child(probe("hold"));
    EXPECT_EQ(child.hear_until("\n"), "holding\n");
    EXPECT_TRUE(os_process_is_running(&child.process));
#ifdef _WIN32
    DWORD id = reinterpret_cast<PROCESS_INFORMATION *>(child.process.process_info)->dwProcessId;
    HANDLE watched = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, id);
    EXPECT_NE(child.kill(), 0);
    EXPECT_EQ(WaitForSingleObject(watched, 60000), DWORD{WAIT_OBJECT_0});
    DWORD exit_code = 1;
    EXPECT_TRUE(GetExitCodeProcess(watched, &exit_code));
    EXPECT_EQ(exit_code, 0u);
    CloseHandle(watched);
#else
    EXPECT_NE(child.kill(), 0);
    // It was reaped.
    EXPECT_EQ(waitpid(static_cast<pid_t>(child.process.process_info[0]), nullptr, WNOHANG), -1);
#endif
    // Only a child that is gone has closed its output.
    char buffer[16];
    EXPECT_TRUE(comes_true([&] { return os_process_read(&child.process, sizeof(buffer), buffer) == -1; }));
    EXPECT_TRUE(comes_true([&] { return child.say("to nobody") == -1; }));
}

TEST(ChildProcess, WhatAKilledChildHadWrittenCanStillBeRead) {
    Child child(probe("letters 30 0"));
    EXPECT_TRUE(child.ends());
    child.kill();
    EXPECT_EQ(child.hear_until("cd"), "abcdefghijklmnopqrstuvwxyzabcd");
}

TEST(ChildProcess, AChildWhoseProgramDoesNotExistIsNotStarted) {
    Process process;
    EXPECT_EQ(os_process_start(&process, str_from("no_program_has_this_name"), no_console), 1);
    EXPECT_EQ(os_process_start(&process, {}, no_console), 1);
}

TEST(ChildProcess, ManyChildrenTalkAtOnce) {
    Child first(probe("talk"));
    Child second(probe("talk"));
    first.say("one\n");
    second.say("two\n");
    EXPECT_EQ(second.hear_until("]\n"), "[two]\n");
    EXPECT_EQ(first.hear_until("]\n"), "[one]\n");
    first.kill();
    second.say("three\n");
    EXPECT_EQ(second.hear_until("]\n"), "[three]\n");
}

TEST(ChildProcess, AConsoleProgramNeverWaitsForWindowInput) {
    Child child(probe("hold"));
    child.hear_until("\n");
    EXPECT_FALSE(os_process_wait_idle(&child.process));
}

#ifdef _WIN32
TEST(ChildProcess, AProgramWithMessagesIsWaitedFor) {
    Child child("\"" + probe_path("child_probe_gui") + "\" messages");
    EXPECT_TRUE(os_process_wait_idle(&child.process));
    EXPECT_TRUE(os_process_is_running(&child.process));
}

TEST(ChildProcess, TheRecordHoldsWhatTheChildWasStartedWith) {
    Child child(probe("talk"));
    EXPECT_EQ(child.process.creation_flags, 0x08000020u);
    SECURITY_ATTRIBUTES *security = reinterpret_cast<SECURITY_ATTRIBUTES *>(child.process.pipe_security);
    EXPECT_EQ(security->nLength, 24u);
    EXPECT_EQ(security->lpSecurityDescriptor, nullptr);
    EXPECT_TRUE(security->bInheritHandle);
    STARTUPINFOW *start = reinterpret_cast<STARTUPINFOW *>(child.process.start_info);
    EXPECT_EQ(start->cb, 104u);
    EXPECT_EQ(start->dwFlags, 0x100u);
    EXPECT_EQ(start->hStdInput, child.process.child_input);
    EXPECT_EQ(start->hStdOutput, child.process.child_output);
    EXPECT_EQ(start->hStdError, child.process.child_output);
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(child.process.input, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
    EXPECT_TRUE(GetHandleInformation(child.process.output, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);

    Process shown;
    std::string cmd = probe("exit 0");
    ASSERT_EQ(os_process_start(&shown, str_over(cmd), 1), 0);
    EXPECT_EQ(shown.creation_flags, 0x20u);
    os_process_kill(&shown);
}
#endif
