#include "os/strings.h"

#include <string.h>

#include <charconv>

// ---- Str ----

Str str_from(const char *text) {
    return {strlen(text), const_cast<char *>(text)};
}

bool str_equal(Str a, Str b) {
    return a.count == b.count && (a.count == 0 || memcmp(a.data, b.data, a.count) == 0);
}

Str str_from_number(int32_t number, char (&digits)[longest_number_text]) {
    const char *end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    return {static_cast<uint64_t>(end - digits), digits};
}

Str str_cut_trailing_whitespace(Str text) {
    while (text.count > 0 && (text.data[text.count - 1] == ' ' || text.data[text.count - 1] == '\t')) {
        text.count--;
    }
    return text;
}

Str str_copy(Str text) {
    return str_copy_to(static_cast<char *>(os_alloc(text.count + 1)), text);
}

Str str_copy_to(char *block, Str text) {
    if (!block) {
        return {};
    }
    if (text.count > 0) {
        memcpy(block, text.data, text.count);
    }
    block[text.count] = 0;
    return {text.count, block};
}

// ---- StrBuf ----

namespace {

constexpr uint64_t strbuf_doubles_up_to = 0x3FFFFFF;
constexpr uint64_t strbuf_step = 0x4000000;

// The capacity that holds needed bytes, reached in the text's growth steps. They end beyond 4 GiB, where the
// allocation fails whatever the size.
uint64_t strbuf_capacity_for(uint64_t capacity, uint64_t needed) {
    if (capacity == 0) {
        capacity = 1; // doubling 0 would never end
    }
    while (capacity < needed && capacity <= UINT32_MAX) {
        capacity = capacity <= strbuf_doubles_up_to ? capacity * 2 : capacity + strbuf_step;
    }
    return capacity;
}

} // namespace

void strbuf_init(StrBuf *buf, uint64_t capacity) {
    char *data = static_cast<char *>(os_alloc(capacity + 1));
    if (data) {
        data[0] = 0;
    }
    buf->data = data;
    buf->capacity = data ? capacity : 0;
    buf->count = 0;
}

Str strbuf_text(const StrBuf *buf) {
    uint64_t count = buf->count;
    char *data = buf->data;
    return {data ? count : 0, data};
}

void strbuf_insert(StrBuf *buf, uint64_t at, uint64_t count, const char *bytes) {
    if (count == 0 || !buf->data) {
        return;
    }
    uint64_t length = buf->count;
    uint64_t needed = length + count < length ? UINT64_MAX : length + count;
    uint64_t capacity = buf->capacity;
    if (capacity < needed) {
        capacity = strbuf_capacity_for(capacity, needed);
        buf->data = static_cast<char *>(os_realloc(buf->data, capacity + 1));
        buf->capacity = capacity;
    }
    char *data = buf->data;
    if (!data) {
        return;
    }
    if (at < length) {
        memmove(data + at + count, data + at, length - at);
    } else {
        at = length;
    }
    if (bytes) {
        memcpy(data + at, bytes, count);
    }
    data[needed] = 0;
    buf->count = needed;
}

void strbuf_append(StrBuf *buf, uint64_t count, const char *bytes) {
    strbuf_insert(buf, buf->count, count, bytes);
}

bool strbuf_make_room(StrBuf *buf, uint64_t count, RetiredBlocks *readers) {
    uint64_t length = buf->count;
    uint64_t capacity = buf->capacity;
    char *old_data = buf->data;
    if (!old_data || length + count < length) {
        return false;
    }
    if (capacity >= length + count) {
        return true;
    }
    capacity = strbuf_capacity_for(capacity, length + count);
    ReplacedBlock storage = replace_block(old_data, length + 1, capacity + 1, readers);
    if (!storage.new_block) {
        return false;
    }
    buf->data = storage.new_block;
    buf->capacity = capacity;
    if (storage.old_block) {
        retire_replaced(storage.old_block, readers);
    }
    return true;
}

bool strbuf_set_end(StrBuf *buf, uint64_t start, Str end, RetiredBlocks *readers) {
    uint64_t count = start + end.count;
    uint64_t more = count > buf->count ? count - buf->count : 0;
    if (!strbuf_make_room(buf, more, readers)) {
        return false;
    }
    char *data = buf->data;
    if (end.count > 0) {
        memcpy(data + start, end.data, end.count);
    }
    data[count] = 0;
    buf->count = count;
    return true;
}

bool strbuf_try_append(StrBuf *buf, Str text) {
    return strbuf_set_end(buf, buf->count, text, nullptr);
}
