// The saved lists of both fields compared with plain ones, with files in memory: files of any bytes are
// loaded, texts typed, saved and removed; the program is killed or its disk fails in the middle of a write; a
// file cannot be read for a while.
//
// An input: the contents of both lists' files at the start, then steps of one byte, some followed by
// arguments. A file is its kind, one more byte, its bytes up to 0xFF, and its second file's bytes likewise.

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fuzz.h"
#include "os/arrays.h"
#include "os/files.h"
#include "os/paths.h"
#include "search/search_state.h"
#include "ui/plain_saved_lists.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"

// ---- Files in memory, in place of the system's ----

namespace {

using Bytes = std::optional<std::string>; // a file's contents; none when it is missing

enum Fault : uint8_t {
    FAILS_ONCE,
    KILLED,    // the program's further writes and deletions have no effect
    DISK_FULL, // no write succeeds
    READ_ONLY, // no write and no deletion succeeds
};

struct Disk {
    std::map<std::string, std::string> files;
    Fault fault = FAILS_ONCE;
    int steps_left = -1;      // deletions and writes before the fault; -1: no fault
    bool lasts = false;       // the fault has begun and persists
    int hits = 0;             // number of steps that failed
    uint8_t written_part = 0; // of 256: how much of a failing write is done
    std::set<std::string> unreadable;
    std::set<std::string> folders; // where files should be

    bool is_killed() const {
        return lasts && fault == KILLED;
    }
    void repair() {
        steps_left = -1;
        lasts = false;
        unreadable.clear();
        folders.clear();
    }
    Bytes read(const std::string &name) const {
        const auto found = files.find(name);
        return found == files.end() ? std::nullopt : Bytes(found->second);
    }
    void put(const std::string &name, const Bytes &bytes) {
        files.erase(name);
        if (bytes) {
            files[name] = *bytes;
        }
    }
    // Counts a step; returns whether it fails.
    bool fails(bool is_writing) {
        if (!lasts && steps_left-- == 0) {
            lasts = fault != FAILS_ONCE;
            hits++;
            return true;
        }
        steps_left = std::max(steps_left, -1);
        const bool is_hit = lasts && (fault != DISK_FULL || is_writing);
        hits += is_hit;
        return is_hit;
    }
};

Disk disk;

} // namespace

Str os_file_read_all(Str path) {
    const Bytes bytes = disk.read(to_string(path));
    if (!bytes || disk.unreadable.count(to_string(path))) {
        return {};
    }
    char *block =
        static_cast<char *>(os_alloc(bytes->size() + 1)); // without the system's extra bytes after it
    memcpy(block, bytes->c_str(), bytes->size() + 1);
    return {bytes->size(), block};
}

bool os_path_exists(Str path) {
    return disk.read(to_string(path)).has_value() || os_path_is_folder(path);
}

bool os_path_is_folder(Str path) {
    return disk.folders.count(to_string(path)) > 0;
}

void os_file_free(Str *contents) {
    os_free(contents->data);
    *contents = {};
}

int32_t os_file_write(Str path, uint32_t count, const char *bytes) {
    if (disk.is_killed()) {
        return 0;
    }
    if (os_path_is_folder(path)) {
        return 1;
    }
    uint32_t done = count;
    const bool fails = disk.fails(true);
    if (fails) {
        if (disk.written_part == 0 || disk.fault == READ_ONLY) {
            return 1; // the file is not even created
        }
        done = static_cast<uint32_t>(uint64_t{count} * disk.written_part / 256);
    }
    std::string &file = disk.files[to_string(path)];
    file.replace(0, std::min<size_t>(done, file.size()), bytes, done); // a longer old end stays
    return fails ? 2 : 0;
}

int32_t os_file_delete(Str path) {
    if (disk.is_killed()) {
        return 0;
    }
    if (os_path_is_folder(path) || disk.fails(false)) {
        return 1;
    }
    disk.files.erase(to_string(path));
    disk.unreadable.erase(to_string(path)); // a new file of that name can be read
    return 0;
}

namespace {

const std::string first_names[] = {"C:/d/saved_paths.txt", "C:/d/saved_queries.txt"};

std::string second_name(size_t which) {
    return first_names[which].substr(0, first_names[which].size() - 4) + ".new";
}

std::string earlier_name(size_t which) { // as in version 0.9.5
    return first_names[which] + ".new";
}

std::string with_length(const std::string &content) {
    const uint64_t length = content.size();
    return std::string(reinterpret_cast<const char *>(&length), 8) + content;
}

// The second file's contents when the first one was cut off while it was replaced.
Bytes plain_interrupted(const Bytes &first, const Bytes &second) {
    if (second && second->size() >= 8) {
        const std::string content = second->substr(8);
        const std::string start = first.value_or("");
        const bool is_whole = *second == with_length(content);
        if (is_whole && start.size() < content.size() && content.compare(0, start.size(), start) == 0) {
            return content;
        }
    }
    return std::nullopt;
}

// Which of the two files' contents count as the list.
Bytes plain_recovered(const Bytes &first, const Bytes &second) {
    const Bytes interrupted = plain_interrupted(first, second);
    return interrupted ? interrupted : first;
}

bool is_unreadable(const std::string &name) {
    return disk.files.count(name) && disk.unreadable.count(name);
}

// The list that a program reads from its files, empty when they are missing; none when it may be in an
// unreadable one.
Bytes plain_read(size_t which) {
    const Bytes first = disk.read(first_names[which]);
    const Bytes second = disk.read(second_name(which));
    if (is_unreadable(first_names[which])) {
        return std::nullopt;
    }
    if (is_unreadable(second_name(which))) {
        return first.value_or("").empty() ? std::nullopt : first;
    }
    const Bytes earlier = disk.read(earlier_name(which));
    return plain_recovered(plain_recovered(first, second), earlier).value_or("");
}

// ---- The lists, real and plain ----

Field *const fields[] = {&path_field, &query_field};

void empty_list(DynArray *list) {
    for (uint64_t row = 0; row < list->count; row++) {
        os_free(saved_entry_at(list, row)->text);
    }
    list->count = 0;
}

std::string written(const PlainSavedList &list) {
    std::string all = list.text + (list.is_saved ? "\nsaved" : "\nnot saved");
    for (const PlainEntry &entry : list.entries) {
        all += (entry.is_live ? "\n+" : "\n-") + entry.text;
    }
    return all;
}

std::string stored(size_t which) {
    const bool is_saved = fields[which]->is_saved;
    const DynArray *list = &fields[which]->entries;
    std::string all = to_string(strbuf_text(fields[which]->text)) + (is_saved ? "\nsaved" : "\nnot saved");
    for (uint64_t row = 0; row < list->count; row++) {
        const SavedEntry *entry = saved_entry_at(list, row);
        all += (entry->in_use ? "\n+" : "\n-") + to_string(saved_entry_text(entry));
        uint64_t capacity = 8;
        while (capacity < entry->length) {
            capacity *= 2;
        }
        fuzz_expect("an entry's storage", static_cast<int64_t>(entry->capacity),
                    static_cast<int64_t>(capacity));
        fuzz_expect("the byte after an entry", entry->text[entry->length], 0);
    }
    return all;
}

class Run {
public:
    explicit Run(FuzzInput *bytes) : input(*bytes) {
        disk = {};
        saved_folder = str_over(folder);
        for (size_t which = 0; which < 2; which++) {
            plain[which].is_path = which == 0;
            strbuf_init(fields[which]->text, 16);
            fields[which]->text->data[0] = 0;
            dynarray_init(&fields[which]->entries, sizeof(SavedEntry), 4);
        }
        for (size_t which = 0; which < 2; which++) {
            put_files(which);
            start(which, true);
        }
        compare();
    }
    ~Run() {
        for (Field *field : fields) {
            empty_list(&field->entries);
            os_free(field->entries.data);
            os_free(field->text->data);
            field->entries = {};
            field->is_saved = field->is_unread = 0;
        }
        saved_folder = {};
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void step() {
        const uint8_t what = input.byte();
        const size_t which = what >> 7;
        const size_t focus = what >> 6 & 1;
        switch (what % 16) {
        case 0:
        case 1:
        case 2: // a text is typed
            type(which, input.text(input.below(32)));
            mark(which);
            write(which);
            break;
        case 3: // as a click into the field leaves it
            type(which, input.text(input.below(32)));
            break;
        case 4:
            if (what & 0x20) {
                block_reading(which, input.byte());
            }
            mark(which);
            break;
        case 5:
        case 6:
            save(which, focus);
            break;
        case 7:
            flip(which, input.byte());
            break;
        case 8:
            write(which);
            break;
        case 9: // an entry's text is typed
            if (!plain[which].entries.empty()) {
                type(which, plain[which].entries[input.byte() % plain[which].entries.size()].text);
                mark(which);
            }
            break;
        case 10: // many entries are saved and removed
            for (uint32_t count = input.below(30); count > 0; count--) {
                type(which, "entry " + std::to_string(count));
                mark(which);
                save(which, which);
                flip(which, static_cast<uint32_t>(plain[which].entries.size()) - 1);
            }
            break;
        case 11:
            if (what & 0x10) {
                start_with_a_fault(which);
            } else {
                start(which, what & 0x20);
            }
            break;
        case 12:
        case 13:
        case 14: // the disk fails, or the program is killed and started again
            arm();
            break;
        default:
            clean(which, what & 0x20);
        }
        compare();
    }

private:
    FuzzInput &input;
    const std::string folder = "C:/d/";
    std::array<PlainSavedList, 2> plain;
    std::array<bool, 2> is_unread = {}; // the list's file exists and could not be read
    // What each file may hold, empty when it is missing: several contents after failed writes.
    std::array<std::vector<std::string>, 2> possible;
    // Of the last write:
    bool had_fault = false;
    Bytes first_before;
    Bytes counts_before;

    void put_files(size_t which) {
        const uint8_t kind = input.byte();
        const size_t cut = input.byte();
        Bytes first = input.text_before(0xFF);
        Bytes second = input.text_before(0xFF);
        switch (kind % 4) {
        case 0:
            second.reset();
            break;
        case 1:
            break;
        default: // as a killed program left it, perhaps cut off
            second = with_length(*second);
            second->resize(second->size() - (kind & 8 ? cut % (second->size() + 1) : 0));
        }
        if (kind & 4 && second && second->size() >= 8) {
            first = second->substr(8, cut); // a beginning of it
        }
        if (kind & 16) {
            first.reset();
        }
        disk.put(first_names[which], first);
        disk.put(kind & 32 ? earlier_name(which) : second_name(which), second);
        possible[which] = {plain_recovered(first, second).value_or("")};
    }

    // A new program reads the files, perhaps with a disk fault meanwhile.
    void load(size_t which, bool restores_text) {
        fields[which]->is_saved = 0;
        empty_list(&fields[which]->entries);
        set_request_text(fields[which]->text, {});
        const Bytes counts = plain_read(which);
        saved_list_load(fields[which], restores_text);
        plain[which].is_saved = false;
        plain[which].text.clear();
        plain[which].entries.clear();
        is_unread[which] = true;
        take_read(which, counts, restores_text);
    }

    // counts: plain_read's result before the program read.
    void take_read(size_t which, const Bytes &counts, bool restores_text) {
        if (!is_unread[which] || !counts) {
            return;
        }
        is_unread[which] = false;
        if (is_unreadable(second_name(which))) {
            possible[which].push_back(*counts); // perhaps a beginning of the second file's contents
        } else {
            if (std::find(possible[which].begin(), possible[which].end(), *counts) == possible[which].end()) {
                fuzz_expect("the list at a start", *counts, possible[which].back());
            }
            possible[which] = {*counts};
        }
        plain[which].load(*counts, restores_text);
    }

    // The same without disk faults: afterwards there is only the first file, with the list.
    void start(size_t which, bool restores_text) {
        disk.repair();
        load(which, restores_text);
        fuzz_expect("a file after a start", disk.read(first_names[which]).value_or(""), possible[which][0]);
        fuzz_expect("the second file after a start", disk.read(second_name(which)).has_value(), 0);
        fuzz_expect("the second file of version 0.9.5", disk.read(earlier_name(which)).has_value(), 0);
        compare();
    }

    void start_with_a_fault(size_t which) {
        arm();
        load(which, true);
        if (disk.is_killed()) {
            start(which, true);
            start(1 - which, true);
        }
    }

    void arm() {
        disk.repair();
        disk.fault = static_cast<Fault>(input.below(4));
        disk.steps_left = static_cast<int>(input.below(6));
        disk.written_part = input.byte();
    }

    // One of a list's files, or both, cannot be read until the disk is repaired, or there is a folder where
    // the second one should be; perhaps the program is started then.
    void block_reading(size_t which, uint8_t what) {
        disk.repair();
        if (what & 16 && !disk.files.count(second_name(which))) {
            disk.folders.insert(second_name(which));
        }
        if (what % 4 != 1) {
            disk.unreadable.insert(first_names[which]);
        }
        if (what % 4 != 0) {
            disk.unreadable.insert(second_name(which));
        }
        if (what & 4) {
            load(which, what & 8);
            compare();
        }
    }

    // Checks the files after the real program has written the field's file, or tried to.
    void expect_written(size_t which) {
        const std::string content = plain[which].contents();
        if (disk.is_killed()) {
            possible[which].push_back(content);
            start(which, true);
            start(1 - which, true); // its unsaved list is lost too
            return;
        }
        const Bytes first = disk.read(first_names[which]);
        const Bytes second = disk.read(second_name(which));
        if (is_unread[which]) {
            fuzz_expect("a file that was not read", first == first_before, 1);
            return;
        }
        if (!had_fault) {
            fuzz_expect("a file after a write", first.value_or("(missing)"), content);
            fuzz_expect("the second file after a write", second.has_value(), 0);
        }
        // A first file of this content is not enough: the second one may hold an older text's that begins
        // with it.
        if (plain_recovered(first, second) == content) {
            possible[which] = {content};
        } else {
            possible[which].push_back(content);
        }
    }

    void mark(size_t which) {
        saved_mark_update(fields[which]);
        plain[which].update_mark();
    }

    void type(size_t which, const std::string &text) {
        const ExactBytes bytes(text);
        set_request_text(fields[which]->text, bytes.str);
        plain[which].text = text;
    }

    void clean(size_t which, bool keep) {
        strbuf_clean_path(fields[which]->text, keep);
        plain[which].text = plain_clean(plain[which].text, keep);
        fuzz_expect("the byte after a field", fields[which]->text->data[fields[which]->text->count], 0);
    }

    template <typename Writing> void watch(size_t which, Writing writing) {
        first_before = disk.read(first_names[which]);
        counts_before = plain_read(which);
        const int hits_before = disk.hits;
        writing();
        had_fault = disk.hits > hits_before || is_unreadable(second_name(which)) || !counts_before;
    }

    void write(size_t which) {
        watch(which, [&] { saved_list_write(fields[which]); });
        take_read(which, counts_before, false);
        expect_written(which);
    }

    void save(size_t which, size_t focus) {
        const std::map<std::string, std::string> files_before = disk.files;
        watch(which, [&] { saved_list_save(fields[which], fields[focus]); });
        if (!plain[which].save()) {
            fuzz_expect("files that are not written", disk.files == files_before, 1);
            return;
        }
        take_read(which, counts_before, false);
        plain[focus].update_mark();
        expect_written(which);
    }

    void flip(size_t which, uint32_t row) {
        watch(which, [&] { saved_entry_flip(fields[which], row); });
        if (row < plain[which].entries.size()) {
            plain[which].entries[row].is_live = !plain[which].entries[row].is_live;
            take_read(which, counts_before, false);
            // The file has the text as it was before the mark's update cleaned it.
            expect_written_then_mark(which);
        }
    }

    void expect_written_then_mark(size_t which) {
        const bool is_killed = disk.is_killed();
        expect_written(which);
        if (!is_killed) {
            plain[which].update_mark();
        }
    }

    void compare() const {
        fuzz_expect("the paths", stored(0), written(plain[0]));
        fuzz_expect("the queries", stored(1), written(plain[1]));
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    Run run(&input);
    while (!input.is_over()) {
        run.step();
    }
    return 0;
}
