#include "os/replace_file.h"

#include <string.h>

FileCalls replace_file_calls = {os_file_write, os_file_delete};

namespace {

// The content in a second file's bytes; null data when the file is incomplete.
Str content_of_second(Str second) {
    if (second.count < replaced_length_size) {
        return {};
    }
    uint64_t length;
    memcpy(&length, second.data, replaced_length_size);
    return length == second.count - replaced_length_size ? Str{length, second.data + replaced_length_size}
                                                         : Str{};
}

// Reads a file; null data when there is none, or a folder of that name. Returns false, with null data, when
// it exists and cannot be read.
bool read_file(Str path, Str *content) {
    *content = os_file_read_all(path);
    return content->data || !os_path_exists(path) || os_path_is_folder(path);
}

enum ContentPlace : uint8_t {
    CONTENT_UNKNOWN, // one of the files cannot be read
    CONTENT_IN_FIRST,
    CONTENT_IN_SECOND, // the replacement of the first file was interrupted
};

// Finds the file that has the content. second: all bytes of the second file, freed with os_file_free; null
// data when there is none or it cannot be read.
ContentPlace find_content(Str first_path, Str second_path, Str *second) {
    if (!read_file(second_path, second)) {
        return CONTENT_UNKNOWN;
    }
    Str content = content_of_second(*second);
    if (!content.data) {
        return CONTENT_IN_FIRST; // not touched yet
    }
    Str first;
    ContentPlace place = read_file(first_path, &first) ? CONTENT_IN_FIRST : CONTENT_UNKNOWN;
    if (place == CONTENT_IN_FIRST && first.count < content.count &&
        str_equal(first, {first.count, content.data})) {
        place = CONTENT_IN_SECOND;
    }
    os_file_free(&first);
    return place;
}

// Deletes the first file and writes it again. Returns 0: written, 1: could not be deleted and is as it was,
// 2: deleted and could not be written.
int32_t replace_first(Str first_path, Str content) {
    // Written over a longer file, the content would keep that file's end.
    if (replace_file_calls.remove(first_path) != 0) {
        return 1;
    }
    uint32_t count = static_cast<uint32_t>(content.count);
    return replace_file_calls.write(first_path, count, content.data) == 0 ? 0 : 2;
}

// Finishes an interrupted replacement and deletes the second file. Returns false when it cannot.
bool finish_replacement(Str first_path, Str second_path) {
    Str second;
    ContentPlace place = find_content(first_path, second_path, &second);
    if (place == CONTENT_IN_SECOND && replace_first(first_path, content_of_second(second)) == 0) {
        place = CONTENT_IN_FIRST;
    }
    os_file_free(&second);
    return place == CONTENT_IN_FIRST && replace_file_calls.remove(second_path) == 0;
}

} // namespace

bool read_replaced_file(const ReplacedFile *file, Str *content) {
    finish_replacement(file->first, file->second);
    Str second;
    ContentPlace place = find_content(file->first, file->second, &second);
    if (place == CONTENT_IN_SECOND) {
        second.count -= replaced_length_size;
        memmove(second.data, second.data + replaced_length_size, second.count);
        *content = second;
        return true;
    }
    os_file_free(&second);
    if (place == CONTENT_IN_FIRST) { // otherwise this version's second file, which is newer, has the content
        finish_replacement(file->first, file->earlier);
        place = find_content(file->first, file->earlier, &second);
        os_file_free(&second);
    }
    // An earlier second file that could not be finished keeps the content. One that cannot be read has it at
    // most while the first is empty.
    if (!read_file(file->first, content) || place == CONTENT_IN_SECOND ||
        (place == CONTENT_UNKNOWN && content->count == 0)) {
        os_file_free(content);
        return false;
    }
    return true;
}

void replace_file(const ReplacedFile *file, Str block) {
    uint64_t length = block.count - replaced_length_size;
    memcpy(block.data, &length, replaced_length_size);
    Str content = content_of_second(block);
    if (!finish_replacement(file->first, file->second)) {
        if (os_path_is_folder(file->second)) {
            replace_first(file->first, content); // a kill in between, or a full disk, loses the content
        }
        return;
    }
    // Without the second file the first is not touched: whatever prevented writing the second may also
    // prevent rewriting the first.
    if (replace_file_calls.write(file->second, static_cast<uint32_t>(block.count), block.data) != 0 ||
        replace_first(file->first, content) != 2) {
        replace_file_calls.remove(file->second);
    }
}
