// Text: Str and StrBuf. A StrBuf may be shared between threads as shared_blocks.h describes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/memory.h"
#include "os/shared_blocks.h"

// ---- Str ----

// UTF-8 bytes owned by other code. Not zero-terminated in general, though every text that this program
// stores has a zero byte after its end.
struct Str {
    uint64_t count; // bytes
    char *data;
};

// The Str of a zero-terminated text; the bytes stay the caller's.
Str str_from(const char *text);

// Whether both hold the same bytes.
bool str_equal(Str a, Str b);

// Whether the byte is a space, a tab, a carriage return or a line feed.
constexpr bool is_whitespace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// An ASCII letter in lower case; any other byte as it is.
constexpr char lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

inline constexpr uint64_t longest_number_text = 11; // bytes of an int32_t in decimal

// The number in decimal. Points into digits.
Str str_from_number(int32_t number, char (&digits)[longest_number_text]);

// The text without the spaces and tabs at its end.
Str str_cut_trailing_whitespace(Str text);

// A zero-terminated copy, owned by the caller and freed with os_free; the empty Str when out of memory.
Str str_copy(Str text);

// Copies the text to block, which has text.count + 1 bytes, with a zero byte after it. Returns the copy, or
// the empty Str when block is null.
Str str_copy_to(char *block, Str text);

// ---- StrBuf ----

// A growable, zero-terminated text. Its first two members form a Str.
struct StrBuf {
    volatile uint64_t count;    // bytes, without the terminator
    char *volatile data;        // capacity + 1 bytes from the heap
    volatile uint64_t capacity; // bytes, without the terminator
};

// Allocates an empty text of the given capacity. On failure: capacity 0, null data.
void strbuf_init(StrBuf *buf, uint64_t capacity);

// The text as it is now, count read before data; empty when there is no storage.
Str strbuf_text(const StrBuf *buf);

// Inserts count bytes at position at, or appends them when at is at or past the end; null bytes leave the
// gap's contents undefined. Nothing happens for a count of 0. When the storage cannot grow, the new capacity
// and a null pointer are stored, and the text is unusable until it is set up again: call strbuf_make_room
// first where the text must not be lost.
void strbuf_insert(StrBuf *buf, uint64_t at, uint64_t count, const char *bytes);

// Inserts at the end.
void strbuf_append(StrBuf *buf, uint64_t count, const char *bytes);

// Grows the storage so that count more bytes fit. Returns false and changes nothing when out of memory and
// for a text without storage. The old storage is retired to readers, or freed at once when readers is null.
bool strbuf_make_room(StrBuf *buf, uint64_t count, RetiredBlocks *readers);

// Replaces what follows the text's first start bytes by end, which must not lie in the text itself. Returns
// false, with the text unchanged, when out of memory and for a text without storage. readers: as for
// strbuf_make_room.
bool strbuf_set_end(StrBuf *buf, uint64_t start, Str end, RetiredBlocks *readers);

// Appends text, which must not lie in buf itself. Returns false, with buf unchanged, when out of memory and
// for a buf without storage. Not for a text that another thread reads.
bool strbuf_try_append(StrBuf *buf, Str text);

static_assert(sizeof(Str) == 16 && offsetof(Str, data) == 8);
static_assert(sizeof(StrBuf) == 24 && offsetof(StrBuf, data) == 8 && offsetof(StrBuf, capacity) == 16);
