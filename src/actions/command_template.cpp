// Expands the text in place, with the free storage as a gap: the finished part is before the gap, the rest at
// the storage's end. No step moves the whole text, so the expansion is never quadratic.
#include "actions/command_template.h"

#include <algorithm>

#include <string.h>

#include "os/errors.h"
#include "os/process.h"

// ---- The row-text buffer ----

StrBuf row_text;

bool row_text_set(Str text) {
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

// The placeholder that text starts with, or null.
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
    uint64_t done;  // finished bytes, at the start of data
    uint64_t ahead; // bytes still to scan, at the end of the capacity bytes

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

// Makes room for count more bytes. Returns false, the text unchanged, when out of memory.
bool widen_gap(GapText *text, uint64_t count) {
    if (text->capacity - text->count() >= count) {
        return true;
    }
    close_gap(*text);
    bool is_wide = strbuf_make_room(&row_text, count, nullptr);
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

// Inserts a value that is not scanned. Returns false, the text unchanged, when it is empty or out of memory.
bool insert_done(GapText *text, Str value) {
    if (value.count == 0 || !widen_gap(text, value.count)) {
        return false;
    }
    memcpy(text->data + text->done, value.data, value.count);
    text->done += value.count;
    return true;
}

// Inserts a folder with '\' for '/', to be scanned next; nothing when out of memory.
void insert_backslashed(GapText *text, Str folder) {
    if (folder.count == 0 || !widen_gap(text, folder.count)) {
        return;
    }
    text->ahead += folder.count;
    std::replace_copy(folder.data, folder.data + folder.count, text->next(), '/', '\\');
}

void replace(GapText *text, const Placeholder &placeholder, const HitRow &row) {
    text->ahead -= placeholder.count;
    // Intentionally printed as signed: 2^31 and more become negative.
    char digits[longest_number_text];
    uint32_t number = 0;
    switch (placeholder.meaning) {
    case FILE_NAME:
        insert_done(text, row.file.name);
        return;
    case FILE_FOLDER:
        insert_done(text, row.file.folder);
        return;
    case FILE_FOLDER_BACKSLASHED:
        insert_backslashed(text, row.file.folder);
        pass_byte(text); // intentional: the next byte is not scanned, even if no folder was inserted
        return;
    case HIT_ROW:
        number = row.hit.line;
        break;
    case HIT_COLUMN:
        number = row.hit.column;
        break;
    case HIT_BYTE:
        number = row.hit.byte_offset;
        break;
    }
    if (!insert_done(text, str_from_number(static_cast<int32_t>(number), digits))) {
        pass_byte(text); // intentional as well: out of memory, the next byte is not scanned
    }
}

// Returns whether row_text holds a command now; otherwise it is empty.
bool expand_row_text(const HitRow &row) {
    if (row_text.count == 0) {
        return false;
    }
    GapText text = open_gap();
    while (text.ahead > 0 && text.count() <= longest_command) {
        const Placeholder *placeholder = placeholder_at(text.next(), text.ahead);
        if (placeholder) {
            replace(&text, *placeholder, row);
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

uint32_t expand_command(const HitRow &row) {
    if (!expand_row_text(row)) {
        return 0;
    }
    os_run_process(strbuf_text(&row_text), false);
    return os_start_error;
}
