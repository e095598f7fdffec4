#include "support/test_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string.h>

#include "os/arena.h"
#include "os/arrays.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/worker.h"
#include "support/system_files.h"

namespace fs = std::filesystem;

Str str_over(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

std::string to_string(Str text) {
    return text.count > 0 ? std::string(text.data, text.count) : std::string();
}

FolderEntry listed(Str name, uint64_t size, bool is_folder) {
    FolderEntry entry = {};
    entry.name = name;
    entry.size = size;
    entry.is_folder = is_folder;
    return entry;
}

TestTree::TestTree() {
    // Tests of other checkouts may run at the same time, so the process and a counter come first.
    static int made;
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name =
        "tarnwick_" + std::to_string(process_id()) + "_" + std::to_string(made++) + "_" + test->name();
    root = fs::temp_directory_path() / name.substr(0, 60);
    remove_tree(root); // left by a process with the same id
    fs::create_directories(root);
}

TestTree::~TestTree() {
    remove_tree(root);
}

std::string TestTree::path(const std::string &name) const {
    std::u8string utf8 = root.generic_u8string();
    std::string text(utf8.begin(), utf8.end());
    return name.empty() ? text : text + "/" + name;
}

fs::path TestTree::native(const std::string &name) const {
    return root / fs::path(std::u8string(name.begin(), name.end()));
}

void TestTree::file(const std::string &name, const std::string &bytes) const {
    std::ofstream out(native(name), std::ios::binary);
    if (!out) {
        fs::create_directories(native(name).parent_path());
        out.open(native(name), std::ios::binary);
    }
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(out.flush().good()) << name;
}

void TestTree::folder(const std::string &name) const {
    fs::create_directories(native(name));
}

void TestTree::put(const std::string &name, const std::optional<std::string> &bytes) const {
    fs::remove_all(native(name));
    if (bytes) {
        file(name, *bytes);
    }
}

std::optional<std::string> TestTree::read(const std::string &name) const {
    return fs::is_regular_file(native(name)) ? std::optional(bytes_of(native(name))) : std::nullopt;
}

std::string TestTree::names() const {
    std::vector<std::string> found;
    for (const fs::directory_entry &entry : fs::directory_iterator(root)) {
        found.push_back(entry.path().filename().string());
    }
    std::sort(found.begin(), found.end());
    std::string all;
    for (const std::string &name : found) {
        all += (all.empty() ? "" : " ") + name;
    }
    return all;
}

std::string bytes_of(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << path;
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

SearchScope::SearchScope(uint64_t arena_block_size) {
    results_store_reserve();
    arena_init(&results_store.arena, arena_block_size);
    strbuf_init(&search_state.path, 1024);
    strbuf_init(&search_state.query, 1024);
    search_state.request_pending = 1;
    search_state.max_file_size = 10000000;
    search_state.ignore_case = false;
    search_state.skip_folders = {};
    search_state.results_dirty = 0;
    search_state.results_scroll = 0;
}

void free_results_arena() {
    StringArena &arena = results_store.arena;
    for (uint64_t i = 0; i < arena.block_count; i++) {
        os_free(arena.blocks[i].base);
    }
    if (arena.blocks != &arena.first_block) {
        os_free(arena.blocks);
    }
    arena = {};
}

SearchScope::~SearchScope() {
    for (DynArray *table : {&results_store.file_table, &results_store.hit_table,
                            &results_store.matching_folders, &results_store.other_folders}) {
        os_free(table->data);
        *table = {};
    }
    free_results_arena();
    for (StrBuf *field : {&search_state.path, &search_state.query}) {
        os_free(field->data);
        *field = {};
    }
}

void set_field(StrBuf *field, const std::string &text) {
    ASSERT_TRUE(set_request_text(field, str_over(text)));
}

std::string stored_rows(const std::string &root) {
    std::string rows = "files " + std::to_string(results_store.file_table.count) + "\n";
    const FileEntry *files = reinterpret_cast<const FileEntry *>(results_store.file_table.data);
    const ResultRecord *hits = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        const ResultRecord &hit = hits[i];
        if (hit.kind == RESULT_FILE_HEADER) {
            std::string path =
                to_string(files[hit.file_index].folder) + "/" + to_string(files[hit.file_index].name);
            bool below_root = !root.empty() && path.compare(0, root.size() + 1, root + "/") == 0;
            rows += "file " + (below_root ? path.substr(root.size() + 1) : path) + "\n";
        } else {
            rows += "hit " + std::to_string(hit.line) + " " + std::to_string(hit.column) + " " +
                    std::to_string(hit.byte_offset) + " " + to_string(hit.text) + "\n";
        }
    }
    const auto put_names = [&rows](const char *label, const DynArray &list) {
        for (uint64_t i = 0; i < list.count; i++) {
            rows += label + to_string(reinterpret_cast<const Str *>(list.data)[i]) + "\n";
        }
    };
    put_names("match ", results_store.matching_folders);
    put_names("other ", results_store.other_folders);
    return rows;
}

std::string search_rows(const TestTree &tree, const std::string &path, const std::string &query) {
    set_field(&search_state.path, path);
    set_field(&search_state.query, query);
    publish_request();
    EXPECT_TRUE(search_worker_turn());
    return stored_rows(tree.path());
}

std::string sort_file_groups(const std::string &rows) {
    std::istringstream lines(rows);
    std::string first;
    std::getline(lines, first);
    std::vector<std::string> groups;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 4, "hit ") == 0 && !groups.empty()) {
            groups.back() += line + "\n";
        } else {
            groups.push_back(line + "\n");
        }
    }
    std::sort(groups.begin(), groups.end());
    std::string sorted = first + "\n";
    for (const std::string &group : groups) {
        sorted += group;
    }
    return sorted;
}

std::string sorted_search_rows(const TestTree &tree, const std::string &path, const std::string &query) {
    return sort_file_groups(search_rows(tree, path, query));
}
