// Folders and files for a test, and searches of them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "os/files.h"
#include "os/strings.h"

// A Str over a std::string's bytes, valid as long as the string.
Str str_over(const std::string &text);
std::string to_string(Str text);

// An entry as a listing reports it; size: bytes.
FolderEntry listed(Str name, uint64_t size, bool is_folder);

// A folder of its own for one test, removed with all that is in it. Names are UTF-8.
class TestTree {
public:
    TestTree();
    ~TestTree();
    TestTree(const TestTree &) = delete;
    TestTree &operator=(const TestTree &) = delete;

    // The folder, or something in it, as the program takes paths: '/'-separated, no '/' at the end.
    std::string path(const std::string &name = "") const;
    std::filesystem::path native(const std::string &name) const;

    // Writes a file, with the folders above it.
    void file(const std::string &name, const std::string &bytes) const;
    void folder(const std::string &name) const;

    // Replaces what is there, or only removes it if there are no bytes.
    void put(const std::string &name, const std::optional<std::string> &bytes) const;

    // A file's bytes; none when it is missing.
    std::optional<std::string> read(const std::string &name) const;

    // The names of all that is in the folder itself, sorted, with spaces between.
    std::string names() const;

private:
    std::filesystem::path root;
};

// Reads a file with the standard library; fails the test when it cannot.
std::string bytes_of(const std::filesystem::path &path);

// Sets the shared state up as start-up does, with empty texts, and frees all of it at the end. The arena's
// block is smaller than the program's, an eighth of which AddressSanitizer would write each time.
class SearchScope {
public:
    explicit SearchScope(uint64_t arena_block_size = 1000000); // bytes
    ~SearchScope();
    SearchScope(const SearchScope &) = delete;
    SearchScope &operator=(const SearchScope &) = delete;
};

// Frees the strings of the results and leaves an empty arena, without a block.
void free_results_arena();

// Replaces a field's text; fails the test when out of memory.
void set_field(StrBuf *field, const std::string &text);

// What the store holds, one line a row:
//   files <rows>, file <folder>/<name>, hit <line> <column> <byte offset> <text>, match <name>, other <name>
// The tree's own path is left out of the file lines.
std::string stored_rows(const std::string &root = "");

// Publishes a request and runs it in this thread. SearchScope must live.
std::string search_rows(const TestTree &tree, const std::string &path, const std::string &query);

// The same, the file groups sorted by name: systems list folders in orders of their own.
std::string sorted_search_rows(const TestTree &tree, const std::string &path, const std::string &query);
std::string sort_file_groups(const std::string &rows);
