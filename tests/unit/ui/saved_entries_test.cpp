#include "ui/saved_entries.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "render/font_scope.h"
#include "support/heap_hook.h"
#include "ui/saved_lists_scope.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

// The state of a field with the text "old" and no entries after loading a file's bytes: "text: entries".
std::string loaded(Field *field, const std::string &file, bool restore_text = true) {
    empty_list(&field->entries);
    set_field(field, "old");
    std::vector<char> bytes(file.begin(), file.end()); // without a zero after them
    saved_list_load_contents(field, {bytes.size(), bytes.data()}, restore_text);
    return text_of(*field) + ": " + entries_of(field->entries);
}

std::string contents(const Field *field) {
    StrBuf out;
    strbuf_init(&out, 16);
    EXPECT_TRUE(saved_list_contents(field, &out));
    std::string bytes = to_string(strbuf_text(&out));
    os_free(out.data);
    return bytes;
}

std::vector<std::string> removed_entries(int count) {
    std::vector<std::string> entries;
    for (int i = 1; i <= count; i++) {
        entries.push_back("(r" + std::to_string(i) + ")");
    }
    return entries;
}

} // namespace

// ---- Entries ----

TEST(SavedEntries, OwnACopyWhoseCapacityIsEightOrAPowerOfTwoFrom16) {
    SavedListsScope lists;
    const std::vector<std::pair<size_t, uint64_t>> capacities = {{1, 8},   {7, 8},    {8, 8},      {9, 16},
                                                                 {16, 16}, {17, 32},  {32, 32},    {33, 64},
                                                                 {64, 64}, {65, 128}, {1000, 1024}};
    for (const auto &[length, capacity] : capacities) {
        std::vector<uint64_t> sizes;
        std::string file = "\n" + std::string(length, 'x');
        {
            HeapHookScope hook([&](uint64_t size) {
                sizes.push_back(size);
                return true;
            });
            saved_list_load_contents(query, str_over(file), 0);
        }
        EXPECT_EQ(sizes, std::vector<uint64_t>{capacity + 1});
        const SavedEntry *entry = saved_entry_at(&query_field.entries, query_field.entries.count - 1);
        EXPECT_EQ(entry->in_use, 1u);
        EXPECT_EQ(entry->length, length);
        EXPECT_EQ(entry->capacity, capacity);
        EXPECT_EQ(entry->text[length], 0);
        EXPECT_EQ(to_string(saved_entry_text(entry)), std::string(length, 'x'));
    }
}

TEST(SavedEntries, WithoutMemoryForItsTextOneIsEmptyKeptAndWrittenAsAnEmptyLine) {
    SavedListsScope lists;
    std::string file = "\na\nb\nc\n";
    {
        FailingAllocation second(1);
        saved_list_load_contents(query, str_over(file), 0);
    }
    EXPECT_EQ(entries_of(query_field.entries), "a||c");
    const SavedEntry *entry = saved_entry_at(&query_field.entries, 1);
    EXPECT_EQ(entry->in_use, 1u);
    EXPECT_EQ(entry->length, 0u);
    EXPECT_EQ(entry->text, nullptr);
    EXPECT_EQ(entry->capacity, 0u);
    set_field(query, "q");
    EXPECT_EQ(contents(query), "q\r\na\r\n\r\nc");
}

TEST(SavedEntries, TheListDoublesUpTo32768AndStepsBy1048576FromThere) {
    SavedListsScope lists;
    std::string file = "\n";
    for (int i = 0; i < 32769; i++) {
        file += "x\n";
    }
    std::vector<uint64_t> list_sizes;
    {
        HeapHookScope hook([&](uint64_t size) {
            if (size != 9) {
                list_sizes.push_back(size / sizeof(SavedEntry));
            }
            return true;
        });
        saved_list_load_contents(query, str_over(file), 0);
    }
    EXPECT_EQ(list_sizes,
              (std::vector<uint64_t>{256, 512, 1024, 2048, 4096, 8192, 16384, 32768, 32768 + 1048576}));
    EXPECT_EQ(query_field.entries.count, 32769u);
}

TEST(SavedEntries, AListThatCannotGrowIsEmptied) {
    SavedListsScope lists;
    LeakScope texts_stay;
    std::string file = "\n";
    for (int i = 0; i < 130; i++) { // the 129th empties the list, and the 130th is ignored
        file += "x\n";
    }
    {
        HeapHookScope hook([&](uint64_t size) { return size == 9; });
        saved_list_load_contents(query, str_over(file), 0);
    }
    EXPECT_EQ(query_field.entries.count, 0u);
    EXPECT_EQ(query_field.entries.capacity, 0u);
    EXPECT_EQ(query_field.entries.data, nullptr);
    set_field(query, "q");
    EXPECT_EQ(contents(query), "q"); // which shows in the contents
    saved_mark_update(query);
    EXPECT_EQ(query_field.is_saved, 0);
}

TEST(SavedEntries, EachFieldHasItsOwn) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, "\na"), "old: a");
    EXPECT_EQ(loaded(query, "\nb"), "old: b");
    EXPECT_EQ(entries_of(path_field.entries), "a");
    set_field(path, "a");
    saved_mark_update(nullptr); // no field has the focus
    EXPECT_EQ(path_field.is_saved, 0);
    saved_mark_update(path);
    EXPECT_EQ(path_field.is_saved, 1);
    EXPECT_EQ(query_field.is_saved, 0);
}

TEST(SavedEntries, AreFoundByTheirBytesAndState) {
    SavedListsScope lists;
    set_entries(query, {"(a)", "ab", "a", "(ab)", "A"});
    const auto row_of = [](const char *text, SavedEntryState state) {
        const SavedEntry *entry = saved_list_find(&query_field.entries, str_from(text), state);
        return entry ? static_cast<int>(entry - saved_entry_at(&query_field.entries, 0)) : -1;
    };
    EXPECT_EQ(row_of("a", SAVED_ANY), 0);
    EXPECT_EQ(row_of("a", SAVED_LIVE), 2);
    EXPECT_EQ(row_of("a", SAVED_REMOVED), 0);
    EXPECT_EQ(row_of("ab", SAVED_ANY), 1);
    EXPECT_EQ(row_of("ab", SAVED_REMOVED), 3);
    EXPECT_EQ(row_of("A", SAVED_REMOVED), -1);
    EXPECT_EQ(row_of("abc", SAVED_ANY), -1);
    EXPECT_EQ(row_of("", SAVED_ANY), -1);
}

// ---- Loading ----

TEST(SavedListLoading, TheFirstLineIsTheTextTheLaterOnesAreEntries) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, "C:\\src\r\nD:\\a\\b\\\r\nE:\\x"), "C:/src: D:/a/b/|E:/x");
    EXPECT_EQ(loaded(query, "foo\r\nbar\r\nbaz\r\n"), "foo: bar|baz");
    EXPECT_EQ(loaded(query, "foo\nbar\nbaz"), "foo: bar|baz");
    EXPECT_EQ(loaded(query, "foo\n"), "foo: ");
}

TEST(SavedListLoading, TheFirstLineNeverBecomesAnEntryEvenWhenTheTextIsNotRestored) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "foo\r\nbar\r\n", false), "old: bar");
    EXPECT_EQ(loaded(path, "C:/a\r\nD:/b\r\n", false), "old: D:/b");
    EXPECT_EQ(loaded(query, "foo\r\n", false), "old: ");
}

TEST(SavedListLoading, AFileOfOneUnterminatedLineIsAnEntry) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "abc"), "old: abc");
    EXPECT_EQ(loaded(path, "abc"), "old: abc");
}

TEST(SavedListLoading, AnEmptyFirstLineLeavesTheField) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "\r\nbar"), "old: bar");
    EXPECT_EQ(loaded(query, "\nbar"), "old: bar");
    EXPECT_EQ(loaded(path, "\r\n"), "old: ");
}

TEST(SavedListLoading, AnEmptyFileChangesNothing) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, ""), "old: ");
    saved_list_load_contents(path, {}, 1);
    EXPECT_EQ(text_of(*path), "old");
}

TEST(SavedListLoading, LaterLinesOfPathsAreCleanedAndEmptyOnesSkipped) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, "x\n  \"D:/x\" \r\nD:\\y\\\\ \n \" \" \n\n\r\nE:/\n"), "x: D:/x|D:/y//|E:/");
    // Queries are not cleaned.
    EXPECT_EQ(loaded(query, "x\n  \"D\" \r\n \n\n\r\n\t\n"), "x:   \"D\" | |\t");
}

TEST(SavedListLoading, TheFirstLineOfPathsIsNotCleaned) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, " \"D:\\x\" \t\r\n"), " \"D:/x\" \t: ");
    EXPECT_EQ(loaded(path, "  \n"), "  : ");
}

TEST(SavedListLoading, AnUnterminatedLastLineBecomesAnEntryVerbatim) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, "x\n \"D:\\y\" \r"), "x:  \"D:/y\" \r");
    EXPECT_EQ(loaded(query, "x\n\r"), "x: \r");
    EXPECT_EQ(loaded(path, "x\n "), "x:  ");
    EXPECT_EQ(loaded(path, "a\rb\rc"), "old: a\rb\rc"); // a lone carriage return does not end a line
}

TEST(SavedListLoading, OneCarriageReturnBeforeALineFeedIsDropped) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "a\r\r\nb\r\r\nc\rd\r\n"), "a\r: b\r|c\rd");
    EXPECT_EQ(loaded(path, "a\nb\r\r\nc\rd\r\n"), "a: b|c d");
}

TEST(SavedListLoading, BackslashesBecomeSlashesInQueriesToo) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "a\\b\r\nc\\d\r\n\\e"), "a/b: c/d|/e");
}

TEST(SavedListLoading, DuplicatesAreKept) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(query, "a\nb\nb\na\nb"), "a: b|b|a|b");
}

TEST(SavedListLoading, AByteOrderMarkAndZeroBytesAreBytesLikeOthers) {
    SavedListsScope lists;
    EXPECT_EQ(loaded(path, "\xEF\xBB\xBF"
                           "C:\\a\r\n\xEF\xBB\xBF"
                           "b\r\n"),
              "\xEF\xBB\xBF"
              "C:/a: \xEF\xBB\xBF"
              "b");
    EXPECT_EQ(loaded(query, std::string("a\0b\r\n\0\r\n\0", 9)), std::string("a\0b: \0|\0", 8));
    EXPECT_EQ(search_state.query.data[3], 0);
}

TEST(SavedListLoading, ALongFirstLineGrowsTheFieldAndStaysOutWithoutMemoryForIt) {
    SavedListsScope lists;
    std::string line(5000, 'x');
    EXPECT_EQ(loaded(query, line + "\nb"), line + ": b");
    os_free(query->text->data);
    strbuf_init(query->text, 1024);
    HeapHookScope hook([](uint64_t size) { return size < 1000; });
    EXPECT_EQ(loaded(query, line + "\nb"), "old: b");
}

TEST(SavedListLoading, TenMegabytesOfGarbageAreLoadedLineByLine) {
    SavedListsScope lists;
    std::mt19937 random(11);
    std::string garbage(10000000, 0);
    for (char &byte : garbage) {
        byte = static_cast<char>(random());
    }
    size_t lines = 0;
    size_t start = garbage.find('\n') + 1;
    for (size_t end; (end = garbage.find('\n', start)) != std::string::npos; start = end + 1) {
        bool empty = end == start || (end == start + 1 && garbage[start] == '\r');
        lines += empty ? 0 : 1;
    }
    loaded(query, garbage);
    EXPECT_EQ(query_field.entries.count, lines + (start < garbage.size() ? 1 : 0));
    std::string long_line(10000000, 'x');
    loaded(query, long_line);
    EXPECT_EQ(query_field.entries.count, 1u);
    EXPECT_EQ(saved_entry_at(&query_field.entries, 0)->length, 10000000u);
    EXPECT_EQ(saved_entry_at(&query_field.entries, 0)->capacity, 16777216u);
}

// ---- Contents ----

TEST(SavedListContents, AreTheTextAndTheLiveEntriesWithCrLfBetweenThem) {
    SavedListsScope lists;
    set_entries(path, {"D:/a/", "(gone)", "E:/x"});
    set_field(path, "C:/src");
    EXPECT_EQ(contents(path), "C:/src\r\nD:/a/\r\nE:/x");
    set_field(path, "");
    EXPECT_EQ(contents(path), "\r\nD:/a/\r\nE:/x");
    set_field(query, "foo");
    EXPECT_EQ(contents(query), "foo"); // of its own list
}

TEST(SavedListContents, WithOnlyRemovedEntriesAreTheTextWithoutALineEnd) {
    SavedListsScope lists;
    set_entries(query, {"(a)", "(b)"});
    set_field(query, "foo");
    EXPECT_EQ(contents(query), "foo");
    set_field(query, "");
    EXPECT_EQ(contents(query), "");
}

TEST(SavedListContents, ALineFeedInATextLoadsAsFurtherEntries) {
    SavedListsScope lists;
    set_entries(query, {"e"});
    set_field(query, "a\nb");
    EXPECT_EQ(contents(query), "a\nb\r\ne");
    EXPECT_EQ(loaded(query, contents(query)), "a: b|e");
}

TEST(SavedListContents, AreIncompleteWithoutMemory) {
    SavedListsScope lists;
    set_entries(query, {"first", "second"});
    set_field(query, "foo");
    for (uint64_t capacity = 0; capacity < 18; capacity++) {
        StrBuf out;
        strbuf_init(&out, capacity);
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(saved_list_contents(query, &out), capacity >= strlen("foo\r\nfirst\r\nsecond"));
        os_free(out.data);
    }
    StrBuf without_storage = {};
    EXPECT_FALSE(saved_list_contents(query, &without_storage));
}

namespace {

std::string without_cr(std::string line) {
    return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

// Trims both ends of a path, byte by byte.
std::string plainly_cleaned(std::string line) {
    for (char &byte : line) {
        byte = std::string("\n\r\t\"").find(byte) != std::string::npos ? ' ' : byte;
    }
    while (!line.empty() && line.front() == ' ') {
        line.erase(0, 1);
    }
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

// What loaded() has to return, by a plain reader.
std::string plainly_loaded(bool is_path, std::string file, bool restore_text) {
    for (char &byte : file) {
        byte = byte == '\\' ? '/' : byte;
    }
    std::string text = "old";
    std::string entries;
    auto add = [&entries, count = 0](const std::string &entry) mutable {
        entries += (count++ > 0 ? "|" : "") + entry;
    };
    for (int row = 0; !file.empty(); row++) {
        size_t end = file.find('\n');
        if (end == std::string::npos) {
            add(file);
            break;
        }
        std::string line = without_cr(file.substr(0, end));
        file.erase(0, end + 1);
        if (row == 0) {
            text = restore_text && !line.empty() ? line : text;
            continue;
        }
        line = is_path ? plainly_cleaned(line) : line;
        if (!line.empty()) {
            add(line);
        }
    }
    return text + ": " + entries;
}

} // namespace

TEST(SavedListModel, RandomFilesMatchThePlainReadingAndReloadAfterSaving) {
    SavedListsScope lists;
    static const std::string bytes = std::string("\n\n\r\n\t \"\\/abC:\xC3\xA4") + '\0';
    std::mt19937 random(20263);
    for (int i = 0; i < 20000; i++) {
        std::string file;
        for (unsigned count = static_cast<unsigned>(random() % 30); count > 0; count--) {
            file += bytes[random() % bytes.size()];
        }
        Field *field = random() % 2 ? path : query;
        bool restore_text = random() % 4;
        std::string state = loaded(field, file, restore_text);
        ASSERT_EQ(state, plainly_loaded(field == path, file, restore_text)) << testing::PrintToString(file);
        // What is then written loads as the plain reader loads it, too.
        std::string written = contents(field);
        std::string expected = text_of(*field);
        const DynArray *list = &field->entries;
        for (uint64_t row = 0; row < list->count; row++) {
            expected += "\r\n" + to_string(saved_entry_text(saved_entry_at(list, row)));
        }
        ASSERT_EQ(written, expected);
        ASSERT_EQ(loaded(field, written), plainly_loaded(field == path, written, true));
    }
}

// ---- The mark ----

TEST(SavedMark, IsSetWhenALiveEntryHoldsTheSameBytes) {
    SavedListsScope lists;
    set_entries(query, {"(foo)", "bar", "foo bar"});
    const auto mark_of = [](const std::string &text) {
        set_field(query, text);
        saved_mark_update(query);
        EXPECT_EQ(text_of(*query), text); // a query is not cleaned
        return static_cast<int>(query_field.is_saved);
    };
    EXPECT_EQ(mark_of("bar"), 1);
    EXPECT_EQ(mark_of("foo"), 0); // removed
    EXPECT_EQ(mark_of("foo bar"), 1);
    EXPECT_EQ(mark_of("Bar"), 0);
    EXPECT_EQ(mark_of("bar "), 0);
    EXPECT_EQ(mark_of("ba"), 0);
    EXPECT_EQ(mark_of(""), 0);
    EXPECT_EQ(path_field.is_saved, 0);
}

TEST(SavedMark, ConcernsTheFocusedFieldOnly) {
    SavedListsScope lists;
    set_entries(path, {"D:/x"});
    set_entries(query, {"foo"});
    set_field(path, " D:/x ");
    set_field(query, "foo");
    saved_mark_update(query);
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(path_field.is_saved, 0);
    EXPECT_EQ(text_of(*path), " D:/x ");
    set_field(query, "fo");
    saved_mark_update(path);
    EXPECT_EQ(path_field.is_saved, 1);
    EXPECT_EQ(query_field.is_saved, 1); // as it was
}

TEST(SavedMark, CleansThePathInPlace) {
    SavedListsScope lists;
    set_entries(path, {"C:/Program", "C:/x/"});
    set_field(path, "C:/Program ");
    saved_mark_update(path);
    EXPECT_EQ(text_of(*path), "C:/Program"); // a space typed at the end is removed at once
    EXPECT_EQ(path_field.is_saved, 1);
    set_field(path, "\"C:\\x\\\"");
    saved_mark_update(path);
    EXPECT_EQ(text_of(*path), "C:/x/"); // slashes at the end stay
    EXPECT_EQ(path_field.is_saved, 1);
    set_field(path, "C:/x");
    saved_mark_update(path);
    EXPECT_EQ(path_field.is_saved, 0);
}

// ---- The save button ----

namespace {

// The list after saving a marked or unmarked text of the focused field.
std::string saved(Field *field, const std::string &text, bool marked = false) {
    set_field(field, text);
    (field == path ? path_field.is_saved : query_field.is_saved) = marked;
    saved_list_save(field, field);
    return entries_of(field->entries);
}

} // namespace

TEST(Saving, AppendsTheTextAndSetsTheMark) {
    SavedListsScope lists;
    EXPECT_EQ(saved(query, "foo"), "foo");
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(saved(query, "Foo \t"), "foo|Foo \t"); // verbatim
    EXPECT_EQ(saved(query, "a\\b"), "foo|Foo \t|a\\b");
    EXPECT_EQ(path_field.entries.count, 0u);
}

TEST(Saving, CleansAPathFirst) {
    SavedListsScope lists;
    EXPECT_EQ(saved(path, " \"D:\\x\\\" "), "D:/x/");
    EXPECT_EQ(text_of(*path), "D:/x/");
    EXPECT_EQ(path_field.is_saved, 1);
    EXPECT_EQ(saved(path, "D:\\x\\ "), "D:/x/");
}

TEST(Saving, AnEmptyTextSavesNothing) {
    SavedListsScope lists;
    EXPECT_EQ(saved(query, ""), "");
    EXPECT_EQ(saved(path, ""), "");
    EXPECT_EQ(saved(path, " \" "), ""); // cleaning leaves nothing
    EXPECT_EQ(path_field.is_saved, 0);
}

TEST(Saving, BringsBackARemovedEntryWithoutMarkingIt) {
    SavedListsScope lists;
    set_entries(query, {"a", "(foo)", "b", "(foo)"});
    EXPECT_EQ(saved(query, "foo"), "a|foo|b|(foo)"); // the first one; nothing is appended
    EXPECT_EQ(query_field.is_saved, 0);
    saved_mark_update(query);
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(Saving, ALiveEntryThatTheMarkDoesNotKnowStays) {
    SavedListsScope lists;
    set_entries(query, {"foo", "(foo)"});
    EXPECT_EQ(saved(query, "foo"), "foo|(foo)");
    EXPECT_EQ(query_field.is_saved, 0);
}

TEST(Saving, AMarkedTextChangesNoEntry) {
    SavedListsScope lists;
    set_entries(query, {"foo", "(bar)"});
    EXPECT_EQ(saved(query, "foo", true), "foo|(bar)");
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(saved(query, "new", true), "foo|(bar)"); // whatever the text
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(Saving, AMarkedTextThatARemovedEntryEqualsUpdatesTheMark) {
    SavedListsScope lists;
    set_entries(query, {"(foo)"});
    EXPECT_EQ(saved(query, "foo", true), "(foo)");
    EXPECT_EQ(query_field.is_saved, 0);
    set_entries(query, {"(foo)", "foo"});
    EXPECT_EQ(saved(query, "foo", true), "(foo)|foo");
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(Saving, OnTheFieldWithoutFocusLeavesItUnmarked) {
    SavedListsScope lists;
    set_field(path, "D:/x");
    set_field(query, "foo");
    set_entries(query, {"foo"});
    saved_list_save(path, query);
    EXPECT_EQ(entries_of(path_field.entries), "D:/x");
    EXPECT_EQ(path_field.is_saved, 0);
    EXPECT_EQ(query_field.is_saved, 1); // the focused field's mark
    query_field.is_saved = 0;
    set_field(path, "D:/y");
    saved_list_save(path, nullptr);
    EXPECT_EQ(entries_of(path_field.entries), "D:/x|D:/y");
    EXPECT_EQ(query_field.is_saved, 0);
}

TEST(Saving, DeletesTheFirstRemovedEntryForGoodWhenMoreThan20AreRemoved) {
    SavedListsScope lists;
    std::vector<std::string> entries = removed_entries(21);
    entries.insert(entries.begin(), "live");
    entries.push_back("last");
    set_entries(query, entries);
    std::string result = saved(query, "new");
    EXPECT_EQ(result.substr(0, 15), "live|(r2)|(r3)|");
    EXPECT_EQ(result.substr(result.size() - 14), "(r21)|last|new");
    EXPECT_EQ(query_field.entries.count, 23u);
    // One per save, and none once there are 20.
    saved(query, "newer");
    EXPECT_EQ(query_field.entries.count, 24u);
    // Before the new entry needs room.
    entries = removed_entries(21);
    entries.resize(128, "live");
    set_entries(query, entries);
    saved(query, "new");
    EXPECT_EQ(query_field.entries.count, 128u);
    EXPECT_EQ(query_field.entries.capacity, 128u);
}

TEST(Saving, KeepsTwentyRemovedEntriesAndDeletesOnlyOneASave) {
    SavedListsScope lists;
    set_entries(query, removed_entries(20));
    EXPECT_EQ(saved(query, "new").substr(0, 10), "(r1)|(r2)|");
    set_entries(query, removed_entries(30));
    EXPECT_EQ(saved(query, "new").substr(0, 10), "(r2)|(r3)|");
    EXPECT_EQ(query_field.entries.count, 30u);
    EXPECT_EQ(saved(query, "newer").substr(0, 10), "(r3)|(r4)|");
    EXPECT_EQ(query_field.entries.count, 30u);
}

TEST(Saving, BringsAnEntryBackBeforeAnythingIsDeleted) {
    SavedListsScope lists;
    set_entries(query, removed_entries(25));
    EXPECT_EQ(saved(query, "r1").substr(0, 8), "r1|(r2)|");
    EXPECT_EQ(query_field.entries.count, 25u);
}

TEST(Saving, WithoutMemoryForTheTextAddsAnEmptyEntry) {
    SavedListsScope lists;
    set_field(query, "foo");
    {
        HeapHookScope hook([](uint64_t) { return false; });
        saved_list_save(query, query);
    }
    EXPECT_EQ(query_field.entries.count, 1u);
    EXPECT_EQ(saved_entry_at(&query_field.entries, 0)->text, nullptr);
    EXPECT_EQ(query_field.is_saved, 0);
    EXPECT_EQ(saved(query, "foo"), "|foo");
}

TEST(Saving, TheEntryIsACopy) {
    SavedListsScope lists;
    EXPECT_EQ(saved(query, "foo"), "foo");
    set_field(query, "bar");
    EXPECT_EQ(entries_of(query_field.entries), "foo");
}

// ---- The drop-down's button ----

TEST(Flipping, TurnsALiveEntryIntoARemovedOneAndBack) {
    SavedListsScope lists;
    set_entries(query, {"a", "foo", "(b)"});
    set_field(query, "foo");
    saved_mark_update(query);
    EXPECT_EQ(query_field.is_saved, 1);
    saved_entry_flip(query, 1);
    EXPECT_EQ(entries_of(query_field.entries), "a|(foo)|(b)"); // it keeps its slot
    EXPECT_EQ(query_field.is_saved, 0);
    saved_entry_flip(query, 1);
    EXPECT_EQ(entries_of(query_field.entries), "a|foo|(b)");
    EXPECT_EQ(query_field.is_saved, 1);
    saved_entry_flip(query, 2);
    saved_entry_at(&query_field.entries, 3)->in_use = 7;
    saved_entry_flip(query, 3); // does not exist
    EXPECT_EQ(saved_entry_at(&query_field.entries, 3)->in_use, 7u);
    EXPECT_EQ(entries_of(query_field.entries), "a|foo|b");
}
