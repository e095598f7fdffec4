#include "os/process.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "os/errors.h"
#include "support/child_process.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <errno.h>
#include <stdlib.h>
#include <sys/wait.h>
#endif

namespace fs = std::filesystem;

namespace {

uint32_t run(const std::string &cmd) {
    return os_run_process(str_over(cmd), no_console);
}

} // namespace

// ---- One command ----

TEST(Process, ACommandThatRunsOnIsLeftRunning) {
    TestTree tree;
    uint32_t code = run(probe("wait" + quoted(tree.path("go")) + quoted(tree.path("done"))));
    EXPECT_EQ(code, exit_code_still_running);
    EXPECT_FALSE(fs::exists(tree.native("done")));
    tree.file("go", "");
    EXPECT_TRUE(appears(tree.native("done")));
}

TEST(Process, ACommandMayShowAConsole) {
    TestTree tree;
    std::string cmd = probe("wait" + quoted(tree.path("go")) + quoted(tree.path("done")));
    EXPECT_EQ(os_run_process(str_over(cmd), true), exit_code_still_running);
    tree.file("go", "");
    EXPECT_TRUE(appears(tree.native("done")));
}

TEST(Process, ACommandGetsItsArguments) {
    TestTree tree;
    run(probe("record" + quoted(tree.path("seen")) + " plain \"two words\" \"C:/a b/c.cpp\":12:5"));
    ASSERT_TRUE(appears(tree.native("seen")));
    EXPECT_EQ(bytes_of(tree.native("seen")), "[plain][two words][C:/a b/c.cpp:12:5]");
}

TEST(Process, AProgramThatDoesNotExistGivesOne) {
    TestTree tree;
    EXPECT_EQ(run("\"" + tree.path("missing.exe") + "\" argument"), 1u);
    EXPECT_EQ(run("no_program_has_this_name"), 1u);
    EXPECT_EQ(run("\"" + tree.path() + "\""), 1u); // a folder
}

TEST(Process, AnEmptyCommandGivesOne) {
    EXPECT_EQ(run(""), 1u);
    EXPECT_EQ(os_run_process({}, no_console), 1u);
}

TEST(Process, ACommandLongerThanASystemTakesGivesOne) {
    std::string cmd = probe("exit 0 ");
    cmd.append(8388608, 'x');
    EXPECT_EQ(run(cmd), 1u);
}

namespace {

// Why a command cannot be started, in the system's words.
std::string start_error(const std::string &cmd) {
    EXPECT_EQ(run(cmd), 1u);
    EXPECT_NE(os_start_error, 0u);
    char text[512];
    return to_string(os_error_text(os_start_error, text));
}

} // namespace

TEST(Process, ACommandThatCannotBeStartedLeavesTheSystemsReason) {
    TestTree tree;
    std::string missing = start_error("\"" + tree.path("missing.exe") + "\" argument");
    std::string folder = start_error("\"" + tree.path() + "\"");
    std::string too_long = start_error(probe("exit 0 ") + std::string(8388608, 'x'));
#ifdef _WIN32 // in the user's language
    for (const std::string &reason : {missing, folder, too_long, start_error("")}) {
        EXPECT_FALSE(reason.empty());
        EXPECT_EQ(reason.find_first_of("\r\n"), std::string::npos);
        EXPECT_FALSE(reason.ends_with('.') || reason.ends_with(' ')) << reason;
    }
#else
    EXPECT_EQ(missing, "No such file or directory");
    EXPECT_EQ(folder, "Permission denied");
    EXPECT_EQ(too_long, "Argument list too long");
    EXPECT_EQ(start_error("no_program_has_this_name"), "No such file or directory");
    EXPECT_EQ(start_error(""), "No such file or directory");
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_EQ(start_error("sh"), "Cannot allocate memory");
#endif
}

TEST(Process, ACommandThatStartsLeavesNoReason) {
    os_start_error = 5;
    run(probe("exit 1")); // may have ended before its exit code is read
    EXPECT_EQ(os_start_error, 0u);
}

TEST(Process, ACodeWithoutAMessageFits) {
    char text[512];
    Str message = os_error_text(UINT32_MAX - 7, text);
    EXPECT_TRUE(message.count == 0 || message.data == text);
    EXPECT_LT(message.count, sizeof(text));
}

#ifndef _WIN32
TEST(Process, AHiddenChildHasNoTerminalAndNothingToReadOrWrite) {
    TestTree tree;
    std::string script = tree.path("files.sh");
    tree.file("files.sh", "files=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2 | sort -u)\n"
                          "session=$(cut -d' ' -f6 /proc/$$/stat)\n"
                          "printf '%s\\n' \"$files\" \"$session\" $$ > \"$1.part\"\n"
                          "mv \"$1.part\" \"$1\"\n");
    run("sh \"" + script + "\" \"" + tree.path("seen") + "\"");
    ASSERT_TRUE(appears(tree.native("seen")));
    std::ifstream seen(tree.native("seen"));
    std::string files, session, id;
    std::getline(seen, files);
    std::getline(seen, session);
    std::getline(seen, id);
    EXPECT_EQ(files, "/dev/null");
    EXPECT_EQ(session, id) << "not in a session of its own";
}

namespace {

// Whether this process has a child, running or exited.
bool has_child() {
    siginfo_t info;
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

} // namespace

TEST(Process, ACommandLeavesNoZombie) {
    TestTree tree;
    run(probe("wait" + quoted(tree.path("go")) + quoted(tree.path("done"))));
    EXPECT_FALSE(has_child()) << "while the command runs";
    tree.file("go", "");
    ASSERT_TRUE(appears(tree.native("done")));
    run("no_program_has_this_name");
    EXPECT_FALSE(has_child()) << "after a failed start";
}
#endif

// ---- Desktop ----

#ifdef _WIN32
namespace {

// Asks the visible windows of this process to close.
void close_boxes() {
    EnumWindows(
        [](HWND window, LPARAM) -> BOOL {
            DWORD id = 0;
            GetWindowThreadProcessId(window, &id);
            if (id == GetCurrentProcessId() && IsWindowVisible(window)) {
                PostMessageW(window, WM_CLOSE, 0, 0);
            }
            return TRUE;
        },
        0);
}

} // namespace

// With a screen, the system shows its own box and waits until the user closes it.
TEST(Process, OpeningAPathThatIsNotThereFails) {
    TestTree tree;
    std::string path = tree.path("missing.txt");
    std::atomic<int32_t> result = -1;
    std::thread opener([&] { result = os_shell_open(str_over(path)); });
    EXPECT_TRUE(comes_true([&] {
        close_boxes();
        return result != -1;
    }));
    opener.join();
    EXPECT_EQ(result, 1);
}
#else
TEST(Process, OpeningAPathThatIsNotThereFails) {
    TestTree tree;
    EXPECT_EQ(os_shell_open(str_over(tree.path("missing.txt"))), 1);
}
#endif

TEST(Process, OpeningAPathLongerThanASystemTakesFails) {
    EXPECT_EQ(os_shell_open(str_over(std::string(8388609, 'x'))), 1);
}

#ifdef _WIN32
TEST(Process, OpeningAProgramStartsIt) {
    TestTree tree;
    fs::create_directory(tree.native("Grüße 你好"));
    fs::copy_file(fs::path(probe_path()), tree.native("Grüße 你好/probe.exe"));
    std::string path = tree.path("Grüße 你好/probe.exe");
    EXPECT_EQ(os_shell_open(str_over(path)), 0);
    ASSERT_TRUE(appears(tree.native("Grüße 你好/opened.txt")));
    EXPECT_EQ(bytes_of(tree.native("Grüße 你好/opened.txt")), std::to_string(SW_SHOWDEFAULT));
}
#else
namespace {

// Programs are searched for in this folder only.
class OnlyPath {
public:
    explicit OnlyPath(const std::string &folder) : before(getenv("PATH")) {
        setenv("PATH", folder.c_str(), 1);
    }
    ~OnlyPath() {
        setenv("PATH", before.c_str(), 1);
    }
    OnlyPath(const OnlyPath &) = delete;
    OnlyPath &operator=(const OnlyPath &) = delete;

private:
    std::string before;
};

} // namespace

TEST(Process, OpeningAPathHandsItToTheDesktopsProgram) {
    TestTree tree;
    tree.folder("programs");
    tree.folder("a folder 你好");
    tree.file("programs/xdg-open", "#!/bin/sh\nprintf %s \"[$1][$#]\" > \"$1/seen.part\"\n"
                                   "/bin/mv \"$1/seen.part\" \"$1/seen\"\n");
    fs::permissions(tree.native("programs/xdg-open"), fs::perms::owner_all);
    OnlyPath path(tree.path("programs"));
    std::string opened = tree.path("a folder 你好");
    EXPECT_EQ(os_shell_open(str_over(opened)), 0);
    ASSERT_TRUE(appears(tree.native("a folder 你好/seen")));
    EXPECT_EQ(bytes_of(tree.native("a folder 你好/seen")), "[" + opened + "][1]");
    EXPECT_FALSE(has_child());
}

TEST(Process, OpeningAPathWithoutTheDesktopsProgramFails) {
    TestTree tree;
    OnlyPath path(tree.path());
    EXPECT_EQ(os_shell_open(str_over(tree.path())), 1);
}
#endif
