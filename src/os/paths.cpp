#include "os/paths.h"

#include <string.h>

uint64_t str_name_start(Str path) {
    uint64_t start = path.count;
    while (start > 0 && path.data[start - 1] != '/') {
        start--;
    }
    return start;
}

void str_slashes(Str text) {
    char *at = text.data;
    char *end = at + text.count;
    while (at != end && (at = static_cast<char *>(memchr(at, '\\', static_cast<size_t>(end - at))))) {
        *at++ = '/';
    }
}

Str str_cut_to_folder(Str path) {
    str_slashes(path);
    uint64_t end = str_name_start(path);
    if (end > 0 && end < path.count) {
        path.data[end] = 0;
        path.count = end;
    }
    return path;
}

Str path_clean(Str text, bool keep_trailing_slashes) {
    for (uint64_t i = 0; i < text.count; i++) {
        char &byte = text.data[i];
        if (byte == '\n' || byte == '\r' || byte == '\t' || byte == '"') {
            byte = ' ';
        } else if (byte == '\\') {
            byte = '/';
        }
    }
    while (text.count > 0 && text.data[0] == ' ') {
        text.data++;
        text.count--;
    }
    const auto is_cut_off = [&](char byte) { return byte == ' ' || (byte == '/' && !keep_trailing_slashes); };
    while (text.count > 0 && is_cut_off(text.data[text.count - 1])) {
        text.count--;
    }
    return text;
}

void strbuf_clean_path(StrBuf *buf, bool keep_trailing_slashes) {
    Str text = strbuf_text(buf);
    if (!text.data) {
        return;
    }
    Str clean = path_clean(text, keep_trailing_slashes);
    memmove(text.data, clean.data, clean.count);
    text.data[clean.count] = 0;
    buf->count = clean.count;
}
