// What is on disk after each replacement of a file, and after one that failed or was cut off by a kill.
#include "os/replace_file.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "os/files.h"
#include "support/replace_file_calls.h"
#include "support/system_files.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

using Bytes = std::optional<std::string>; // a file's; none when it is missing

const std::string first_name = "list.txt";
const std::string second_name = "list.new";
const std::string earlier_name = "list.txt.new";

// A replaced file in a folder of its own.
class Files : public TestTree {
public:
    Files()
        : first_path(path(first_name)), second_path(path(second_name)),
          earlier_path(path(earlier_name)), replaced{str_over(first_path), str_over(second_path),
                                                     str_over(earlier_path)} {}

    // A file's bytes, or what there is in its place.
    std::string at(const std::string &name) const {
        return fs::is_directory(native(name)) ? "folder" : read(name).value_or("none");
    }

    // What a start reads: the content, or "(unread)".
    std::string started() {
        Str content;
        is_unread = !read_replaced_file(&replaced, &content);
        std::string text = is_unread ? "(unread)" : to_string(content);
        EXPECT_TRUE(!is_unread || !content.data);
        os_file_free(&content);
        return text;
    }

    std::string started_with(const Bytes &first, const Bytes &second) {
        put(first_name, first);
        put(second_name, second);
        return started();
    }

    // Replaces the content as a program does: one that was not read is read first.
    void change(const std::string &content) {
        if (is_unread) {
            started();
        }
        if (!is_unread) {
            std::string block(replaced_length_size, 0);
            block += content;
            replace_file(&replaced, str_over(block));
        }
    }

    std::string first_path, second_path, earlier_path;
    ReplacedFile replaced;
    bool is_unread = false;
};

// What a second file holds for a content.
std::string second_of(const std::string &content) {
    uint64_t length = content.size();
    std::string bytes(8, 0);
    memcpy(bytes.data(), &length, 8);
    return bytes + content;
}

} // namespace

// ---- A program that is killed while it writes ----

namespace {

// Each state of the two files while old_content is replaced, in the order in which they occur.
struct OnDisk {
    Bytes first;
    Bytes second;
};

std::vector<OnDisk> moments_of_a_write(const Bytes &old_content, const std::string &new_content) {
    const std::string second = second_of(new_content);
    std::vector<OnDisk> moments = {{old_content, std::nullopt}};
    for (size_t written = 0; written <= second.size(); written++) {
        moments.push_back({old_content, second.substr(0, written)});
    }
    moments.push_back({std::nullopt, second});
    for (size_t written = 0; written <= new_content.size(); written++) {
        moments.push_back({new_content.substr(0, written), second});
    }
    moments.push_back({new_content, std::nullopt});
    return moments;
}

const std::vector<std::pair<std::string, std::string>> replacements = {
    {"ac", "abc"},   // something inserted
    {"abc", "ac"},   // and removed
    {"ab", "abcd"},  // the old content begins the new one
    {"abcd", "ab"},  // and the other way round
    {"", "a"},       //
    {"a", ""},       //
    {"same", "same"} //
};

} // namespace

TEST(KilledWrite, TheSecondFileHoldsTheLengthAndTheNewContentUntilTheFirstIsWhole) {
    Files files;
    ReplaceFileCalls calls;
    calls.failing_write = 2;
    files.change("foo");
    EXPECT_EQ(files.read(second_name), std::string("\3\0\0\0\0\0\0\0foo", 11));
}

TEST(KilledWrite, AtEveryMomentTheNextStartFindsTheOldListOrTheNewOne) {
    Files files;
    for (const auto &[old_content, new_content] : replacements) {
        bool is_new = false;
        for (const OnDisk &moment : moments_of_a_write(old_content, new_content)) {
            SCOPED_TRACE(testing::PrintToString(old_content + " > " + new_content + ": " +
                                                moment.first.value_or("none") + " and " +
                                                moment.second.value_or("none")));
            std::string found = files.started_with(moment.first, moment.second);
            EXPECT_TRUE(found == old_content || found == new_content) << found;
            EXPECT_TRUE(found == new_content || !is_new) << "the new content came and went";
            is_new = is_new || (found == new_content && new_content != old_content);
            // Nothing is left of the write that was cut off, and the file has the content that was found.
            EXPECT_EQ(files.read(second_name), std::nullopt);
            EXPECT_EQ(files.read(first_name).value_or(""), found);
            EXPECT_EQ(files.started(), found);
        }
    }
}

TEST(KilledWrite, TheFirstWriteOfAllLeavesNothingOrTheNewList) {
    Files files;
    for (const OnDisk &moment : moments_of_a_write(std::nullopt, "new")) {
        std::string found = files.started_with(moment.first, moment.second);
        EXPECT_TRUE(found.empty() || found == "new") << found;
        EXPECT_EQ(files.read(second_name), std::nullopt);
    }
}

TEST(KilledWrite, AWriteWithoutAStartInBetweenFinishesItFirst) {
    Files files;
    for (const OnDisk &moment : moments_of_a_write("ac", "abc")) {
        files.put(first_name, moment.first);
        files.put(second_name, moment.second);
        files.change("abcd");
        EXPECT_EQ(files.read(first_name), "abcd");
        EXPECT_EQ(files.names(), first_name);
    }
}

TEST(KilledWrite, AFileChangedByHandSinceIsNotTakenBack) {
    Files files;
    EXPECT_EQ(files.started_with("mine", second_of("longer than that")), "mine");
    EXPECT_EQ(files.started_with("mine too", second_of("a")), "mine too");
    EXPECT_EQ(files.names(), first_name);
    EXPECT_EQ(files.read(first_name), "mine too");
}

TEST(KilledWrite, ASecondFileOfAnythingElseIsNotTaken) {
    Files files;
    for (const std::string &second :
         {std::string(), std::string("content"), std::string(7, 0), second_of("content") + "y",
          std::string(8, '\xFF') + "content", std::string("\xF8\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 8)}) {
        EXPECT_EQ(files.started_with(std::nullopt, second), "");
        EXPECT_EQ(files.names(), "");
    }
}

#ifndef _WIN32
TEST(KilledWrite, ByTheSystemAtAnyByteLeavesTheFirstFile) {
    Files files;
    for (rlim_t room = 0; room < 24; room++) { // the second file would be 8 + 16 bytes long
        files.put(first_name, "old");
        files.put(second_name, std::nullopt);
        pid_t child = fork();
        if (child == 0) {
            signal(SIGXFSZ, SIG_DFL);
            rlimit limit = {room, room};
            setrlimit(RLIMIT_FSIZE, &limit);
            files.change("sixteen bytes it");
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << room;
        EXPECT_EQ(files.read(first_name), "old");
        EXPECT_EQ(files.started(), "old");
    }
}
#endif

// ---- The second file of an earlier version ----

TEST(EarlierSecondFile, IsFinishedAndDeleted) {
    Files files;
    for (const Bytes &first : {Bytes(), Bytes("a")}) {
        files.put(earlier_name, second_of("abc"));
        EXPECT_EQ(files.started_with(first, std::nullopt), "abc");
        EXPECT_EQ(files.read(first_name), "abc");
        EXPECT_EQ(files.names(), first_name);
    }
    for (const std::string &earlier : {std::string("cut off"), second_of("stale")}) {
        files.put(earlier_name, earlier);
        EXPECT_EQ(files.started_with("abc", std::nullopt), "abc");
        EXPECT_EQ(files.names(), first_name);
    }
}

TEST(EarlierSecondFile, IsOlderThanASecondFileOfThisVersion) {
    Files files;
    files.put(earlier_name, second_of("stale"));
    EXPECT_EQ(files.started_with(std::nullopt, second_of("abc")), "abc");
    EXPECT_EQ(files.names(), first_name);
    files.put(first_name, std::nullopt);
    files.put(second_name, second_of("abc"));
    files.put(earlier_name, second_of("stale"));
    {
        Unreadable unreadable(files.native(second_name)); // but may have the content
        EXPECT_EQ(files.started(), "(unread)");
    }
    EXPECT_EQ(files.started(), "abc");
    EXPECT_EQ(files.names(), first_name);
}

TEST(EarlierSecondFile, ThatIsAFolderIsIgnored) {
    Files files;
    files.folder(earlier_name);
    EXPECT_EQ(files.started_with("old", std::nullopt), "old");
    files.change("new");
    EXPECT_EQ(files.read(first_name), "new");
}

TEST(EarlierSecondFile, ThatCannotBeFinishedIsNotReplaced) {
    Files files;
    ReplaceFileCalls calls;
    files.put(earlier_name, second_of("abc"));
    calls.failing_write = 1; // the disk is full
    files.put(first_name, "a");
    EXPECT_EQ(files.started(), "(unread)");
    calls.failing_write = 1;
    files.change("typed");
    EXPECT_EQ(files.read(earlier_name), second_of("abc"));
    EXPECT_EQ(files.names(), earlier_name);
    EXPECT_EQ(files.started(), "abc");
    EXPECT_EQ(files.names(), first_name);
}

TEST(EarlierSecondFile, ThatCannotBeReadMayHaveTheContentOfAMissingFile) {
    Files files;
    files.put(earlier_name, second_of("abc"));
    Unreadable unreadable(files.native(earlier_name));
    EXPECT_EQ(files.started(), "(unread)");
}

// ---- Every state of the two files ----

namespace {

enum FileState { MISSING, EMPTY, CUT_OFF, BEGINNING, WHOLE, OTHER, FOLDER, UNREADABLE };

const std::string second_content = "abc";
const std::string other_content = "other";

void put_first(const Files &files, FileState state) {
    switch (state) {
    case MISSING:
        return;
    case FOLDER:
        return files.folder(first_name);
    case EMPTY:
        return files.file(first_name, "");
    case BEGINNING:
        return files.file(first_name, "a");
    case WHOLE:
        return files.file(first_name, second_content);
    default:
        return files.file(first_name, other_content);
    }
}

void put_second(const Files &files, FileState state) {
    const std::string bytes = second_of(second_content);
    switch (state) {
    case MISSING:
        return;
    case FOLDER:
        return files.folder(second_name);
    case CUT_OFF:
        return files.file(second_name, bytes.substr(0, bytes.size() - 1));
    default:
        return files.file(second_name, bytes);
    }
}

enum Left { NO_FILE, AS_IT_WAS, SECOND_CONTENT, CHANGED };

struct StateRow {
    FileState second;
    FileState first;
    const char *found;  // by a start
    Left second_after;  // the start
    Left first_after;   // the start
    Left first_changed; // after a change that follows
};

const StateRow state_rows[] = {
    {MISSING, MISSING, "", NO_FILE, NO_FILE, CHANGED},
    {MISSING, EMPTY, "", NO_FILE, AS_IT_WAS, CHANGED},
    {MISSING, OTHER, "other", NO_FILE, AS_IT_WAS, CHANGED},
    {MISSING, FOLDER, "", NO_FILE, AS_IT_WAS, AS_IT_WAS},
    {MISSING, UNREADABLE, "(unread)", NO_FILE, AS_IT_WAS, AS_IT_WAS},

    {CUT_OFF, MISSING, "", NO_FILE, NO_FILE, CHANGED},
    {CUT_OFF, EMPTY, "", NO_FILE, AS_IT_WAS, CHANGED},
    {CUT_OFF, BEGINNING, "a", NO_FILE, AS_IT_WAS, CHANGED},
    {CUT_OFF, OTHER, "other", NO_FILE, AS_IT_WAS, CHANGED},
    {CUT_OFF, FOLDER, "", NO_FILE, AS_IT_WAS, AS_IT_WAS},
    {CUT_OFF, UNREADABLE, "(unread)", NO_FILE, AS_IT_WAS, AS_IT_WAS},

    {WHOLE, MISSING, "abc", NO_FILE, SECOND_CONTENT, CHANGED},
    {WHOLE, EMPTY, "abc", NO_FILE, SECOND_CONTENT, CHANGED},
    {WHOLE, BEGINNING, "abc", NO_FILE, SECOND_CONTENT, CHANGED},
    {WHOLE, WHOLE, "abc", NO_FILE, AS_IT_WAS, CHANGED},
    {WHOLE, OTHER, "other", NO_FILE, AS_IT_WAS, CHANGED},
    {WHOLE, FOLDER, "abc", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {WHOLE, UNREADABLE, "(unread)", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},

    {UNREADABLE, MISSING, "(unread)", AS_IT_WAS, NO_FILE, NO_FILE},
    {UNREADABLE, EMPTY, "(unread)", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, BEGINNING, "a", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, WHOLE, "abc", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, OTHER, "other", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, FOLDER, "(unread)", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},

    {FOLDER, MISSING, "", AS_IT_WAS, NO_FILE, CHANGED},
    {FOLDER, EMPTY, "", AS_IT_WAS, AS_IT_WAS, CHANGED},
    {FOLDER, OTHER, "other", AS_IT_WAS, AS_IT_WAS, CHANGED},
    {FOLDER, FOLDER, "", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {FOLDER, UNREADABLE, "(unread)", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
};

// The file after the write, given what it was before.
std::string expected_file(Left left, const std::string &before) {
    return left == NO_FILE          ? "none"
           : left == AS_IT_WAS      ? before
           : left == SECOND_CONTENT ? second_content
                                    : "changed";
}

} // namespace

TEST(ReplacedFileStates, EachHasItsContentAndItsFilesAfterAStartAndAfterAChange) {
    for (const StateRow &row : state_rows) {
        SCOPED_TRACE("second " + std::to_string(row.second) + ", first " + std::to_string(row.first));
        Files files;
        fs::permissions(files.native(""), fs::perms::all); // everything could be deleted
        put_first(files, row.first);
        put_second(files, row.second);
        const std::string first = files.at(first_name);
        const std::string second = files.at(second_name);
        std::optional<Unreadable> unreadable;
        bool is_unreadable = row.first == UNREADABLE || row.second == UNREADABLE;
        const auto make_unreadable = [&] {
            if (is_unreadable) {
                unreadable.emplace(files.native(row.first == UNREADABLE ? first_name : second_name));
            }
        };
        make_unreadable();
        EXPECT_EQ(files.started(), row.found);
        unreadable.reset();
        EXPECT_EQ(files.at(first_name), expected_file(row.first_after, first));
        EXPECT_EQ(files.at(second_name), expected_file(row.second_after, second));

        make_unreadable();
        files.change("changed");
        unreadable.reset();
        EXPECT_EQ(files.at(first_name), expected_file(row.first_changed, first));
        EXPECT_EQ(files.at(second_name), expected_file(row.second_after, second));
        if (is_unreadable && row.first != FOLDER && row.second != FOLDER) { // until it can be read again
            files.change("changed later");
            EXPECT_EQ(files.at(first_name), "changed later");
            EXPECT_EQ(files.at(second_name), "none");
        }
    }
}

TEST(ReplacedFileStates, WhereverTheProgramIsKilledTheNextStartFindsTheOldContentOrTheNewOne) {
    for (const StateRow &row : state_rows) {
        if (row.first == UNREADABLE || row.second == UNREADABLE || row.first == FOLDER ||
            row.second == FOLDER) {
            continue; // the content cannot be replaced, or not with a second file
        }
        SCOPED_TRACE("second " + std::to_string(row.second) + ", first " + std::to_string(row.first));
        Files files;
        const auto put_both = [&] {
            files.put(first_name, std::nullopt);
            files.put(second_name, std::nullopt);
            put_first(files, row.first);
            put_second(files, row.second);
        };
        int kills = 0;
        for (bool was_killed = true; was_killed; kills++) {
            put_both();
            was_killed = run_until_kill(kills, [&] { files.started(); });
            EXPECT_EQ(files.started(), row.found) << "start killed after " << kills;
        }
        EXPECT_GT(kills, 1);

        kills = 0;
        for (bool was_killed = true; was_killed; kills++) {
            put_both();
            files.started();
            was_killed = run_until_kill(kills, [&] { files.change("changed"); });
            const std::string found = files.started();
            EXPECT_TRUE(found == row.found || found == "changed") << found << ", killed after " << kills;
            EXPECT_TRUE(was_killed || found == "changed");
        }
        EXPECT_GT(kills, 4); // second written, first deleted, first written, second deleted
    }
}

// ---- Files that cannot be written ----

TEST(FailedWrite, OfAFirstFileThatCannotBeDeletedLeavesItAndNoSecondOne) {
    Files files;
    files.put(first_name, "old");
    ReplaceFileCalls calls;
    calls.undeletable = first_name;
    files.change("new");            // does not begin with the old content
    files.change("old and longer"); // begins with it
    EXPECT_EQ(files.read(first_name), "old");
    EXPECT_EQ(files.names(), first_name);
    EXPECT_EQ(files.started(), "old");
}

TEST(FailedWrite, OfAFirstFileThatCannotBeDeletedIsForgottenWhenTheUserChangesTheFile) {
    Files files;
    files.put(first_name, "old");
    {
        ReplaceFileCalls calls;
        calls.undeletable = first_name;
        files.change("abc");
    }
    files.put(first_name, "a"); // a beginning of what could not be written
    EXPECT_EQ(files.started(), "a");
}

#ifdef _WIN32
TEST(FailedWrite, OfAFileWithTheReadOnlyAttributeLeavesNoSecondFile) {
    Files files;
    files.put(first_name, "old");
    fs::permissions(files.native(first_name), fs::perms::owner_read);
    files.change("new");
    EXPECT_EQ(files.read(first_name), "old");
    EXPECT_EQ(files.names(), first_name);
    fs::permissions(files.native(first_name), fs::perms::all);
}
#endif

TEST(FailedWrite, OfTheSecondFileInPlaceOfAFolderReplacesTheFirstAnyway) {
    Files files;
    files.put(first_name, "a long old content");
    files.folder(second_name);
    files.change("a");
    EXPECT_EQ(files.read(first_name), "a");
    fs::remove(files.native(second_name));
    files.change("ab");
    EXPECT_EQ(files.read(first_name), "ab");
}

TEST(FailedWrite, OfASecondFileThatCannotBeDeletedLeavesTheFirstAsItIs) {
    Files files;
    files.put(first_name, "abc");
    {
        ReplaceFileCalls calls;
        calls.undeletable = second_name;
        files.change("ab"); // leaves the second file
        files.change("a");  // cannot delete it
        EXPECT_EQ(files.read(first_name), "ab");
        EXPECT_EQ(files.read(second_name), second_of("ab"));
    }
    EXPECT_EQ(files.started(), "ab");
    files.change("a");
    EXPECT_EQ(files.read(first_name), "a");
    EXPECT_EQ(files.names(), first_name);
}

TEST(FailedWrite, OfTheFirstFileWhenItIsDeletedKeepsTheSecond) {
    Files files;
    files.put(first_name, "old");
    ReplaceFileCalls calls;
    calls.failing_write = 2;
    files.change("new");
    EXPECT_EQ(calls.failing_write, 0);
    EXPECT_EQ(files.names(), second_name);
    EXPECT_EQ(files.read(second_name), second_of("new"));
    calls.failing_write = 1; // at the next start too
    EXPECT_EQ(files.started(), "new");
    EXPECT_EQ(files.names(), second_name);
    EXPECT_EQ(files.started(), "new");
    EXPECT_EQ(files.names(), first_name);
    EXPECT_EQ(files.read(first_name), "new");
}

TEST(FailedWrite, OfTheFirstFileAtAStartLoadsTheListAnyway) {
    Files files;
    files.folder(first_name);
    files.put(second_name, second_of("abc"));
    EXPECT_EQ(files.started(), "abc");
    EXPECT_EQ(files.read(second_name), second_of("abc"));
}

TEST(FailedWrite, OfTheSecondFileLeavesTheFirstAsItIs) {
    Files files;
    files.put(first_name, "old");
    ReplaceFileCalls calls;
    calls.failing_write = 1;
    files.change("new");
    EXPECT_EQ(files.read(first_name), "old");
    EXPECT_EQ(files.names(), first_name);
}

#ifdef _WIN32
// Another program has a file open: a scanner, an indexer.
class HeldFile {
public:
    HeldFile(const Files &files, const std::string &name, DWORD share_mode)
        : handle(CreateFileW(files.native(name).c_str(), GENERIC_READ, share_mode, nullptr, OPEN_EXISTING, 0,
                             nullptr)) {
        EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    }
    ~HeldFile() {
        CloseHandle(handle);
    }
    HeldFile(const HeldFile &) = delete;
    HeldFile &operator=(const HeldFile &) = delete;

private:
    HANDLE handle;
};

TEST(FailedWrite, ThatCannotDeleteAFileInUseKeepsTheOldList) {
    Files files;
    files.put(first_name, "abc");
    {
        HeldFile held(files, first_name, FILE_SHARE_READ | FILE_SHARE_WRITE);
        files.change("x");
        EXPECT_EQ(files.read(first_name), "abc"); // no mixture of both
        EXPECT_EQ(files.names(), first_name);
    }
    files.change("y");
    EXPECT_EQ(files.read(first_name), "y");
    EXPECT_EQ(files.names(), first_name);
}

TEST(FailedWrite, OfAFileThatAnotherProgramHoldsExclusivelyLosesNothing) {
    for (const std::string &name : {first_name, second_name}) {
        Files files;
        files.put(first_name, "abc");
        EXPECT_EQ(files.started(), "abc");
        files.put(name, files.read(name).value_or("of another program"));
        {
            HeldFile held(files, name, 0);
            files.change("ab");
        }
        // Whichever of the two could be written has the content.
        std::string found = files.started();
        EXPECT_TRUE(found == "abc" || found == "ab") << found;
        files.change("a");
        EXPECT_EQ(files.read(first_name), "a");
        EXPECT_EQ(files.names(), first_name);
    }
}

TEST(FailedWrite, OfASecondFileThatIsHeldOpenWhileItIsDeletedLosesNothing) {
    Files files;
    files.put(first_name, "abc");
    files.put(second_name, "torn");
    {
        HeldFile held(files, second_name, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
        files.change("ab");
        Bytes first = files.read(first_name);
        EXPECT_TRUE(first == "abc" || first == "ab");
    }
    files.change("a");
    EXPECT_EQ(files.read(first_name), "a");
}
#else
TEST(FailedWrite, OnAFullDiskLeavesTheOldList) {
    Files files;
    files.put(first_name, "old");
    struct sigaction ignore = {}, before;
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &before);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    rlimit small = {20, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    files.change("a content of more than twenty bytes");
    setrlimit(RLIMIT_FSIZE, &limit);
    sigaction(SIGXFSZ, &before, nullptr);
    EXPECT_EQ(files.read(first_name), "old");
    EXPECT_EQ(files.names(), first_name);
}
#endif
