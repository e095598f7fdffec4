// The files of the saved lists on disk, after each change and after a kill.

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

#ifndef _WIN32
#include <limits.h>
#endif

namespace fs = std::filesystem;

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

const std::string paths_file = "saved_paths.txt";
const std::string queries_file = "saved_queries.txt";
const std::string second_file = "saved_queries.new";

using Bytes = std::optional<std::string>; // of a file; none when it is missing

// A folder with the lists' files.
class ListFiles : public TestTree, public SavedListsScope {
public:
    ListFiles() : saved_files_folder(path() + "/") {
        saved_folder = str_over(saved_files_folder);
    }

    // The state after a start with these two files of queries and an empty field: "text: entries".
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

    std::string saved_files_folder;
};

// The bytes of a second file for that content.
std::string second_of(const std::string &content) {
    uint64_t length = content.size();
    std::string bytes(8, 0);
    memcpy(bytes.data(), &length, 8);
    return bytes + content;
}

// The text and entries that are loaded from that content.
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

TEST(SavedFiles, AreNotWrittenWhenARemovedEntryComesBack) {
    ListFiles files;
    add("foo");
    saved_entry_flip(query, 0);
    saved_list_save(query, query);
    EXPECT_EQ(entries_of(query_field.entries), "foo");
    EXPECT_EQ(files.read(queries_file), "foo");
    type(query, "bar"); // written with the next change
    EXPECT_EQ(files.read(queries_file), "bar\r\nfoo");
}

TEST(SavedFiles, AreRewrittenForAMarkedTextOnlyWhenARemovedEntryEqualsIt) {
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

TEST(SavedFiles, OfATextWithoutEntriesComeBackAsAnEntry) {
    ListFiles files;
    type(query, "foo");
    EXPECT_EQ(files.started(), ": foo");
}

TEST(SavedFiles, AreNotUsedWithoutAFolder) {
    ListFiles files;
    saved_folder = {};
    fs::path before = fs::current_path();
    fs::current_path(files.native("")); // no files in the current folder either
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

TEST(SavedFiles, UnreadableOnesCountAsMissing) {
    ListFiles files;
    files.put(queries_file, "foo\r\nbar");
    Unreadable unreadable(files.native(queries_file));
    EXPECT_EQ(files.started(), ": ");
}

TEST(SavedFiles, ThatCouldNotBeReadAreReadBeforeTheyAreReplaced) {
    for (const std::string &unread : {queries_file, second_file}) {
        ListFiles files;
        files.put(unread, unread == second_file ? second_of("foo\r\nbar") : "foo\r\nbar");
        {
            Unreadable unreadable(files.native(unread));
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
        EXPECT_EQ(text_of(*query), "typed2"); // text typed since stays
    }
}

TEST(SavedFiles, ThatCannotBeReadAtAllAreNotReplaced) {
    for (const std::string &unread : {queries_file, second_file}) {
        ListFiles files;
        files.put(queries_file, "foo\r\nbar");
        files.put(second_file, unread == second_file ? Bytes(second_of("foo\r\nbar")) : std::nullopt);
        fs::permissions(files.native(""), fs::perms::all); // the file could be deleted
        {
            Unreadable unreadable(files.native(unread));
            files.started();
            set_field(query, "typed");
            saved_list_write(query);
        }
        EXPECT_EQ(files.read(queries_file).value_or("none"), "foo\r\nbar") << unread;
    }
}

TEST(SavedFiles, HoldTheOldOrTheNewListWhicheverAllocationFails) {
    ListFiles files;
    set_field(query, "foo");
    std::string entries = "\n" + std::string(30000, 'x') + "\nbar";
    saved_list_load_contents(query, str_over(entries), 0);
    std::string whole = "foo\r\n" + std::string(30000, 'x') + "\r\nbar";
    int old_ones = 0;
    for (uint64_t failing = 0, count = 0; failing <= count; failing++) {
        files.put(queries_file, "old");
        {
            FailingAllocation allocations(failing);
            saved_list_write(query);
            count = allocations.sizes.size();
        }
        std::string now = files.read(queries_file).value_or("none");
        EXPECT_TRUE(now == "old" || now == whole) << failing;
        old_ones += now == "old";
        EXPECT_EQ(files.names(), "saved_queries.txt");
    }
    EXPECT_EQ(old_ones, 2); // without the buffer, and without its growth
}

TEST(SavedFiles, LoseNothingWhicheverAllocationFailsInALoad) {
    ListFiles files;
    std::string old_state = state_of(files, "foo\r\nbar");
    for (uint64_t failing = 0, count = 0; failing <= count; failing++) {
        files.put(queries_file, "fo");
        files.put(second_file, second_of("foo\r\nbar"));
        std::string state;
        {
            FailingAllocation allocations(failing);
            state = files.started();
            count = allocations.sizes.size();
        }
        EXPECT_TRUE(state == old_state || state == "foo: " || state == ": " || state == ": fo") << state;
        // The file stays, whichever allocation has failed.
        EXPECT_TRUE(files.read(queries_file).has_value()) << failing;
    }
}

// ---- A program that is killed while it writes ----

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

TEST(KilledWrite, AFinishedWriteKeepsBackslashes) {
    ListFiles files;
    EXPECT_EQ(files.started_with(std::nullopt, second_of("a\\b\r\nc")), "a/b: c");
    EXPECT_EQ(files.read(queries_file), "a\\b\r\nc");
}

TEST(KilledWrite, TheSecondFileOfVersion095IsFinishedToo) {
    ListFiles files;
    files.put("saved_paths.txt.new", second_of("C:/a\r\nC:/b"));
    files.put("saved_queries.txt.new", second_of("a\r\nX"));
    saved_list_load(path, 1);
    EXPECT_EQ(files.started(), "a: X");
    EXPECT_EQ(files.names(), "saved_paths.txt saved_queries.txt");
}

// ---- Folders ----

TEST(SavedFiles, InAFolderThatIsNotThereAreIgnored) {
    ListFiles files;
    std::string missing = files.path("missing") + "/";
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
    std::string deep = files.saved_files_folder;
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
    EXPECT_TRUE(files.read(queries_file) == expected); // too long to print
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
    EXPECT_GT(deleted, 10); // with more than 20 removed entries, one is deleted for good
}
