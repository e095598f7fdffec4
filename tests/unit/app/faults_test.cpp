// Lets every allocation of start-up, of a search and of a frame with its input fail: each alone, and each
// with all later ones. Only what the memory was for may be lost, and the program goes on.
//
// In a few places it intentionally does not: an array without storage cannot grow, and the next push onto it
// never returns. never_ending_steps lists these steps with their reasons; a test shows that each never
// returns, and the runs below leave out these steps and no others.
//
// Not for Windows: the allocations differ from system to system, and Windows has no fork, which the test
// of the steps that never return needs.

#include <gtest/gtest.h>

#include <stdio.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "actions/command_template.h"
#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "app/list_keys.h"
#include "app/program_scope.h"
#include "app/startup.h"
#include "os/arena.h"
#include "os/arrays.h"
#include "os/clipboard.h"
#include "search/worker.h"
#include "support/headless_window.h"
#include "support/heap_hook.h"
#include "support/never_returns.h"
#include "support/picture.h"
#include "support/process_clipboard.h"
#include "support/recorded_commands.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

// ---- Failing allocations ----

constexpr Series both_series[] = {ALONE, WITH_ALL_LATER_ONES};
constexpr uint64_t nothing = UINT64_MAX;

std::string place(uint64_t nth, Series series) {
    return "allocation " + std::to_string(nth) + (series == ALONE ? " alone" : " and all later ones");
}

// Prints how much was tried.
void report(const char *phase, uint64_t allocations, uint64_t runs, uint64_t left_out) {
    printf("%s: %llu allocations, %llu runs, %llu left out as never returning\n", phase,
           static_cast<unsigned long long>(allocations), static_cast<unsigned long long>(runs),
           static_cast<unsigned long long>(left_out));
}

// Whether an allocation of that size is among those that fail in a run.
bool fails_for(const std::vector<uint64_t> &sizes, uint64_t nth, Series series, uint64_t size) {
    auto first = sizes.begin() + static_cast<int64_t>(nth);
    auto last = series == ALONE ? first + 1 : sizes.end();
    return std::find(first, last, size) != last;
}

void free_row_text() {
    os_free(row_text.data);
    row_text = {};
}

// An intentional leak, in one run of many.
class LeakIf {
public:
    explicit LeakIf(bool leaks) : scope(leaks ? std::make_unique<LeakScope>() : nullptr) {}

private:
    std::unique_ptr<LeakScope> scope;
};

} // namespace

// ---- Start-up ----

namespace {

// The allocations of start-up, in order, with a settings file, a font and both lists.
enum StartAllocation : uint64_t {
    SCRATCH_DATA,
    SCRATCH_HEADER,
    WINDOW_RECORD,
    WINDOW_TITLE,
    WINDOW_PIXELS,
    PATH_TEXT,
    QUERY_TEXT,
    UNUSED_TEXT,
    OTHER_UNUSED_TEXT,
    FILE_TABLE,
    HIT_TABLE,
    SAVED_PATHS,
    SAVED_QUERIES,
    MATCHING_FOLDERS,
    OTHER_FOLDERS,
    CARETS,
    SETTINGS_FILE,
    FONT_FILE,
    FONT_SIZES,
    PATHS_FILE,
    FIRST_SAVED_PATH,
    SECOND_SAVED_PATH,
    QUERIES_FILE,
    FIRST_SAVED_QUERY,
    SECOND_SAVED_QUERY,
    ARENA,
    START_ALLOCATIONS,
};

const std::string settings_with_font = "font_size 20\nfont_file source_code_pro.otf\n";
const std::string settings_without_font = "font_size 20\n";

// The program's folder, with a folder to search in it.
struct SearchedFolder : ProgramFolder {
    explicit SearchedFolder(const std::string &settings_file) : ProgramFolder(settings_file) {
        tree.file("searched/f.txt", "a needle .........");
        tree.folder("searched/match");
        tree.folder("searched/other");
    }
    std::string searched = tree.path("searched");
};

// The whole program, from an empty process to the loop.
struct StartedProgram : ProgramScope {
    StartedProgram() { // a window 200 pixels high, which is drawn faster
        HeadlessMonitor low = {true, {0, 0, 1280, 223}, {0, 0, 1280, 223}, {1280, 223}, 60, "screen"};
        headless_set_monitors(&low, 1);
    }
    // Starts it as main does, but with the worker's arena in place of the worker. Returns false when there is
    // no window.
    bool start(const SearchedFolder &program) {
        scratch_create();
        window = startup_open_window();
        if (!window) {
            return false;
        }
        frame_clock.target_us = 1; // no sleep between frames
        {
            LeakScope unused_texts_stay;
            startup_reserve_buffers();
        }
        startup_load(str_over(program.folder), str_from("tarnwick.exe -needle"));
        startup_focus();
        results_store_start_arena();
        return true;
    }
};

bool draws_frame() {
    return frame_turn(ProgramScope::window);
}

std::string capacity_text(const char *name, uint64_t capacity) {
    return std::string(name) + " " + std::to_string(capacity) + "\n";
}

// The program as start-up leaves it.
std::string started_state() {
    return capacity_text("scratch", scratch ? scratch->capacity : 0) +
           capacity_text("pixels", ProgramScope::window->framebuffer.pixels ? 1 : 0) + //
           capacity_text("path", path->text->capacity) + capacity_text("query", query->text->capacity) +
           capacity_text("files", results_store.file_table.capacity) +
           capacity_text("hits", results_store.hit_table.capacity) +
           capacity_text("matching", results_store.matching_folders.capacity) +
           capacity_text("other", results_store.other_folders.capacity) +
           capacity_text("font size", static_cast<uint64_t>(settings.font_size)) +
           capacity_text("font", font.sizes.capacity ? 1 : 0) +
           capacity_text("arena", results_store.arena.base ? 1 : 0) +                   //
           "path " + text_of(*path) + ": " + entries_of(path_field.entries) + "\n" +    //
           "query " + text_of(*query) + ": " + entries_of(query_field.entries) + "\n" + //
           "carets " + carets() + "\n";
}

// The state that the rules require after a failed allocation.
struct StartExpectation {
    uint64_t nth;
    Series series;
    bool names_font; // in the settings file

    bool lost(uint64_t allocation) const {
        return series == ALONE ? allocation == nth : allocation >= nth;
    }
    bool has_window() const {
        return !lost(WINDOW_RECORD) && !lost(WINDOW_TITLE);
    }
    bool has_scratch() const {
        return !lost(SCRATCH_DATA) && !lost(SCRATCH_HEADER);
    }
    bool has_settings() const { // their path is joined in the scratch arena
        return has_scratch() && !lost(SETTINGS_FILE);
    }
    bool has_font() const {
        if (series == ALONE && has_settings() && names_font) {
            return true; // the default font replaces the named one
        }
        return !lost(FONT_FILE) && !lost(FONT_SIZES);
    }
    std::string entries(uint64_t list, uint64_t file, uint64_t first, const char *text) const {
        if (lost(list) || lost(file)) {
            return "";
        }
        std::string both = text;
        size_t bar = both.find('|');
        return (lost(first) ? "" : both.substr(0, bar)) + "|" + (lost(first + 1) ? "" : both.substr(bar + 1));
    }
    std::string query_text() const {
        return lost(QUERY_TEXT) ? "" : "needle";
    }
    std::string query_entries() const {
        return entries(SAVED_QUERIES, QUERIES_FILE, FIRST_SAVED_QUERY, "bar|baz");
    }
    std::string state() const {
        return capacity_text("scratch", has_scratch() ? 1000000 : 0) +
               capacity_text("pixels", series == ALONE || !lost(WINDOW_PIXELS)) + // allocated later
               capacity_text("path", lost(PATH_TEXT) ? 0 : 1024) +
               capacity_text("query", lost(QUERY_TEXT) ? 0 : 1024) +
               capacity_text("files", lost(FILE_TABLE) ? 0 : 10000) +
               capacity_text("hits", lost(HIT_TABLE) ? 0 : 100000) +
               capacity_text("matching", lost(MATCHING_FOLDERS) ? 0 : 128) +
               capacity_text("other", lost(OTHER_FOLDERS) ? 0 : 128) +
               capacity_text("font size", has_settings() ? 20 : 14) + capacity_text("font", has_font()) +
               capacity_text("arena", !lost(ARENA)) + //
               "path " + (lost(PATH_TEXT) || lost(PATHS_FILE) ? "" : "C:/src") + ": " +
               entries(SAVED_PATHS, PATHS_FILE, FIRST_SAVED_PATH, "D:/a/b/|E:/x") + "\n" + //
               "query " + query_text() + ": " + query_entries() + "\n" +                   //
               "carets " +
               (lost(CARETS)       ? ""
                : lost(QUERY_TEXT) ? "{0,0}"
                                   : "{0,6}") +
               "\n";
    }
};

void search(const std::string &path_text, const std::string &query_text) {
    set_request_text(path->text, str_over(path_text));
    set_request_text(query->text, str_over(query_text));
    publish_request();
    search_worker_turn();
}

// The steps after start-up, except those that never return. Returns the number left out.
uint64_t go_on_after_start(const SearchedFolder &program, const StartExpectation &expected) {
    uint64_t left_out = 0;
    if (expected.has_font()) {
        headless_focus(ProgramScope::window);
        EXPECT_TRUE(draws_frame());
        headless_type('x');
        EXPECT_TRUE(draws_frame());
        bool is_typed = !expected.lost(QUERY_TEXT) && !expected.lost(CARETS);
        EXPECT_EQ(text_of(*query), is_typed ? "x" : expected.query_text());
        std::string file = "foo\r\nbar\r\nbaz"; // a list without storage does not write its file
        if (!expected.lost(SAVED_QUERIES)) {
            file = text_of(*query);
            for (uint64_t row = 0; row < query_field.entries.count; row++) {
                file += "\r\n" + to_string(saved_entry_text(saved_entry_at(&query_field.entries, row)));
            }
        }
        EXPECT_EQ(bytes_of(program.tree.native("saved_queries.txt")), file);
    } else {
        left_out++;
    }
    bool has_texts = !expected.lost(PATH_TEXT) && !expected.lost(QUERY_TEXT);
    bool has_arena = !expected.lost(ARENA);
    // A search without a path does nothing, and one without an arena for names stores nothing.
    bool stores = has_texts && has_arena;
    if (stores && (expected.lost(FILE_TABLE) || expected.lost(HIT_TABLE))) {
        left_out++;
    } else {
        search(program.searched, "needle");
        EXPECT_EQ(stored_rows(program.searched),
                  stores ? "files 1\nfile f.txt\nhit 1 3 2 a needle ...\n" : "files 0\n");
        if (expected.has_font()) {
            EXPECT_TRUE(draws_frame());
        }
    }
    bool lists = has_texts || !expected.lost(PATH_TEXT);
    if (lists && (expected.lost(MATCHING_FOLDERS) || expected.lost(OTHER_FOLDERS))) {
        left_out++;
    } else {
        search(program.searched + "/ma", "needle");
        std::string names = has_arena ? "match match\nother other\n" : "";
        if (lists && !has_arena) { // the rows are there, without their names
            names = "match \nother \n";
        }
        EXPECT_EQ(sort_file_groups(stored_rows()), "files 0\n" + (lists ? names : ""));
        if (expected.has_font()) {
            EXPECT_TRUE(draws_frame());
        }
    }
    return left_out;
}

void fail_each_of_start_up(const char *phase, bool names_font) {
    SearchedFolder program(names_font ? settings_with_font : settings_without_font);
    uint64_t runs = 0, left_out = 0;
    for (Series series : both_series) {
        for (uint64_t nth = 0; nth <= START_ALLOCATIONS; nth++) { // the last run fails nothing
            SCOPED_TRACE(place(nth, series));
            program.put_lists();
            // A font without memory for its sizes is replaced as a whole, and its file stays allocated.
            LeakIf replaced_font_stays(nth == FONT_SIZES);
            StartedProgram started;
            StartExpectation expected = {nth, series, names_font};
            bool has_started = false;
            {
                FailingAllocation failing(nth, series);
                has_started = started.start(program);
                if (nth == START_ALLOCATIONS) {
                    EXPECT_EQ(failing.sizes.size(), uint64_t{START_ALLOCATIONS});
                }
            }
            runs++;
            EXPECT_EQ(has_started, expected.has_window());
            if (has_started) {
                EXPECT_EQ(started_state(), expected.state());
                left_out += go_on_after_start(program, expected);
            }
        }
    }
    report(phase, START_ALLOCATIONS, runs, left_out);
}

} // namespace

TEST(FaultsOfStartUp, LoseWhatTheMemoryWasForAndTheProgramGoesOn) {
    headless_set_time(0);
    os_init();
    {
        SearchedFolder program(""); // allocates the list of windows, once per process
        StartedProgram started;
        ASSERT_TRUE(started.start(program));
    }
    fail_each_of_start_up("Start-up with a named font", true);
    fail_each_of_start_up("Start-up with the default font", false);
}

// ---- What never returns ----

namespace {

// For a copy of this process: the program after a start-up with one failed allocation.
StartedProgram *copied_program;
const SearchedFolder *copied_folder;

void start_copy(uint64_t nth) {
    FailingAllocation failing(nth, ALONE);
    copied_program->start(*copied_folder);
}
void search_contents_in_copy() {
    search(copied_folder->searched, "needle");
}
void list_folders_in_copy() {
    search(copied_folder->searched + "/ma", "");
}

struct NeverEndingStep {
    const char *step;
    const char *reason;
    void (*run)();
};
constexpr NeverEndingStep never_ending_steps[] = {
    {"the first frame, when no font could be loaded: neither its file nor its list of sizes",
     "a font that is all zero has a list of sizes of capacity 0, and the first text asks for a size",
     [] {
         start_copy(FONT_SIZES);
         draws_frame();
     }},
    {"a search that reads a file, without memory for file_table", "each file read is pushed onto it",
     [] {
         start_copy(FILE_TABLE);
         search_contents_in_copy();
     }},
    {"a search with a hit, without memory for hit_table", "the hit's header is pushed onto it",
     [] {
         start_copy(HIT_TABLE);
         search_contents_in_copy();
     }},
    {"a listing with a folder that matches, without memory for matching_folders", "it is pushed onto it",
     [] {
         start_copy(MATCHING_FOLDERS);
         list_folders_in_copy();
     }},
    {"a listing with a folder that does not match, without memory for other_folders", "it is pushed onto it",
     [] {
         start_copy(OTHER_FOLDERS);
         list_folders_in_copy();
     }},
    // Within or after a search. The tests of searches check their own such steps.
    {"another file, folder or hit after the growth of its table has failed",
     "the table has been emptied and has capacity 0 from then on",
     [] {
         start_copy(nothing);
         results_store.file_table.capacity = 1;
         copied_folder->tree.file("searched/g.txt", "a needle .........");
         copied_folder->tree.file("searched/h.txt", "a needle .........");
         HeapHookScope fail_growth([](uint64_t size) { return size != 2 * sizeof(FileEntry); });
         search_contents_in_copy();
     }},
    {"the next search after the growth of a table has failed", "likewise",
     [] {
         start_copy(nothing);
         results_store.hit_table.capacity = 1; // no room for the file's only hit after its header
         {
             HeapHookScope fail_growth([](uint64_t size) { return size != 2 * sizeof(ResultRecord); });
             search_contents_in_copy();
         }
         search_contents_in_copy();
     }},
};

} // namespace

TEST(FaultsOfStartUp, StepsThatNeverReturnAreThese) {
    SearchedFolder program(settings_without_font);
    copied_folder = &program;
    StartedProgram started;
    copied_program = &started;
    for (const NeverEndingStep &row : never_ending_steps) {
        EXPECT_TRUE(never_returns(row.run)) << row.step << ": " << row.reason;
    }
    EXPECT_FALSE(never_returns([] {
        start_copy(nothing);
        draws_frame();
        search_contents_in_copy();
        list_folders_in_copy();
    }));
}

TEST(FaultsOfStartUp, WithoutMemoryForItsRecordTheWorkerIsNotStartedAndNothingWaitsForIt) {
    SearchScope scope;
    {
        FailingAllocation failing(0, ALONE);
        EXPECT_EQ(search_worker_start(), nullptr);
    }
    EXPECT_EQ(search_state.worker_pass, 0u);
    search_state.interface_pass = 0;
}

TEST(FaultsOfStartUp, TheProgramsOwnFolderIsLookedUpAgainAfterAFailedAllocation) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a process that has not looked it up yet
    EXPECT_EXIT(
        {
            bool has_failed = false;
            {
                FailingAllocation failing(0, ALONE);
                has_failed = os_exe_folder().data == nullptr && failing.sizes.size() == 1;
            }
            Str folder = os_exe_folder();
            _exit(has_failed && folder.count > 1 && folder.data[folder.count - 1] == '/' ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// ---- A search ----

namespace {

// Whether it is the record of a folder's listing, with room for its entries.
bool is_listing(uint64_t size) {
    return size > 32768 && size < 33000;
}
constexpr uint64_t note_size = sizeof(RetiredBlock);

struct SearchedFile {
    std::string folder; // ends with '/'; empty for the searched folder itself
    std::string name;
    uint64_t size;
    int hits;
};

// Folders whose paths have different lengths, and files of different sizes, so that an allocation's size
// tells what it is for.
const std::vector<SearchedFile> searched_files = {
    {"", "top.txt", 1000, 2},
    {"", "none.txt", 2000, 0},
    {"a/", "one.txt", 3000, 3},
    {"a/bcd/", "two.txt", 4000, 1},
    {"efghijklm/", "three.txt", 5000, 2},
};

std::string bytes_of_searched(const SearchedFile &file) {
    std::string bytes;
    for (int i = 0; i < file.hits; i++) {
        bytes += "needle of " + file.name + " " + std::string(200, static_cast<char>('a' + i)) + "\n";
    }
    bytes.resize(file.size, '.');
    return bytes;
}

uint64_t block_of(const SearchedFile &file) {
    return file.size + 1 + ((file.size + 1) & 63);
}

enum SearchKind { CONTENTS, SUGGESTIONS };

// Small tables and a small arena, so that each of them grows.
struct SmallSearch {
    SmallSearch(const std::string &path_text, bool is_read) {
        free_results_arena();
        arena_init(&results_store.arena, 1800); // a search's strings take two blocks
        results_store.file_table.capacity = 2;
        results_store.hit_table.capacity = 4;
        results_store.matching_folders.capacity = 1;
        results_store.other_folders.capacity = 1;
        set_field(path, path_text);
        set_field(query, "needle");
        search_state.interface_pass = is_read ? 1 : 0;
        publish_request();
    }
    ~SmallSearch() {
        search_state.interface_pass = search_state.interface_pass + 2;
        release_retired(&results_store.retired);
        search_state.interface_pass = 0;
    }

    SearchScope scope;
};

// Arguments of search_in_copy.
struct {
    std::string path;
    bool is_read;
    uint64_t nth;
    Series series;
} in_copy;

void search_in_copy() {
    SmallSearch small(in_copy.path, in_copy.is_read);
    FailingAllocation failing(in_copy.nth, in_copy.series);
    search_worker_turn();
}

// Whether it is the new storage of a growing table.
bool is_growth(uint64_t size, SearchKind kind) {
    for (uint64_t capacity : {2u, 4u, 8u, 16u, 32u}) {
        if (kind == CONTENTS ? size == capacity * sizeof(FileEntry) || size == capacity * sizeof(ResultRecord)
                             : size == capacity * sizeof(Str)) {
            return true;
        }
    }
    return false;
}

// Rows without the groups of the lost files; "files n" counts the others.
std::string rows_without(const std::function<bool(const SearchedFile &)> &is_lost, const std::string &rows) {
    std::string kept;
    bool keeps = true;
    for (size_t at = rows.find('\n') + 1; at < rows.size();) {
        size_t end = rows.find('\n', at) + 1;
        std::string line = rows.substr(at, end - at);
        if (line.compare(0, 5, "file ") == 0) {
            keeps = true;
            for (const SearchedFile &file : searched_files) {
                keeps = keeps && (line != "file " + file.folder + file.name + "\n" || !is_lost(file));
            }
        }
        kept += keeps ? line : "";
        at = end;
    }
    auto lost = std::count_if(searched_files.begin(), searched_files.end(), is_lost);
    return "files " + std::to_string(static_cast<int64_t>(searched_files.size()) - lost) + "\n" + kept;
}

// Whether the rows after the first line are the first of all rows, apart from texts that are empty for lack
// of memory.
bool is_beginning_with_gaps(const std::string &rows, const std::string &all) {
    size_t at = rows.find('\n') + 1, whole_at = all.find('\n') + 1;
    while (at < rows.size()) {
        size_t end = rows.find('\n', at), whole_end = all.find('\n', whole_at);
        if (whole_end == std::string::npos) {
            return false;
        }
        std::string line = rows.substr(at, end - at), whole = all.substr(whole_at, whole_end - whole_at);
        if (line != whole) {
            std::string name = whole.substr(whole.rfind('/') + 1);
            bool is_gap = line.compare(0, 5, "file ") == 0
                              ? line == "file /" || line == "file /" + name
                              : whole.compare(0, line.size(), line) == 0 && line.back() == ' ' &&
                                    std::count(line.begin(), line.end(), ' ') == 4;
            if (!is_gap) {
                return false;
            }
        }
        at = end + 1;
        whole_at = whole_end + 1;
    }
    return true;
}

// Rows with only their numbers.
std::string without_texts(const std::string &rows) {
    std::string numbers;
    for (size_t at = 0; at < rows.size();) {
        size_t end = rows.find('\n', at) + 1;
        size_t kept_end = at;
        uint64_t words = rows.compare(at, 4, "hit ") == 0 ? 4 : rows.compare(at, 6, "files ") == 0 ? 2 : 1;
        for (; words > 0 && kept_end < end; kept_end++) {
            words -= rows[kept_end] == ' ' || rows[kept_end] == '\n';
        }
        numbers += rows.substr(at, kept_end - at) + "\n";
        at = end;
    }
    return numbers;
}

struct SearchTrace {
    std::string root;
    std::vector<uint64_t> sizes;   // of an undisturbed search
    std::vector<std::string> rows; // stored at each allocation
    std::string all_rows;
};

SearchTrace trace_search(const TestTree &tree, const std::string &path_text, bool is_read) {
    SearchTrace trace = {tree.path(), {}, {}, {}};
    SmallSearch small(path_text, is_read);
    {
        HeapHookScope hook([&](uint64_t size) {
            trace.sizes.push_back(size);
            trace.rows.push_back(stored_rows(trace.root));
            return true;
        });
        search_worker_turn();
    }
    trace.all_rows = stored_rows(trace.root);
    return trace;
}

// The rows that are stored when one allocation alone fails, other than a table's growth or an arena block.
std::string rows_expected(const SearchTrace &trace, SearchKind kind, uint64_t nth) {
    uint64_t size = trace.sizes[nth];
    if (kind == SUGGESTIONS) {
        return is_listing(size) ? "files 0\n" : trace.all_rows;
    }
    if (is_listing(size)) {
        // The folder's files are not found. Its sub-folders are, as they are listed separately.
        uint64_t path_length = trace.sizes[nth + 1] - 1;
        return rows_without(
            [&](const SearchedFile &file) {
                return (trace.root + "/" + file.folder).size() - 1 == path_length;
            },
            trace.all_rows);
    }
    return rows_without([&](const SearchedFile &file) { return block_of(file) == size; }, trace.all_rows);
}

void fail_each_of_search(const char *phase, const TestTree &tree, const std::string &path_text,
                         SearchKind kind, bool is_read) {
    const SearchTrace trace = trace_search(tree, path_text, is_read);
    uint64_t runs = 0, left_out = 0, growths = 0, arena_blocks = 0, listings = 0, files = 0;
    for (Series series : both_series) {
        for (uint64_t nth = 0; nth < trace.sizes.size(); nth++) {
            SCOPED_TRACE(place(nth, series) + ", " + std::to_string(trace.sizes[nth]) + " bytes");
            uint64_t size = trace.sizes[nth];
            bool follows_path = nth >= 2 && is_listing(trace.sizes[nth - 2]); // a listing shrunk to its size
            bool grows = is_growth(size, kind) && !(kind == CONTENTS && follows_path);
            bool is_arena = size == 1800 || size == 2 * sizeof(ArenaBlock);
            growths += grows;
            // A scan goes on pushing hits when nothing can grow any more.
            bool scan_goes_on = series == WITH_ALL_LATER_ONES && (is_arena || size == note_size);
            if (grows || scan_goes_on) {
                in_copy = {path_text, is_read, nth, series};
                if (never_returns(search_in_copy)) {
                    left_out++; // it pushes onto a table without storage
                    continue;
                }
            }
            listings += is_listing(size);
            arena_blocks += is_arena;
            LeakIf replaced_block_stays(fails_for(trace.sizes, nth, series, note_size));
            SmallSearch small(path_text, is_read);
            {
                FailingAllocation failing(nth, series);
                EXPECT_TRUE(search_worker_turn());
            }
            runs++;
            EXPECT_EQ(search_state.search_busy, 0);
            bool is_emptied = false;
            for (const DynArray *table : {&results_store.file_table, &results_store.hit_table,
                                          &results_store.matching_folders, &results_store.other_folders}) {
                is_emptied = is_emptied || (!table->data && table->count == 0 && table->capacity == 0);
            }
            EXPECT_TRUE(is_emptied || !grows);
            if (is_emptied) {
                EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE); // hits are rows only with their files
                continue;                                        // the next search never returns
            }
            std::string rows = stored_rows(tree.path());
            if (series == WITH_ALL_LATER_ONES || is_arena) {
                EXPECT_TRUE(is_beginning_with_gaps(rows, trace.all_rows)) << rows;
                EXPECT_GE(rows.size() + 220, trace.rows[nth].size()); // one row's text may be lost
            } else {
                EXPECT_EQ(rows, rows_expected(trace, kind, nth));
                files += rows != trace.all_rows;
            }
            bool overwrites = results_store.arena.block_count > 1; // its first block; intentional
            publish_request();
            search_worker_turn();
            std::string next_rows = stored_rows(tree.path());
            EXPECT_EQ(overwrites ? without_texts(next_rows) : next_rows,
                      overwrites ? without_texts(trace.all_rows) : trace.all_rows);
        }
    }
    report(phase, trace.sizes.size(), runs, left_out);
    EXPECT_GT(growths, 0u);
    EXPECT_GT(left_out, 0u);
    EXPECT_GT(listings, 0u);
    if (kind == CONTENTS) {
        EXPECT_GE(arena_blocks, 2u); // at least a block and its row
        EXPECT_EQ(files, 5u + 4u);   // each file, and the files of each folder
    }
}

} // namespace

TEST(FaultsOfASearch, LoseWhatTheMemoryWasForAndTheNextSearchFindsAll) {
    TestTree tree;
    for (const SearchedFile &file : searched_files) {
        tree.file(file.folder + file.name, bytes_of_searched(file));
    }
    fail_each_of_search("Search", tree, tree.path(), CONTENTS, false);
    fail_each_of_search("Search while frames are drawn", tree, tree.path(), CONTENTS, true);
}

TEST(FaultsOfASearch, ForSuggestionsLoseTheListAndTheNextSearchFindsAll) {
    TestTree tree;
    for (const char *name : {"pa", "pb", "pc", "xa", "xb", "xc"}) {
        tree.folder(name);
    }
    fail_each_of_search("Suggestions", tree, tree.path() + "/p", SUGGESTIONS, false);
    fail_each_of_search("Suggestions while frames are drawn", tree, tree.path() + "/p", SUGGESTIONS, true);
}

// ---- Frames, input and clicks ----

namespace {

constexpr Size canvas_size = {400, 300};
constexpr int32_t list_top = 50;

// The interface before a step: two hits, completions, and the lists' files.
struct InterfaceScope : FrameScope {
    InterfaceScope() : canvas(canvas_size.width, canvas_size.height, 0xFF000000) {
        free_row_text();
        recorded_commands.clear();
        settings.left_click_cmd = str_from("L {tarn_row} {tarn_file_name}");
        set_entries(path, {"C:/kept"});
        set_entries(query, {"hay"});
        set_field(path, "C:/code/pr");
        set_field(query, "needle");
        focus(query, {{6, 6}});
        saved_list_write(path);
        saved_list_write(query);
        put_results();
        search_state.worker_pass = 1; // so that the texts' old storage is retired
    }
    ~InterfaceScope() {
        search_state.worker_pass = search_state.worker_pass + 2;
        release_retired(&search_state.retired_text);
        search_state.worker_pass = 0;
        process_clipboard_clear();
        free_row_text();
    }
    static void put_results() {
        put_folders({"project/"}, {"other"});
        put_file("C:/code/project", "a.c");
        put_hit(3, "int needle;");
        put_hit(9, "needle = 1;");
    }

    void begin() {
        scratch_empty();
        ui_begin_frame();
    }
    void draw(Point mouse = {-100, -100}) {
        frame_draw(&canvas.framebuffer, mouse);
    }
    void warm() { // makes the glyphs and buffers of an earlier frame
        begin();
        draw();
    }
    std::vector<uint32_t> picture() const {
        const Framebuffer &shown = canvas.framebuffer;
        return {shown.pixels, shown.pixels + shown.width * shown.height};
    }

    Canvas canvas;
};

void type_unit(uint32_t unit) {
    WindowEvent event = {};
    event.type = EVENT_CHAR;
    event.character.unit = unit;
    input_handle_event(&event);
}

void press_key(uint16_t code) {
    WindowEvent event = {};
    event.type = EVENT_KEY;
    event.key = {code, KEY_PRESSED};
    input_handle_event(&event);
}

void click_at(InterfaceScope *scope, uint16_t button, Point place_in_window) {
    scope->begin();
    ui_release(button, {});
    ui_begin_frame();
    WindowEvent event = {};
    event.type = EVENT_MOUSE_BUTTON;
    event.button = {button, place_in_window, BUTTON_PRESSED};
    input_handle_event(&event);
    scope->draw(place_in_window);
}

void with_ctrl(uint16_t code) {
    ui_press(KEY_CTRL, {});
    press_key(code);
    ui_release(KEY_CTRL, {});
}

// What a step may change. After a failed allocation each part is as before the step, as after a step with
// enough memory, or one of the step's own exceptions.
using Parts = std::vector<std::string>;
enum Part {
    PATH,
    QUERY,
    PATH_ENTRIES,
    QUERY_ENTRIES,
    PATHS_ON_DISK,
    QUERIES_ON_DISK,
    COMMANDS,
    CLIPBOARD,
    STATE
};

Parts parts_of(const InterfaceScope &scope) {
    std::string commands;
    for (const RecordedCommand &command : recorded_commands) {
        commands += command.text + "|";
    }
    return {text_of(*path),
            text_of(*query),
            entries_of(path_field.entries),
            entries_of(query_field.entries),
            scope.file("saved_paths.txt"),
            scope.file("saved_queries.txt"),
            commands,
            to_string(process_clipboard.blocks[CLIPBOARD_BYTE_TEXT]),
            std::to_string(input_field.dropdown_open) + std::to_string(search_state.results_scroll) +
                std::to_string(search_state.request_pending)};
}

// The bytes that a field's file has to hold.
std::string plain_file(const Field *field) {
    std::string bytes = text_of(*field);
    const DynArray *list = &field->entries;
    for (uint64_t row = 0; row < list->count; row++) {
        const SavedEntry *entry = saved_entry_at(list, row);
        bytes += entry->in_use ? "\r\n" + to_string(saved_entry_text(entry)) : "";
    }
    return bytes;
}

struct Step {
    const char *name;
    void (*prepare)(InterfaceScope *scope);
    void (*act)(InterfaceScope *scope);
    std::vector<std::pair<Part, std::string>> also; // the exceptions
};

constexpr Point query_save_button = {395, 38};
const std::string long_folder = "C:/" + std::string(590, 'd'), long_name(700, 'n');
const std::string long_template =
    "L {tarn_row} " + std::string(880, 't') + " {tarn_file_folder_bs} {tarn_file_name}";

std::string command_of_long_template(bool has_folder, bool has_name) {
    std::string folder = "C:\\" + std::string(590, 'd');
    return "L 3 " + std::string(880, 't') + " " + (has_folder ? folder : "") + " " +
           (has_name ? long_name : "") + "|";
}

const std::vector<Step> steps = {
    {"a first frame", [](InterfaceScope *) {}, [](InterfaceScope *scope) { scope->warm(); }, {}},
    {"a glyph outside ASCII",
     [](InterfaceScope *scope) {
         scope->warm();
         FrameScope::put_hit(10, "größe needle");
     },
     [](InterfaceScope *scope) {
         scope->begin();
         scope->draw();
     },
     {}},
    {"typing that grows the field",
     [](InterfaceScope *scope) {
         set_field(query, std::string(1024, 'x'));
         FrameScope::focus(query, {{1024, 1024}});
         saved_list_write(query);
         scope->warm();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         type_unit('y');
         scope->draw();
     },
     {}},
    {"typing",
     [](InterfaceScope *scope) { scope->warm(); },
     [](InterfaceScope *scope) {
         scope->begin();
         type_unit('y');
         scope->draw();
     },
     {}},
    {"Enter that grows the path",
     [](InterfaceScope *scope) {
         set_field(path, "C:/" + std::string(1018, 'x') + "/pr");
         FrameScope::focus(path, {{0, 0}});
         saved_list_write(path);
         scope->warm();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         press_key(KEY_ENTER);
         scope->draw();
     },
     {}},
    {"saving an entry that grows the list",
     [](InterfaceScope *scope) {
         set_entries(query, std::vector<std::string>(128, "e"));
         saved_list_write(query);
         scope->warm();
     },
     [](InterfaceScope *scope) { click_at(scope, MOUSE_LEFT, query_save_button); },
     // Without memory for the entry's text, or for the list's growth.
     {{QUERY_ENTRIES,
       [] {
           std::string entries;
           for (int i = 0; i < 128; i++) {
               entries += "e|";
           }
           return entries;
       }()},
      {QUERY_ENTRIES, ""}}},
    {"picking an entry that grows the field",
     [](InterfaceScope *scope) {
         set_entries(query, {"hay", std::string(3000, 'p')});
         saved_list_write(query);
         input_field.dropdown_open = true;
         scope->warm();
     },
     [](InterfaceScope *scope) {
         click_at(scope, MOUSE_LEFT, {200, list_top + 17 + 5});
     },
     {}},
    {"removing an entry",
     [](InterfaceScope *scope) {
         input_field.dropdown_open = true;
         scope->warm();
     },
     [](InterfaceScope *scope) {
         click_at(scope, MOUSE_LEFT, {14, list_top + 8});
     },
     {}},
    {"opening the saved entries",
     [](InterfaceScope *scope) { scope->warm(); },
     [](InterfaceScope *scope) {
         click_at(scope, MOUSE_RIGHT, {200, 38});
         scope->begin();
         scope->draw();
     },
     {}},
    {"a click on a hit with a long command",
     [](InterfaceScope *scope) {
         settings.left_click_cmd = str_over(long_template);
         FileEntry *file = reinterpret_cast<FileEntry *>(results_store.file_table.data);
         *file = {str_over(long_folder), str_over(long_name)};
         scope->warm();
         free_row_text();
     },
     [](InterfaceScope *scope) {
         click_at(scope, MOUSE_LEFT, {200, list_top + 15 * 3 + 5});
     },
     {{COMMANDS, command_of_long_template(false, false)},
      {COMMANDS, command_of_long_template(false, true)},
      {COMMANDS, command_of_long_template(true, false)}}},
    {"the wheel, as the first input of all",
     [](InterfaceScope *scope) {
         scope->warm();
         os_free(input_state.slots);
         input_state.slots = nullptr;
     },
     [](InterfaceScope *scope) {
         scope->begin();
         PlatformWindow turned = {};
         turned.client_size = canvas_size;
         WindowEvent event = {};
         event.type = EVENT_MOUSE_WHEEL;
         event.window = &turned;
         event.wheel = {{1, 1}, -1};
         input_handle_event(&event);
         scope->draw();
     },
     {}},
    {"copying a long selection",
     [](InterfaceScope *scope) {
         set_field(query, std::string(3000, 'c'));
         FrameScope::focus(query, {{0, 3000}});
         saved_list_write(query);
         scope->warm();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         with_ctrl(KEY_C);
         scope->draw();
     },
     {}},
    {"copying a selected hit",
     [](InterfaceScope *scope) {
         settings.list_keys = true;
         list_keys = {};
         FileEntry *file = reinterpret_cast<FileEntry *>(results_store.file_table.data);
         *file = {str_over(long_folder), str_over(long_name)};
         scope->warm();
         free_row_text();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         press_key(KEY_DOWN);
         ui_press(KEY_SHIFT, {});
         with_ctrl(KEY_C);
         ui_release(KEY_SHIFT, {});
         scope->draw();
     },
     {}},
    {"cutting",
     [](InterfaceScope *scope) {
         FrameScope::focus(query, {{0, 6}});
         scope->warm();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         with_ctrl(KEY_X);
         scope->draw();
     },
     {}},
    {"pasting what grows the field",
     [](InterfaceScope *scope) {
         std::string text(3000, 'v');
         os_clipboard_set_text(str_over(text));
         scope->warm();
     },
     [](InterfaceScope *scope) {
         scope->begin();
         with_ctrl(KEY_V);
         scope->draw();
     },
     {}},
};

bool is_allowed(const Step &step, Part part, const std::string &value) {
    return std::any_of(step.also.begin(), step.also.end(), [&](const std::pair<Part, std::string> &also) {
        return also.first == part && also.second == value;
    });
}

// The next step, with enough memory: typing changes the text, the file holds the list, and a click runs its
// command.
void go_on_after_step(InterfaceScope *scope) {
    search_state.request_pending = 0;
    input_field.dropdown_open = false;
    search_state.results_scroll = 0;
    FrameScope::focus(query, {{0, 0}});
    scope->begin();
    type_unit('z');
    EXPECT_EQ(text_of(*query).substr(0, 1), "z");
    EXPECT_EQ(search_state.request_pending, 1);
    if (query_field.entries.capacity > 0) { // a list without storage does not write its file
        EXPECT_EQ(scope->file("saved_queries.txt"), plain_file(query));
    }
    recorded_commands.clear();
    results_store.file_table.count = 0;
    results_store.matching_folders.count = 0;
    results_store.other_folders.count = 0;
    InterfaceScope::put_results();
    settings.left_click_cmd = str_from("L {tarn_row} {tarn_file_name}");
    click_at(scope, MOUSE_LEFT, {200, list_top + 15 * 3 + 5});
    ASSERT_EQ(recorded_commands.size(), 1u);
    EXPECT_EQ(recorded_commands[0].text, "L 3 a.c");
}

} // namespace

TEST(FaultsOfTheInterface, LoseWhatTheMemoryWasForAndTheNextStepWorks) {
    uint64_t changed_in_all = 0;
    for (const Step &step : steps) {
        Parts before, after;
        std::vector<uint64_t> sizes;
        std::vector<uint32_t> whole_picture;
        {
            InterfaceScope scope;
            step.prepare(&scope);
            before = parts_of(scope);
            FailingAllocation none_fails(nothing, ALONE);
            step.act(&scope);
            after = parts_of(scope);
            sizes = none_fails.sizes;
            whole_picture = scope.picture();
        }
        uint64_t runs = 0, changed_pictures = 0;
        for (Series series : both_series) {
            for (uint64_t nth = 0; nth < sizes.size(); nth++) {
                SCOPED_TRACE(std::string(step.name) + ": " + place(nth, series) + ", " +
                             std::to_string(sizes[nth]) + " bytes");
                // Leaks the texts of a list that could not grow, and a replaced text without a note.
                LeakIf texts_stay(fails_for(sizes, nth, series, 256 * sizeof(SavedEntry)) ||
                                  fails_for(sizes, nth, series, note_size));
                InterfaceScope scope;
                step.prepare(&scope);
                {
                    FailingAllocation failing(nth, series);
                    step.act(&scope);
                }
                runs++;
                Parts now = parts_of(scope);
                for (int i = PATH; i <= STATE; i++) {
                    Part part = static_cast<Part>(i);
                    bool is_file = part == PATHS_ON_DISK || part == QUERIES_ON_DISK;
                    std::string of_list = is_file ? plain_file(part == PATHS_ON_DISK ? path : query) : "";
                    EXPECT_TRUE(now[part] == before[part] || now[part] == after[part] ||
                                (is_file && now[part] == of_list) || is_allowed(step, part, now[part]))
                        << "part " << i << ": " << now[part];
                }
                changed_pictures += scope.picture() != whole_picture;
                go_on_after_step(&scope);
            }
        }
        report(step.name, sizes.size(), runs, 0);
        changed_in_all += changed_pictures;
    }
    EXPECT_GT(changed_in_all, 0u); // some losses show
}
