#include "actions/command_template.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "actions/plain_template.h"
#include "app/settings.h"
#include "support/heap_hook.h"
#include "support/recorded_commands.h"
#include "support/test_tree.h"

namespace {

using namespace std::string_literals;

// A row-text buffer without storage, and no recorded commands.
class CommandScope {
public:
    CommandScope() {
        recorded_commands.clear();
    }
    ~CommandScope() {
        os_free(row_text.data);
        row_text.data = nullptr;
        row_text.count = 0;
        row_text.capacity = 0;
    }
    CommandScope(const CommandScope &) = delete;
    CommandScope &operator=(const CommandScope &) = delete;
};

const PlainHit plain_hit = {"C:/data/src", "a.c", 12, 5, 345};

// Expands what row_text holds.
void expand(const PlainHit &hit) {
    HitRow row = {ROW_COPIED, {}, {str_over(hit.folder), str_over(hit.name)}, 0};
    row.hit.line = static_cast<uint32_t>(hit.row);
    row.hit.column = static_cast<uint32_t>(hit.column);
    row.hit.byte_offset = static_cast<uint32_t>(hit.byte);
    expand_command(row);
}

// The command that a click runs; "(none)" without one.
std::string command_of(const std::string &text, const PlainHit &hit = plain_hit) {
    CommandScope scope;
    EXPECT_TRUE(row_text_set(str_over(text)));
    expand(hit);
    if (recorded_commands.empty()) {
        return "(none)";
    }
    EXPECT_EQ(recorded_commands.size(), 1u);
    EXPECT_EQ(to_string(strbuf_text(&row_text)), recorded_commands[0].text);
    EXPECT_TRUE(recorded_commands[0].is_zero_terminated);
    return recorded_commands[0].text;
}

PlainHit in_folder(const std::string &folder) {
    return {folder, "a.c", 12, 5, 345};
}

} // namespace

// ---- The row-text buffer ----

TEST(RowText, IsMadeAtItsFirstUseWithRoomFor1024Bytes) {
    CommandScope scope;
    std::vector<uint64_t> sizes;
    HeapHookScope watch([&](uint64_t size) {
        sizes.push_back(size);
        return true;
    });
    EXPECT_TRUE(row_text_set(str_from("first")));
    EXPECT_TRUE(row_text_set(str_from("")));
    EXPECT_TRUE(row_text_set({1024, std::string(1024, 'x').data()}));
    EXPECT_EQ(sizes, std::vector<uint64_t>{1025});
    EXPECT_EQ(row_text.capacity, 1024u);
    EXPECT_EQ(row_text.data[1024], 0);
}

TEST(RowText, HoldsTheTextThatWasSetLast) {
    CommandScope scope;
    std::string longer(5000, 'y');
    for (const std::string &text : {"one two"s, "three"s, ""s, longer, ":12"s}) {
        EXPECT_TRUE(row_text_set(str_over(text)));
        EXPECT_EQ(to_string(strbuf_text(&row_text)), text);
        EXPECT_EQ(row_text.data[row_text.count], 0);
    }
}

TEST(RowText, KeepsItsOldTextWhenOutOfMemory) {
    CommandScope scope;
    EXPECT_TRUE(row_text_set(str_from("old")));
    std::string longer(1025, 'y');
    {
        HeapHookScope fail([](uint64_t) { return false; });
        EXPECT_FALSE(row_text_set(str_over(longer)));
    }
    EXPECT_EQ(to_string(strbuf_text(&row_text)), "old");
    EXPECT_TRUE(row_text_set(str_over(longer)));
}

TEST(RowText, IsMadeLaterWhenOutOfMemoryAtFirst) {
    CommandScope scope;
    {
        HeapHookScope fail([](uint64_t) { return false; });
        EXPECT_FALSE(row_text_set(str_from("x")));
        EXPECT_FALSE(row_text_set(str_from("")));
        expand(plain_hit);
    }
    EXPECT_TRUE(recorded_commands.empty());
    EXPECT_TRUE(row_text_set(str_from("x")));
}

// ---- Placeholders ----

TEST(Command, AnEmptyTemplateStartsNothing) {
    EXPECT_EQ(command_of(""), "(none)");
}

TEST(Command, ATemplateWithoutABraceIsStartedUnchanged) {
    EXPECT_EQ(command_of("notepad C:/x.txt"), "notepad C:/x.txt");
    EXPECT_EQ(command_of("}"), "}");
}

TEST(Command, IsStartedWithoutAConsole) {
    command_of("x");
    ASSERT_EQ(recorded_commands.size(), 1u);
    EXPECT_EQ(recorded_commands[0].show_console, 0);
}

TEST(Command, EachPlaceholderIsReplaced) {
    EXPECT_EQ(command_of("{tarn_row}"), "12");
    EXPECT_EQ(command_of("{tarn_column}"), "5");
    EXPECT_EQ(command_of("{tarn_byte}"), "345");
    EXPECT_EQ(command_of("{tarn_file_name}"), "a.c");
    EXPECT_EQ(command_of("{tarn_file_folder}"), "C:/data/src");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}"), "C:\\data\\src");
    EXPECT_EQ(command_of("{tarn_row}{tarn_row}x{tarn_column}{tarn_byte}"), "1212x5345");
}

TEST(Command, APlaceholderAtTheEndIsReplacedAndACutOneKept) {
    EXPECT_EQ(command_of("edit +{tarn_row}"), "edit +12");
    EXPECT_EQ(command_of("edit +{tarn_ro"), "edit +{tarn_ro");
    EXPECT_EQ(command_of("{tarn_row"), "{tarn_row");
    EXPECT_EQ(command_of("{"), "{");
}

TEST(Command, ABraceThatStartsNoPlaceholderIsKept) {
    EXPECT_EQ(command_of("{{tarn_row}"), "{12");
    EXPECT_EQ(command_of("{tarn_row}}"), "12}");
    EXPECT_EQ(command_of("{}{tarn_line}{TARN_ROW}{tarn_row }{ tarn_row}"),
              "{}{tarn_line}{TARN_ROW}{tarn_row }{ tarn_row}");
    EXPECT_EQ(command_of("{tarn_{tarn_row}"), "{tarn_12");
    EXPECT_EQ(command_of("\\{tarn_row}"), "\\12"); // there is no escape character
}

TEST(Command, TheDefaultsGiveTheirCommands) {
    std::string left = command_of(to_string(settings.left_click_cmd));
    std::string right = command_of(to_string(settings.right_click_cmd));
#ifdef _WIN32
    EXPECT_EQ(left, "\"C:/Program Files/Sublime Text/sublime_text.exe\" \"C:/data/src/a.c\":12:5");
    EXPECT_EQ(right, "explorer /select,\"C:\\data\\src\\a.c\"");
#else
    EXPECT_EQ(left, "xdg-open \"C:/data/src/a.c\"");
    EXPECT_EQ(right, "xdg-open \"C:/data/src\"");
#endif
}

TEST(Command, NumbersArePlainDecimal) {
    const auto byte_of = [](int32_t byte) { return command_of("{tarn_byte}", {"", "", 1, 1, byte}); };
    EXPECT_EQ(byte_of(0), "0");
    EXPECT_EQ(byte_of(1000000), "1000000");
    EXPECT_EQ(byte_of(INT32_MAX), "2147483647");
}

TEST(Command, NumbersFrom2To31OnBecomeNegative) {
    EXPECT_EQ(command_of("{tarn_row} {tarn_column} {tarn_byte}", {"", "", -1, -10, INT32_MIN}),
              "-1 -10 -2147483648");
}

TEST(Command, OnlyTheInsertedFolderGetsBackslashes) {
    EXPECT_EQ(command_of("a/b {tarn_file_folder_bs}/c {tarn_file_folder}/d"),
              "a/b C:\\data\\src/c C:/data/src/d");
    EXPECT_EQ(command_of("{tarn_file_name}", {"f", "a/b", 1, 1, 0}), "a/b");
}

TEST(Command, ValuesAreNotQuoted) {
    EXPECT_EQ(command_of("{tarn_file_folder}/{tarn_file_name}", {"C:/a \"b\"", "ü 你.c", 1, 1, 0}),
              "C:/a \"b\"/ü 你.c");
}

TEST(Command, EmptyValuesDisappear) {
    PlainHit nameless = {"", "", 1, 2, 3};
    EXPECT_EQ(command_of("a{tarn_file_name}b{tarn_file_folder}c{tarn_file_folder_bs}d", nameless), "abcd");
    EXPECT_EQ(command_of("{tarn_file_name}", nameless), "(none)");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", nameless), "(none)");
    EXPECT_EQ(command_of("{tarn_file_name}{tarn_row}", nameless), "1");
}

// ---- Placeholders within values ----

TEST(Command, AFolderIsScannedOnlyWithBackslashes) {
    PlainHit hit = in_folder("C:/x{tarn_row}");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", hit), "C:\\x12");
    EXPECT_EQ(command_of("{tarn_file_folder}", hit), "C:/x{tarn_row}");
}

TEST(Command, ANameIsNeverScanned) {
    EXPECT_EQ(command_of("{tarn_file_name}", {"f", "x{tarn_row}", 12, 5, 0}), "x{tarn_row}");
}

TEST(Command, AFoldersFirstByteIsNotScanned) {
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("{tarn_row}")), "{tarn_row}");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("{{tarn_row}")), "{12");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("{tarn_file_folder_bs}")),
              "{tarn_file_folder_bs}");
}

TEST(Command, TheByteAfterAnEmptyFolderIsNotScanned) {
    EXPECT_EQ(command_of("{tarn_file_folder_bs}{tarn_row} {tarn_row}", in_folder("")), "{tarn_row} 12");
    EXPECT_EQ(command_of("{tarn_file_folder}{tarn_row}", in_folder("")), "12");
}

TEST(Command, AFolderJoinsWithWhatFollowsIt) {
    EXPECT_EQ(command_of("{tarn_file_folder_bs}row}", in_folder("C:/{tarn_")), "C:\\12");
    EXPECT_EQ(command_of("{tarn_file_folder}row}", in_folder("C:/{tarn_")), "C:/{tarn_row}");
}

TEST(Command, AFolderWithinAFolderIsConvertedOnlyByItsOwnPlaceholder) {
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("a/{tarn_file_folder}")),
              "a\\a/{tarn_file_folder}");
}

TEST(Command, ManyPlaceholdersAreReplaced) {
    std::string text;
    std::string expected;
    for (int i = 0; i < 50000; i++) {
        text += "{tarn_file_folder_bs}{tarn_row}";
        expected += "C:\\data\\src12";
    }
    EXPECT_EQ(command_of(text), expected);
}

// ---- Commands that are too long ----

TEST(Command, AFolderThatNamesItselfEndsTheExpansionAndStartsNothing) {
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("C:/{tarn_file_folder_bs}")), "(none)");
    EXPECT_EQ(
        command_of("x {tarn_file_folder_bs} y", in_folder("ab{tarn_file_folder_bs}{tarn_file_folder_bs}")),
        "(none)");
    EXPECT_EQ(command_of("{tarn_file_folder_bs}", in_folder("a{tarn_file_folder_bs}{tarn_file_folder}")),
              "(none)");
}

TEST(Command, TheLongestCommandIsStartedAndALongerOneIsNot) {
    std::string name(longest_command - 5, 'n');
    const PlainHit hit = {"f", name, 1, 1, 0};
    EXPECT_TRUE(command_of("edit {tarn_file_name}", hit) == "edit " + name);
    EXPECT_EQ(command_of("edit  {tarn_file_name}", hit), "(none)");
    EXPECT_EQ(command_of("edit {tarn_file_name}{tarn_row}", hit), "(none)");
    // The limit is reached, not exceeded, before the row's number.
    std::string shorter(longest_command - 15, 'n');
    EXPECT_TRUE(command_of("edit {tarn_file_name}{tarn_row}", {"f", shorter, 12, 1, 0}) ==
                "edit " + shorter + "12");
    EXPECT_EQ(command_of(std::string(longest_command + 1, 'x')), "(none)");
}

TEST(Command, TheBufferIsUsableAfterACommandThatWasTooLong) {
    CommandScope scope;
    ASSERT_TRUE(row_text_set(str_from("edit {tarn_file_name}")));
    expand({"f", std::string(longest_command, 'n'), 1, 1, 0});
    EXPECT_TRUE(recorded_commands.empty());
    EXPECT_EQ(to_string(strbuf_text(&row_text)), "");
    ASSERT_TRUE(row_text_set(str_from("edit {tarn_file_name}")));
    expand(plain_hit);
    ASSERT_EQ(recorded_commands.size(), 1u);
    EXPECT_EQ(recorded_commands[0].text, "edit a.c");
}

// ---- Without memory ----

namespace {

// The command when the first 1024 bytes cannot grow.
std::string command_without_memory(const std::string &text, const PlainHit &hit) {
    CommandScope scope;
    EXPECT_TRUE(row_text_set(str_over(text)));
    {
        HeapHookScope fail([](uint64_t) { return false; });
        expand(hit);
    }
    return recorded_commands.empty() ? "(none)" : recorded_commands[0].text;
}

} // namespace

TEST(Command, AValueIsLeftOutWhenOutOfMemoryAndTheRestIsStarted) {
    PlainHit hit = {std::string(600, 'f'), std::string(600, 'n'), 12, 5, 0};
    EXPECT_EQ(command_without_memory("edit {tarn_file_folder}/{tarn_file_name}:{tarn_row}", hit),
              "edit " + hit.folder + "/:12");
}

TEST(Command, OutOfMemoryForAFolderTheSlashesAfterItStay) {
    PlainHit hit = in_folder(std::string(2000, '/'));
    EXPECT_EQ(command_without_memory("{tarn_file_folder_bs}/a/b", hit), "/a/b");
    EXPECT_EQ(command_without_memory("{tarn_file_folder_bs}{tarn_row}{tarn_row}", hit), "{tarn_row}12");
    EXPECT_EQ(command_without_memory("{tarn_file_folder}{tarn_row}", hit), "12");
}

// ---- Against the plain rules ----

TEST(Command, RandomTemplatesAndFoldersGiveWhatThePlainRulesGive) {
    const std::vector<std::string> pieces = {
        "{tarn_row}",
        "{tarn_column}",
        "{tarn_byte}",
        "{tarn_file_name}",
        "{tarn_file_folder}",
        "{tarn_file_folder_bs}",
        "{tarn_",
        "row}",
        "file_folder",
        "_bs}",
        "{",
        "}",
        "/",
        "\\",
        "a",
        " ",
        "\"",
        "你",
        "\xFF",
        "\0"s,
        "{tarn_row",
        "tarn_byte}",
    };
    std::mt19937 random(20240611);
    const auto below = [&](size_t limit) { return static_cast<size_t>(random() % limit); };
    const auto text_of = [&](size_t most_pieces) {
        std::string text;
        for (size_t count = below(most_pieces + 1); count > 0; count--) {
            text += pieces[below(pieces.size())];
        }
        return text;
    };
    int failing = 0;
    int nothing = 0;
    int growing = 0;
    for (int i = 0; i < 60000; i++) {
        std::string text = text_of(12);
        PlainHit hit = {text_of(4), text_of(3), static_cast<int32_t>(random()),
                        static_cast<int32_t>(below(100)), static_cast<int32_t>(below(2))};
        // The storage starts with 1024 bytes; what is left out without more depends on the sizes.
        text.insert(0, below(3) == 0 ? 900 + below(130) : 0, '.');
        hit.folder.append(below(4) == 0 ? below(200) : 0, '/');
        bool is_failing = below(3) == 0;
        size_t capacity = std::max<size_t>(text.size() > 1024 ? 2048 : 1024, 1024);
        bool grows_for_ever = hit.folder.find("{tarn_file_folder_bs}", 1) != std::string::npos ||
                              hit.folder.find("{tarn_file_folder", 1) != std::string::npos;
        if (grows_for_ever && !is_failing) {
            growing++;
            continue; // to 64 MiB; tested above
        }
        std::string expected = plain_command(text, hit, longest_command, [&](size_t size) {
            failing += is_failing && size > capacity;
            return !is_failing || size <= capacity;
        });
        CommandScope scope;
        ASSERT_TRUE(row_text_set(str_over(text)));
        {
            HeapHookScope maybe_fail([&](uint64_t) { return !is_failing; });
            expand(hit);
        }
        nothing += recorded_commands.empty();
        ASSERT_EQ(recorded_commands.size(), expected.empty() ? 0u : 1u) << text << "\n" << hit.folder;
        ASSERT_EQ(to_string(strbuf_text(&row_text)), expected) << text << "\n" << hit.folder;
        ASSERT_EQ(row_text.data[row_text.count], 0);
        ASSERT_TRUE(expected.empty() || recorded_commands[0].text == expected);
    }
    // All cases have been covered.
    EXPECT_GT(failing, 500);
    EXPECT_GT(nothing, 500);
    EXPECT_LT(growing, 30000);
}
