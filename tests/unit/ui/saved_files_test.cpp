// The files of the saved lists: what is on disk after each change, and after a program that was killed.

#include "ui/saved_files.h"

#include <gtest/gtest.h>

#include <string.h>

#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "os/files.h"
#include "support/heap_hook.h"
#include "support/system_files.h"
#include "ui/saved_lists_scope.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <limits.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

const std::string paths_file = "saved_paths.txt";
const std::string queries_file = "saved_queries.txt";
const std::string second_file = "saved_queries.new";
const std::string earlier_second_file = "saved_queries.txt.new"; // of version 0.9.5

using Bytes = std::optional<std::string>; // a file's; none when it is missing

// The lists' files in a folder of their own.
class ListFiles : public SavedListsScope {
public:
    ListFiles() : folder(tree.path() + "/") {
        saved_folder = str_over(folder);
    }

    Bytes read(const std::string &name) const {
        return fs::is_regular_file(tree.native(name)) ? Bytes(bytes_of(tree.native(name))) : std::nullopt;
    }

    void put(const std::string &name, const Bytes &bytes) const {
        fs::remove_all(tree.native(name));
        if (bytes) {
            tree.file(name, *bytes);
        }
    }

    // Names of all there is, sorted, with blanks between.
    std::string names() const {
        std::vector<std::string> found;
        for (const fs::directory_entry &entry : fs::directory_iterator(tree.native(""))) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        std::string all;
        for (const std::string &name : found) {
            all += (all.empty() ? "" : " ") + name;
        }
        return all;
    }

    // Starts with these two files of queries and an empty field: "text: entries".
    std::string started_with(const Bytes &first, const Bytes &second) const {
        put(queries_file, first);
        put(second_file, second);
        return started();
    }

    std::string started() const {
        empty_list(&query_field.entries);
        set_field(query, "");
        saved_list_load(query, 1);
        return text_of(*query) + ": " + entries_of(query_field.entries);
    }

    TestTree tree;
    std::string folder;
};

// What a second file holds for a content.
std::string second_of(const std::string &content) {
    uint64_t length = content.size();
    std::string bytes(8, 0);
    memcpy(bytes.data(), &length, 8);
    return bytes + content;
}

// The text and entries that a content stands for.
std::string state_of(const ListFiles &files, const std::string &content) {
    return files.started_with(content, std::nullopt);
}

void add(const std::string &text) {
    set_field(query, text);
    saved_mark_update(query);
    saved_list_save(query, query);
}

void type(Field *field, const std::string &text) {
    set_field(field, text);
    saved_mark_update(field);
    saved_list_write(field);
}

} // namespace

// ---- Between the lists and the disk ----

// The linker hands every call to the first of each pair; the second is the real one.
extern "C" {
int32_t __wrap__Z13os_file_write3StrjPKc(Str path, uint32_t count, const char *bytes);
int32_t __real__Z13os_file_write3StrjPKc(Str path, uint32_t count, const char *bytes);
int32_t __wrap__Z14os_file_delete3Str(Str path);
int32_t __real__Z14os_file_delete3Str(Str path);
}

namespace {

int failing_write; // the how manieth from now on fails without a trace, as of a file that cannot be made
const std::string *undeletable; // a file's name: it cannot be deleted

// A program that is killed after so many deletions and writings does nothing from then on; a writing that it
// is killed in is half done.
constexpr int not_killed = -1;
int steps_before_kill = not_killed;
bool is_killed;

bool is_killed_now() {
    is_killed = is_killed || steps_before_kill == 0;
    steps_before_kill -= steps_before_kill > 0;
    return is_killed;
}

// Runs a part of the program that is killed after so many steps. Returns whether it was.
template <typename Part> bool run_until_kill(int steps, Part part) {
    steps_before_kill = steps;
    part();
    bool was_killed = is_killed;
    steps_before_kill = not_killed;
    is_killed = false;
    return was_killed;
}

} // namespace

int32_t __wrap__Z13os_file_write3StrjPKc(Str path, uint32_t count, const char *bytes) {
    bool was_killed = is_killed;
    if (is_killed_now()) {
        return was_killed ? 0 : __real__Z13os_file_write3StrjPKc(path, count / 2, bytes);
    }
    if (failing_write > 0 && --failing_write == 0) {
        return 1;
    }
    return __real__Z13os_file_write3StrjPKc(path, count, bytes);
}

int32_t __wrap__Z14os_file_delete3Str(Str path) {
    if (is_killed_now()) {
        return 0;
    }
    if (undeletable && to_string(path).ends_with("/" + *undeletable) && os_path_exists(path)) {
        return 1;
    }
    return __real__Z14os_file_delete3Str(path);
}

// ---- What is written ----

TEST(SavedFiles, HoldTheTextAndTheLiveEntriesByteForByte) {
    ListFiles files;
    type(path, "C:\\src");
    EXPECT_EQ(files.read(paths_file), "C:/src");
    saved_list_save(path, path);
    EXPECT_EQ(files.read(paths_file), "C:/src\r\nC:/src");
    type(path, "D:/größe/");
    saved_list_save(path, path);
    EXPECT_EQ(files.read(paths_file), "D:/größe/\r\nC:/src\r\nD:/größe/");
    type(query, "foo");
    EXPECT_EQ(files.read(queries_file), "foo");
    EXPECT_EQ(files.names(), "saved_paths.txt saved_queries.txt");
}

TEST(SavedFiles, AreReplacedByShorterOnes) {
    ListFiles files;
    type(query, std::string(5000, 'x'));
    type(query, "x");
    EXPECT_EQ(files.read(queries_file), "x");
    type(query, "");
    EXPECT_EQ(files.read(queries_file), "");
}

TEST(SavedFiles, GrowBeyondTheWritersFirstBuffer) {
    ListFiles files;
    std::string expected = "x";
    for (int i = 0; i < 50; i++) {
        std::string entry(1000, static_cast<char>('a' + i % 26));
        entry += std::to_string(i);
        add(entry);
        expected += "\r\n" + entry;
    }
    type(query, "x");
    EXPECT_EQ(files.read(queries_file), expected);
}

TEST(SavedFiles, OfAListWithOnlyRemovedEntriesHoldOnlyTheText) {
    ListFiles files;
    add("foo");
    EXPECT_EQ(files.read(queries_file), "foo\r\nfoo");
    saved_entry_flip(query, 0);
    EXPECT_EQ(files.read(queries_file), "foo");
    saved_entry_flip(query, 0);
    EXPECT_EQ(files.read(queries_file), "foo\r\nfoo");
}

TEST(SavedFiles, AreNotWrittenWhenARemovedEntryComesBackAndThatIsMeant) {
    ListFiles files;
    add("foo");
    saved_entry_flip(query, 0);
    saved_list_save(query, query);
    EXPECT_EQ(entries_of(query_field.entries), "foo");
    EXPECT_EQ(files.read(queries_file), "foo");
    type(query, "bar"); // the next change brings it
    EXPECT_EQ(files.read(queries_file), "bar\r\nfoo");
}

TEST(SavedFiles, AreWrittenOnceMoreForAMarkedTextOnlyWhenARemovedEntryEqualsIt) {
    ListFiles files;
    add("foo");
    files.put(queries_file, "untouched");
    saved_list_save(query, query);
    EXPECT_EQ(files.read(queries_file), "untouched");
    saved_entry_at(&query_field.entries, 0)->in_use = 0;
    saved_list_save(query, query); // still marked
    EXPECT_EQ(files.read(queries_file), "foo");
}

TEST(SavedFiles, AnEmptyTextSavesAndWritesNothing) {
    ListFiles files;
    saved_list_save(query, query);
    saved_list_save(path, path);
    EXPECT_EQ(files.names(), "");
}

TEST(SavedFiles, AreReadBackAsTheyWereLeft) {
    ListFiles files;
    add("foo");
    add("bar");
    type(query, "baz");
    EXPECT_EQ(files.started(), "baz: foo|bar");
    EXPECT_EQ(files.read(queries_file), "baz\r\nfoo\r\nbar"); // reading writes nothing
    EXPECT_EQ(files.names(), "saved_queries.txt");
}

TEST(SavedFiles, OfATextWithoutEntriesComeBackAsAnEntryAndThatIsMeant) {
    ListFiles files;
    type(query, "foo");
    EXPECT_EQ(files.started(), ": foo");
}

TEST(SavedFiles, AreNotUsedWithoutAFolder) {
    ListFiles files;
    saved_folder = {};
    fs::path before = fs::current_path();
    fs::current_path(files.tree.native("")); // nor are any in the folder the program was started in
    type(query, "foo");
    fs::current_path(before);
    EXPECT_EQ(files.names(), "");
    std::string too_long(4090, 'x');
    saved_folder = str_over(too_long);
    type(query, "foo");
    saved_list_load(query, 1);
    EXPECT_EQ(text_of(*query), "foo");
}

TEST(SavedFiles, MissingAndEmptyOnesChangeNothing) {
    ListFiles files;
    EXPECT_EQ(files.started_with(std::nullopt, std::nullopt), ": ");
    EXPECT_EQ(files.started_with("", std::nullopt), ": ");
    EXPECT_EQ(files.names(), "saved_queries.txt");
}

TEST(SavedFiles, UnreadableOnesAreMissingOnes) {
    ListFiles files;
    files.put(queries_file, "foo\r\nbar");
    Unreadable unreadable(files.tree.native(queries_file));
    EXPECT_EQ(files.started(), ": ");
}

TEST(SavedFiles, ThatCouldNotBeReadAreReadBeforeTheyAreReplaced) {
    for (const std::string &unread : {queries_file, second_file}) {
        ListFiles files;
        files.put(unread, unread == second_file ? second_of("foo\r\nbar") : "foo\r\nbar");
        {
            Unreadable unreadable(files.tree.native(unread));
            files.started();
            set_field(query, "typed");
            saved_list_save(query, query);
            EXPECT_TRUE(query_field.is_unread);
        }
        set_field(query, "typed2");
        saved_list_write(query);
        EXPECT_EQ(files.read(queries_file).value_or("none"), "typed2\r\ntyped\r\nbar") << unread;
        EXPECT_FALSE(query_field.is_unread);
        EXPECT_EQ(files.names(), "saved_queries.txt");
        EXPECT_EQ(text_of(*query), "typed2"); // what was typed since stays
    }
}

TEST(SavedFiles, ThatCannotBeReadAtAllAreNotReplaced) {
    for (const std::string &unread : {queries_file, second_file}) {
        ListFiles files;
        files.put(queries_file, "foo\r\nbar");
        files.put(second_file, unread == second_file ? Bytes(second_of("foo\r\nbar")) : std::nullopt);
        fs::permissions(files.tree.native(""), fs::perms::all); // it could be deleted
        {
            Unreadable unreadable(files.tree.native(unread));
            files.started();
            set_field(query, "typed");
            saved_list_write(query);
        }
        EXPECT_EQ(files.read(queries_file).value_or("none"), "foo\r\nbar") << unread;
    }
}

TEST(SavedFiles, WhicheverAllocationIsRefusedTheFileIsTheOldOneOrTheNewOne) {
    ListFiles files;
    set_field(query, "foo");
    std::string entries = "\n" + std::string(30000, 'x') + "\nbar";
    saved_list_load_contents(query, str_over(entries), 0);
    std::string whole = "foo\r\n" + std::string(30000, 'x') + "\r\nbar";
    int old_ones = 0;
    for (int refused = 0, asked = 0; refused <= asked; refused++) {
        files.put(queries_file, "old");
        asked = 0;
        {
            HeapHookScope hook([&](uint64_t) { return asked++ != refused; });
            saved_list_write(query);
        }
        std::string now = files.read(queries_file).value_or("none");
        EXPECT_TRUE(now == "old" || now == whole) << refused;
        old_ones += now == "old";
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
    EXPECT_EQ(old_ones, 2); // without the buffer, and without its growth
}

TEST(SavedFiles, WhicheverAllocationIsRefusedALoadTakesWhatItCan) {
    ListFiles files;
    std::string old_state = state_of(files, "foo\r\nbar");
    for (int refused = 0, asked = 0; refused <= asked; refused++) {
        files.put(queries_file, "fo");
        files.put(second_file, second_of("foo\r\nbar"));
        asked = 0;
        std::string state;
        {
            HeapHookScope hook([&](uint64_t) { return asked++ != refused; });
            state = files.started();
        }
        EXPECT_TRUE(state == old_state || state == "foo: " || state == ": " || state == ": fo") << state;
        // Whatever was refused, nothing on disk is lost by it but what was not read.
        EXPECT_TRUE(files.read(queries_file).has_value()) << refused;
    }
}

// ---- A program that is killed while it writes ----

namespace {

// All that two files can be while old_content is replaced, in the order in which it happens.
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
    {"a\r\nX", "ab\r\nX"},          // a character typed
    {"ab\r\nX", "a\r\nX"},          // and taken back
    {"a\r\nX", "a\r\nX\r\nYY"},     // an entry added: the old content begins the new one
    {"a\r\nX\r\nYY", "a\r\nX"},     // and removed
    {"a\r\nX", "a\r\nXYZ"},         // the old content begins the new one, in the middle of an entry
    {"a", "a\r\nX"},                // the first entry
    {"a\r\nX", "a"},                // the last one removed
    {"", "a"},                      //
    {"a", ""},                      //
    {"a\r\nX", "\r\nX"},            // the text emptied
    {"same\r\nX", "same\r\nX"},     //
    {"C:/x\r\nD:/y", "E:/\r\nD:/y"} //
};

} // namespace

TEST(KilledWrite, TheSecondFileHoldsTheLengthAndTheNewContentUntilTheFirstIsWhole) {
    ListFiles files;
    failing_write = 2;
    type(query, "foo");
    EXPECT_EQ(files.read(second_file), second_of("foo"));
    EXPECT_EQ(second_of("foo"), std::string("\3\0\0\0\0\0\0\0foo", 11));
}

TEST(KilledWrite, AtEveryMomentTheNextStartFindsTheOldListOrTheNewOne) {
    ListFiles files;
    for (const auto &[old_content, new_content] : replacements) {
        std::string old_state = state_of(files, old_content);
        std::string new_state = state_of(files, new_content);
        bool is_new = false;
        for (const OnDisk &moment : moments_of_a_write(old_content, new_content)) {
            SCOPED_TRACE(testing::PrintToString(old_content + " > " + new_content + ": " +
                                                moment.first.value_or("none") + " and " +
                                                moment.second.value_or("none")));
            std::string state = files.started_with(moment.first, moment.second);
            EXPECT_TRUE(state == old_state || state == new_state) << state;
            EXPECT_TRUE(state == new_state || !is_new) << "the new list came and went";
            is_new = is_new || (state == new_state && new_state != old_state);
            // Nothing is left of the write that was cut off, and the file is the list that was found.
            EXPECT_EQ(files.read(second_file), std::nullopt);
            Bytes first = files.read(queries_file);
            EXPECT_TRUE(first == old_content || first == new_content || (!first && new_content.empty()));
            EXPECT_EQ(files.started(), state);
        }
    }
}

TEST(KilledWrite, TheFirstWriteOfAllLeavesNothingOrTheNewList) {
    ListFiles files;
    std::string new_state = state_of(files, "a\r\nX");
    for (const OnDisk &moment : moments_of_a_write(std::nullopt, "a\r\nX")) {
        std::string state = files.started_with(moment.first, moment.second);
        EXPECT_TRUE(state == ": " || state == new_state) << state;
        EXPECT_EQ(files.read(second_file), std::nullopt);
    }
}

TEST(KilledWrite, AWriteWithoutAStartInBetweenFinishesItFirst) {
    ListFiles files;
    add("X");
    for (const OnDisk &moment : moments_of_a_write("a\r\nX", "ab\r\nX")) {
        files.put(queries_file, moment.first);
        files.put(second_file, moment.second);
        type(query, "abc");
        EXPECT_EQ(files.read(queries_file), "abc\r\nX");
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
}

TEST(KilledWrite, AFileChangedByHandSinceIsNotTakenBack) {
    ListFiles files;
    EXPECT_EQ(files.started_with("m\r\nM", second_of("a long\r\nX")), "m: M");
    EXPECT_EQ(files.started_with("mine\r\nM", second_of("a\r\nX")), "mine: M");
    EXPECT_EQ(files.names(), "saved_queries.txt");
    EXPECT_EQ(files.read(queries_file), "mine\r\nM");
}

TEST(KilledWrite, ASecondFileOfAnythingElseIsNotTaken) {
    ListFiles files;
    for (const std::string &second :
         {std::string(), std::string("a\r\nX"), std::string(7, 0), second_of("a\r\nX") + "y",
          std::string(8, '\xFF') + "a\r\nX", std::string("\xF8\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 8)}) {
        EXPECT_EQ(files.started_with(std::nullopt, second), ": ");
        EXPECT_EQ(files.names(), "");
    }
}

TEST(KilledWrite, TheTwoListsAreFinishedEachForItself) {
    ListFiles files;
    files.put("saved_paths.new", second_of("C:/a\r\nC:/b"));
    files.put(second_file, second_of("q\r\nr"));
    saved_list_load(path, 1);
    EXPECT_EQ(files.names(), "saved_paths.txt saved_queries.new");
    EXPECT_EQ(text_of(*path) + ": " + entries_of(path_field.entries), "C:/a: C:/b");
    EXPECT_EQ(files.read(paths_file), "C:/a\r\nC:/b");
    EXPECT_EQ(files.started(), "q: r");
}

TEST(KilledWrite, WhatIsFinishedKeepsItsBackslashes) {
    ListFiles files;
    EXPECT_EQ(files.started_with(std::nullopt, second_of("a\\b\r\nc")), "a/b: c");
    EXPECT_EQ(files.read(queries_file), "a\\b\r\nc");
}

TEST(KilledWrite, TheSecondFileOfVersion095IsFinishedToo) {
    ListFiles files;
    for (const Bytes &first : {Bytes(), Bytes("a\r")}) {
        files.put(earlier_second_file, second_of("a\r\nX"));
        EXPECT_EQ(files.started_with(first, std::nullopt), "a: X");
        EXPECT_EQ(files.read(queries_file), "a\r\nX");
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
    for (const std::string &earlier : {std::string("cut off"), second_of("stale\r\nX")}) {
        files.put(earlier_second_file, earlier);
        EXPECT_EQ(files.started_with("a\r\nX", std::nullopt), "a: X");
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
    // What this version has left is newer.
    files.put(earlier_second_file, second_of("stale\r\nX"));
    EXPECT_EQ(files.started_with(std::nullopt, second_of("a\r\nX")), "a: X");
    EXPECT_EQ(files.names(), "saved_queries.txt");
    files.put(queries_file, std::nullopt);
    files.put(second_file, second_of("a\r\nX"));
    files.put(earlier_second_file, second_of("stale\r\nX"));
    {
        Unreadable unreadable(files.tree.native(second_file)); // but may have the list
        EXPECT_EQ(files.started(), ": ");
    }
    EXPECT_EQ(files.started(), "a: X");
    EXPECT_EQ(files.names(), "saved_queries.txt");
    files.tree.folder(earlier_second_file);
    EXPECT_EQ(files.started_with("a\r\nX", std::nullopt), "a: X");
    type(query, "b");
    EXPECT_EQ(files.read(queries_file), "b\r\nX");
}

#ifndef _WIN32
TEST(KilledWrite, ForWhichTheSystemKillsTheProgramAtAnyByteLeavesTheFirstFile) {
    ListFiles files;
    for (rlim_t room = 0; room < 24; room++) { // the second file would be 8 + 16 bytes long
        files.put(queries_file, "a\r\nX");
        files.put(second_file, std::nullopt);
        set_field(query, "sixteen bytes it");
        pid_t child = fork();
        if (child == 0) {
            signal(SIGXFSZ, SIG_DFL);
            rlimit limit = {room, room};
            setrlimit(RLIMIT_FSIZE, &limit);
            saved_list_write(query);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << room;
        EXPECT_EQ(files.read(queries_file), "a\r\nX");
        EXPECT_EQ(files.started(), "a: X");
    }
}
#endif

// ---- Every state of the two files ----

namespace {

enum FileState { MISSING, EMPTY, CUT_OFF, BEGINNING, WHOLE, OTHER, FOLDER, UNREADABLE };

const std::string second_content = "a\r\nX\r\nY";
const std::string other_content = "b\r\nZ";

void put_first(const ListFiles &files, FileState state) {
    switch (state) {
    case MISSING:
        return;
    case FOLDER:
        return files.tree.folder(queries_file);
    case EMPTY:
        return files.tree.file(queries_file, "");
    case BEGINNING:
        return files.tree.file(queries_file, "a\r\nX");
    case WHOLE:
        return files.tree.file(queries_file, second_content);
    default:
        return files.tree.file(queries_file, other_content);
    }
}

void put_second(const ListFiles &files, FileState state) {
    const std::string bytes = second_of(second_content);
    switch (state) {
    case MISSING:
        return;
    case FOLDER:
        return files.tree.folder(second_file);
    case CUT_OFF:
        return files.tree.file(second_file, bytes.substr(0, bytes.size() - 1));
    default:
        return files.tree.file(second_file, bytes);
    }
}

enum Left { NO_FILE, AS_IT_WAS, SECOND_CONTENT, TYPED };

struct StateRow {
    FileState second;
    FileState first;
    const char *list;  // what a start finds
    Left second_after; // the start
    Left first_after;  // the start
    Left first_typed;  // after a text was typed then
};

const StateRow state_rows[] = {
    {MISSING, MISSING, ": ", NO_FILE, NO_FILE, TYPED},
    {MISSING, EMPTY, ": ", NO_FILE, AS_IT_WAS, TYPED},
    {MISSING, OTHER, "b: Z", NO_FILE, AS_IT_WAS, TYPED},
    {MISSING, FOLDER, ": ", NO_FILE, AS_IT_WAS, AS_IT_WAS},
    {MISSING, UNREADABLE, ": ", NO_FILE, AS_IT_WAS, AS_IT_WAS},

    {CUT_OFF, MISSING, ": ", NO_FILE, NO_FILE, TYPED},
    {CUT_OFF, EMPTY, ": ", NO_FILE, AS_IT_WAS, TYPED},
    {CUT_OFF, BEGINNING, "a: X", NO_FILE, AS_IT_WAS, TYPED},
    {CUT_OFF, OTHER, "b: Z", NO_FILE, AS_IT_WAS, TYPED},
    {CUT_OFF, FOLDER, ": ", NO_FILE, AS_IT_WAS, AS_IT_WAS},
    {CUT_OFF, UNREADABLE, ": ", NO_FILE, AS_IT_WAS, AS_IT_WAS},

    {WHOLE, MISSING, "a: X|Y", NO_FILE, SECOND_CONTENT, TYPED},
    {WHOLE, EMPTY, "a: X|Y", NO_FILE, SECOND_CONTENT, TYPED},
    {WHOLE, BEGINNING, "a: X|Y", NO_FILE, SECOND_CONTENT, TYPED},
    {WHOLE, WHOLE, "a: X|Y", NO_FILE, AS_IT_WAS, TYPED},
    {WHOLE, OTHER, "b: Z", NO_FILE, AS_IT_WAS, TYPED},
    {WHOLE, FOLDER, "a: X|Y", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {WHOLE, UNREADABLE, ": ", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},

    {UNREADABLE, MISSING, ": ", AS_IT_WAS, NO_FILE, NO_FILE},
    {UNREADABLE, EMPTY, ": ", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, BEGINNING, "a: X", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, WHOLE, "a: X|Y", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, OTHER, "b: Z", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {UNREADABLE, FOLDER, ": ", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},

    {FOLDER, MISSING, ": ", AS_IT_WAS, NO_FILE, TYPED},
    {FOLDER, EMPTY, ": ", AS_IT_WAS, AS_IT_WAS, TYPED},
    {FOLDER, OTHER, "b: Z", AS_IT_WAS, AS_IT_WAS, TYPED},
    {FOLDER, FOLDER, ": ", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
    {FOLDER, UNREADABLE, ": ", AS_IT_WAS, AS_IT_WAS, AS_IT_WAS},
};

// What is left of a file that was as given.
std::string expected_file(Left left, const std::string &before) {
    return left == NO_FILE ? "none" : left == AS_IT_WAS ? before : second_content;
}

// A file's bytes, or what there is in its place.
std::string file_or_not(const ListFiles &files, const std::string &name) {
    return fs::is_directory(files.tree.native(name)) ? "folder" : files.read(name).value_or("none");
}

} // namespace

TEST(SavedFilesStates, EachHasItsListAndItsFilesAfterAStartAndAfterTyping) {
    for (const StateRow &row : state_rows) {
        SCOPED_TRACE("second " + std::to_string(row.second) + ", first " + std::to_string(row.first));
        ListFiles files;
        fs::permissions(files.tree.native(""), fs::perms::all); // everything could be deleted
        put_first(files, row.first);
        put_second(files, row.second);
        const std::string first = file_or_not(files, queries_file);
        const std::string second = file_or_not(files, second_file);
        std::optional<Unreadable> unreadable;
        const auto make_unreadable = [&] {
            if (row.first == UNREADABLE || row.second == UNREADABLE) {
                unreadable.emplace(files.tree.native(row.first == UNREADABLE ? queries_file : second_file));
            }
        };
        make_unreadable();
        EXPECT_EQ(files.started(), row.list);
        unreadable.reset();
        EXPECT_EQ(file_or_not(files, queries_file), expected_file(row.first_after, first));
        EXPECT_EQ(file_or_not(files, second_file), expected_file(row.second_after, second));

        make_unreadable();
        type(query, "typed");
        unreadable.reset();
        std::string entries = entries_of(query_field.entries);
        std::string typed = "typed" + (entries.empty() ? "" : "\r\n" + entries);
        for (size_t bar; (bar = typed.find('|')) != std::string::npos;) {
            typed.replace(bar, 1, "\r\n");
        }
        EXPECT_EQ(file_or_not(files, queries_file),
                  row.first_typed == TYPED ? typed : expected_file(row.first_typed, first));
        EXPECT_EQ(file_or_not(files, second_file), expected_file(row.second_after, second));
        bool is_unreadable = row.first == UNREADABLE || row.second == UNREADABLE;
        if (is_unreadable && row.first != FOLDER && row.second != FOLDER) { // until it can be read again
            type(query, "typed later");
            EXPECT_EQ(file_or_not(files, queries_file).find("typed later\r\n"), 0u);
            EXPECT_EQ(file_or_not(files, second_file), "none");
        }
    }
}

TEST(SavedFilesStates, WhereverTheProgramIsKilledTheNextStartFindsTheOldListOrTheNewOne) {
    for (const StateRow &row : state_rows) {
        if (row.first == UNREADABLE || row.second == UNREADABLE || row.first == FOLDER ||
            row.second == FOLDER) {
            continue; // the list cannot be replaced, or not with a second file
        }
        SCOPED_TRACE("second " + std::to_string(row.second) + ", first " + std::to_string(row.first));
        ListFiles files;
        const auto put_both = [&] {
            files.put(queries_file, std::nullopt);
            files.put(second_file, std::nullopt);
            put_first(files, row.first);
            put_second(files, row.second);
        };
        int kills = 0;
        const auto start = [&] { files.started(); };
        for (bool was_killed = true; was_killed; kills++) {
            put_both();
            was_killed = run_until_kill(kills, start);
            EXPECT_EQ(files.started(), row.list) << "start killed after " << kills;
        }
        EXPECT_GT(kills, 1);

        const auto add_entry = [] { add("typed"); };
        put_both();
        start();
        add_entry();
        const std::string new_list = files.started();
        EXPECT_NE(new_list, row.list);
        kills = 0;
        for (bool was_killed = true; was_killed; kills++) {
            put_both();
            start();
            was_killed = run_until_kill(kills, add_entry);
            const std::string list = files.started();
            EXPECT_TRUE(list == row.list || list == new_list) << list << ", killed after " << kills;
            EXPECT_TRUE(was_killed || list == new_list);
        }
        EXPECT_GT(kills, 4); // second written, first deleted, first written, second deleted
    }
}

// ---- Files that cannot be written ----

TEST(FailedWrite, OfAFirstFileThatCannotBeDeletedLeavesItAndNoSecondOne) {
    ListFiles files;
    add("X");
    undeletable = &queries_file;
    type(query, "X and more"); // the old content is no beginning of this one
    add("Y");                  // but of this one
    EXPECT_EQ(files.read(queries_file), "X\r\nX");
    EXPECT_EQ(files.names(), "saved_queries.txt");
    undeletable = nullptr;
    EXPECT_EQ(files.started(), "X: X");
}

TEST(FailedWrite, OfAFirstFileThatCannotBeDeletedIsForgottenWhenTheUserChangesTheFile) {
    ListFiles files;
    files.put(queries_file, "a\r\nX\r\nY");
    files.started();
    undeletable = &queries_file;
    saved_entry_flip(query, 1);
    undeletable = nullptr;
    files.put(queries_file, "a"); // a beginning of "a\r\nX", which could not be written
    EXPECT_EQ(files.started(), ": a");
}

#ifdef _WIN32
TEST(FailedWrite, OfAFileWithTheReadOnlyAttributeLeavesNoSecondFile) {
    ListFiles files;
    files.put(queries_file, "a\r\nX");
    files.started();
    fs::permissions(files.tree.native(queries_file), fs::perms::owner_read);
    add("Y");
    EXPECT_EQ(files.read(queries_file), "a\r\nX");
    EXPECT_EQ(files.names(), "saved_queries.txt");
    fs::permissions(files.tree.native(queries_file), fs::perms::all);
}
#endif

TEST(FailedWrite, OfTheSecondFileInPlaceOfAFolderReplacesTheFirstAllTheSame) {
    ListFiles files;
    files.put(queries_file, "a long old content");
    files.tree.folder(second_file);
    type(query, "a");
    EXPECT_EQ(files.read(queries_file), "a");
    fs::remove(files.tree.native(second_file));
    type(query, "ab");
    EXPECT_EQ(files.read(queries_file), "ab");
}

TEST(FailedWrite, OfASecondFileThatCannotBeDeletedLeavesTheFirstAsItIs) {
    ListFiles files;
    files.put(queries_file, "abc\r\nX");
    files.started();
    undeletable = &second_file;
    type(query, "ab"); // leaves the second file
    type(query, "a");  // cannot delete it
    EXPECT_EQ(files.read(queries_file), "ab\r\nX");
    EXPECT_EQ(files.read(second_file), second_of("ab\r\nX"));
    undeletable = nullptr;
    EXPECT_EQ(files.started(), "ab: X");
    type(query, "a");
    EXPECT_EQ(files.read(queries_file), "a\r\nX");
    EXPECT_EQ(files.names(), "saved_queries.txt");
}

TEST(FailedWrite, OfTheFirstFileWhenItIsDeletedKeepsTheSecond) {
    ListFiles files;
    add("X");
    failing_write = 2;
    type(query, "a");
    EXPECT_EQ(failing_write, 0);
    EXPECT_EQ(files.names(), second_file);
    EXPECT_EQ(files.read(second_file), second_of("a\r\nX"));
    failing_write = 1; // at the next start too
    EXPECT_EQ(files.started(), "a: X");
    EXPECT_EQ(files.names(), second_file);
    EXPECT_EQ(files.started(), "a: X");
    EXPECT_EQ(files.names(), queries_file);
    EXPECT_EQ(files.read(queries_file), "a\r\nX");
}

TEST(FailedWrite, OfTheFirstFileAtAStartLoadsTheListAllTheSame) {
    ListFiles files;
    files.tree.folder(queries_file);
    files.put(second_file, second_of("a\r\nX"));
    EXPECT_EQ(files.started(), "a: X");
    EXPECT_EQ(files.read(second_file), second_of("a\r\nX"));
}

TEST(FailedWrite, OfTheSecondFileLeavesTheFirstAsItIs) {
    ListFiles files;
    files.put(queries_file, "a long old content");
    failing_write = 1;
    type(query, "a");
    EXPECT_EQ(files.read(queries_file), "a long old content");
    EXPECT_EQ(files.names(), "saved_queries.txt");
}

#ifdef _WIN32
// Another program has a file open: a scanner, an indexer.
class HeldFile {
public:
    HeldFile(const ListFiles &files, const std::string &name, DWORD share_mode)
        : handle(CreateFileW(files.tree.native(name).c_str(), GENERIC_READ, share_mode, nullptr,
                             OPEN_EXISTING, 0, nullptr)) {
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
    ListFiles files;
    files.put(queries_file, "abc\r\nfoo");
    {
        HeldFile held(files, queries_file, FILE_SHARE_READ | FILE_SHARE_WRITE);
        type(query, "ab");
        EXPECT_EQ(files.read(queries_file), "abc\r\nfoo"); // no mixture of both
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
    type(query, "a");
    EXPECT_EQ(files.read(queries_file), "a");
    EXPECT_EQ(files.names(), "saved_queries.txt");
}

TEST(FailedWrite, OfFilesThatAnotherProgramSharesWithNobodyLosesNothing) {
    for (const std::string &name : {queries_file, second_file}) {
        ListFiles files;
        files.put(queries_file, "abc\r\nfoo");
        EXPECT_EQ(files.started(), "abc: foo");
        files.put(name, files.read(name).value_or("of another program"));
        {
            HeldFile held(files, name, 0);
            type(query, "ab");
        }
        // Whichever of the two could be written has the list.
        std::string state = files.started();
        EXPECT_TRUE(state == "abc: foo" || state == "ab: foo") << state;
        type(query, "a");
        EXPECT_EQ(files.read(queries_file), "a\r\nfoo");
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
}

TEST(FailedWrite, OfASecondFileThatIsHeldOpenWhileItIsDeletedLosesNothing) {
    ListFiles files;
    files.put(queries_file, "abc\r\nfoo");
    files.put(second_file, "torn");
    {
        HeldFile held(files, second_file, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
        type(query, "ab");
        Bytes first = files.read(queries_file);
        EXPECT_TRUE(first == "abc\r\nfoo" || first == "ab");
    }
    type(query, "a");
    EXPECT_EQ(files.read(queries_file), "a");
}
#endif

TEST(FailedWrite, InAFolderThatIsNotThereIsIgnored) {
    ListFiles files;
    std::string missing = files.tree.path("missing") + "/";
    saved_folder = str_over(missing);
    type(query, "a");
    EXPECT_EQ(files.started(), ": ");
    EXPECT_EQ(files.names(), "");
}

TEST(SavedFiles, AreWrittenInTheLongestFolderInWhichTheyCanBeRead) {
    ListFiles files;
#ifdef _WIN32
    constexpr size_t longest_path = 259; // units, of which the test's path has as many as bytes
#else
    constexpr size_t longest_path = PATH_MAX - 1;
#endif
    size_t folder_size = longest_path - queries_file.size();
    std::string deep = files.folder;
    while (deep.size() + 200 < folder_size) {
        deep += std::string(99, 'x') + "/";
    }
    deep += std::string(folder_size - deep.size() - 1, 'y') + "/";
    fs::create_directories(std::filesystem::path(deep));
    saved_folder = str_over(deep);
    type(query, "a");
    type(query, "b");
    EXPECT_EQ(files.started(), ": b");
}

#ifndef _WIN32
TEST(FailedWrite, WithoutRoomOnTheDiskLeavesTheOldList) {
    ListFiles files;
    files.put(queries_file, "a\r\nX");
    {
        struct sigaction ignore = {}, before;
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGXFSZ, &ignore, &before);
        rlimit limit;
        getrlimit(RLIMIT_FSIZE, &limit);
        rlimit small = {20, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        set_field(query, "a text of more than twenty bytes");
        saved_list_write(query);
        setrlimit(RLIMIT_FSIZE, &limit);
        sigaction(SIGXFSZ, &before, nullptr);
    }
    EXPECT_EQ(files.read(queries_file), "a\r\nX");
    EXPECT_EQ(files.names(), "saved_queries.txt");
}
#endif

// ---- Many entries ----

TEST(SavedFiles, AHundredThousandEntriesAreLoadedAddedToRemovedFromWrittenAndReadBack) {
    ListFiles files;
    constexpr uint64_t count = 100000;
    std::string bytes = "text";
    for (uint64_t i = 0; i < count; i++) {
        bytes += "\r\nentry " + std::to_string(i);
    }
    files.put(queries_file, bytes);
    set_field(query, "");
    saved_list_load(query, 1);
    ASSERT_EQ(query_field.entries.count, count);
    EXPECT_EQ(text_of(*query), "text");
    EXPECT_EQ(to_string(saved_entry_text(saved_entry_at(&query_field.entries, count - 1))), "entry 99999");

    add("one more");
    EXPECT_EQ(query_field.is_saved, 1);
    for (uint64_t row : {uint64_t{0}, uint64_t{50000}, count}) {
        saved_entry_flip(query, row);
    }
    EXPECT_EQ(query_field.is_saved, 0);
    saved_entry_flip(query, count);
    EXPECT_EQ(query_field.is_saved, 1);

    std::string expected = "one more";
    for (uint64_t i = 1; i < count; i++) {
        expected += i == 50000 ? "" : "\r\nentry " + std::to_string(i);
    }
    expected += "\r\none more";
    EXPECT_TRUE(files.read(queries_file) == expected); // too long to be shown
    EXPECT_EQ(files.names(), "saved_queries.txt");

    empty_list(&query_field.entries);
    set_field(query, "");
    saved_list_load(query, 1);
    EXPECT_EQ(query_field.entries.count, count - 1);
    EXPECT_EQ(text_of(*query), "one more");
    saved_list_write(query);
    EXPECT_TRUE(files.read(queries_file) == expected);
}

// ---- Many changes ----

TEST(SavedFilesModel, RandomChangesLeaveWhatAPlainListWouldWrite) {
    struct PlainEntry {
        std::string text;
        bool live;
    };
    ListFiles files;
    std::vector<PlainEntry> entries;
    std::string text;
    bool marked = false;
    Bytes on_disk;
    std::mt19937 random(20264);
    const auto mark = [&] {
        marked = false;
        for (const PlainEntry &entry : entries) {
            marked = marked || (entry.live && entry.text == text);
        }
    };
    const auto write = [&] {
        std::string bytes = text;
        for (const PlainEntry &entry : entries) {
            bytes += entry.live ? "\r\n" + entry.text : "";
        }
        on_disk = bytes;
    };
    int deleted = 0;
    const auto save = [&] {
        std::vector<size_t> removed;
        std::optional<size_t> same;
        bool removed_same = false;
        for (size_t i = 0; i < entries.size(); i++) {
            if (!entries[i].live) {
                removed.push_back(i);
            }
            if (entries[i].text == text) {
                same = same ? same : i;
                removed_same = removed_same || !entries[i].live;
            }
        }
        if (marked) {
            if (!removed_same) {
                return;
            }
        } else if (text.empty()) {
            return;
        } else if (same) {
            entries[*same].live = true;
            return;
        } else {
            if (removed.size() > 20) {
                deleted++;
                entries.erase(entries.begin() + static_cast<ptrdiff_t>(removed[0]));
            }
            entries.push_back({text, true});
        }
        write();
        mark();
    };
    for (int i = 0; i < 600; i++) {
        switch (random() % 4) {
        case 0:
            text = random() % 20 ? "t" + std::to_string(random() % 300) : "";
            type(query, text);
            mark();
            write();
            break;
        case 1:
            saved_list_save(query, query);
            save();
            break;
        default:
            if (!entries.empty()) {
                size_t row = random() % entries.size();
                if (!entries[row].live && random() % 8 != 0) {
                    break; // mostly live ones are removed
                }
                saved_entry_flip(query, row);
                entries[row].live = !entries[row].live;
                write();
                mark();
            }
        }
        std::string expected;
        for (size_t row = 0; row < entries.size(); row++) {
            expected += (row > 0 ? "|" : "") +
                        (entries[row].live ? entries[row].text : "(" + entries[row].text + ")");
        }
        ASSERT_EQ(entries_of(query_field.entries), expected) << i;
        ASSERT_EQ(query_field.is_saved, marked) << i;
        ASSERT_EQ(files.read(queries_file), on_disk) << i;
    }
    EXPECT_GT(deleted, 10); // more than 20 removed entries were reached, and one deleted for good
}
