// The text is expanded in place, with the room that the storage has left as a gap: what has been looked at
// stands before the gap, what is still to come at the storage's end. No step moves the text, so that a
// folder's name cannot make the expansion quadratic.
#include "actions/command_template.h"

#include <string.h>

#include "os/process.h"

// ---- The row-text buffer ----

StrBuf row_text;

uint8_t row_text_set(Str text) {
    constexpr uint64_t first_capacity = 1024;
    if (!row_text.data) {
        strbuf_init(&row_text, first_capacity);
    }
    return strbuf_set_end(&row_text, 0, text, nullptr);
}

// ---- Placeholders ----

namespace {

enum PlaceholderMeaning : uint8_t {
    HIT_ROW,
    HIT_COLUMN,
    HIT_BYTE,
    FILE_NAME,
    FILE_FOLDER,
    FILE_FOLDER_BACKSLASHED,
};

struct Placeholder {
    const char *text;
    uint64_t count; // bytes of text
    PlaceholderMeaning meaning;
};

#define PLACEHOLDER(text, meaning)                                                                           \
    { text, sizeof(text) - 1, meaning }
constexpr Placeholder placeholders[] = {
    PLACEHOLDER("{tarn_row}", HIT_ROW),
    PLACEHOLDER("{tarn_column}", HIT_COLUMN),
    PLACEHOLDER("{tarn_byte}", HIT_BYTE),
    PLACEHOLDER("{tarn_file_name}", FILE_NAME),
    PLACEHOLDER("{tarn_file_folder}", FILE_FOLDER),
    PLACEHOLDER("{tarn_file_folder_bs}", FILE_FOLDER_BACKSLASHED),
};
#undef PLACEHOLDER

// The placeholder that text begins with, or null.
const Placeholder *placeholder_at(const char *text, uint64_t count) {
    if (*text != '{') {
        return nullptr;
    }
    for (const Placeholder &placeholder : placeholders) {
        if (count >= placeholder.count && memcmp(text, placeholder.text, placeholder.count) == 0) {
            return &placeholder;
        }
    }
    return nullptr;
}

// ---- The text with a gap ----

struct GapText {
    char *data;
    uint64_t capacity;
    uint64_t done;  // bytes looked at, at the start of data
    uint64_t ahead; // bytes still to be looked at, at the end of the capacity bytes

    char *next() const {
        return data + capacity - ahead;
    }
    uint64_t count() const {
        return done + ahead;
    }
};

GapText open_gap() {
    GapText text = {row_text.data, row_text.capacity, 0, row_text.count};
    memmove(text.next(), text.data, text.ahead);
    return text;
}

void close_gap(const GapText &text) {
    memmove(text.data + text.done, text.next(), text.ahead);
    text.data[text.count()] = 0;
    row_text.count = text.count();
}

// Makes room for count more bytes. Returns 0 and changes nothing when there is none.
uint8_t widen_gap(GapText *text, uint64_t count) {
    if (text->capacity - text->count() >= count) {
        return 1;
    }
    close_gap(*text);
    uint8_t is_wide = strbuf_make_room(&row_text, count, nullptr);
    text->data = row_text.data;
    text->capacity = row_text.capacity;
    memmove(text->next(), text->data + text->done, text->ahead);
    return is_wide;
}

void pass_byte(GapText *text) {
    if (text->ahead > 0) {
        text->data[text->done] = *text->next();
        text->done++;
        text->ahead--;
    }
}

// Inserts a value that is not looked at again. Returns 0, the text unchanged, for an empty one and without
// memory.
uint8_t insert_done(GapText *text, Str value) {
    if (value.count == 0 || !widen_gap(text, value.count)) {
        return 0;
    }
    memcpy(text->data + text->done, value.data, value.count);
    text->done += value.count;
    return 1;
}

// Inserts a folder that is still to be looked at, with '\' for '/'; nothing without memory.
void insert_backslashed(GapText *text, Str folder) {
    if (folder.count == 0 || !widen_gap(text, folder.count)) {
        return;
    }
    text->ahead += folder.count;
    char *to = text->next();
    for (uint64_t i = 0; i < folder.count; i++) {
        to[i] = folder.data[i] == '/' ? '\\' : folder.data[i];
    }
}

void replace(GapText *text, const Placeholder &placeholder, const FileEntry &file, const ResultRecord &hit) {
    text->ahead -= placeholder.count;
    // Hit numbers are stored without a sign and printed with one, which is meant: 2^31 and more become
    // negative.
    char digits[11];
    uint32_t number = 0;
    switch (placeholder.meaning) {
    case FILE_NAME:
        insert_done(text, file.name);
        return;
    case FILE_FOLDER:
        insert_done(text, file.folder);
        return;
    case FILE_FOLDER_BACKSLASHED:
        insert_backslashed(text, file.folder);
        pass_byte(text); // one byte is not looked at, which is meant, whether or not it is the folder's
        return;
    case HIT_ROW:
        number = hit.line;
        break;
    case HIT_COLUMN:
        number = hit.column;
        break;
    case HIT_BYTE:
        number = hit.byte_offset;
        break;
    }
    if (!insert_done(text, str_from_number(static_cast<int32_t>(number), digits))) {
        pass_byte(text); // likewise
    }
}

// Returns whether row_text holds a command now; it is empty when not.
uint8_t expand_row_text(const FileEntry &file, const ResultRecord &hit) {
    if (row_text.count == 0) {
        return 0;
    }
    GapText text = open_gap();
    while (text.ahead > 0 && text.count() <= longest_command) {
        const Placeholder *placeholder = placeholder_at(text.next(), text.ahead);
        if (placeholder) {
            replace(&text, *placeholder, file, hit);
        } else {
            pass_byte(&text);
        }
    }
    if (text.count() > longest_command) {
        text.done = 0;
        text.ahead = 0;
    }
    close_gap(text);
    return row_text.count > 0;
}

} // namespace

// ---- Commands ----

void expand_command(const FileEntry *file, const ResultRecord *hit) {
    if (expand_row_text(*file, *hit)) {
        os_run_process(strbuf_text(&row_text), 0);
    }
}
