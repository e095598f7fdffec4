#include "os/linux/uri_list.h"

#include <string.h>
#include <strings.h>
#include <unistd.h>

namespace {

Str without_start(Str text, uint64_t count) {
    return {text.count - count, text.data + count};
}

// Removes the first line from rest and returns it without its line ending.
Str next_line(Str *rest) {
    const void *end = memchr(rest->data, '\n', rest->count);
    uint64_t count = end ? static_cast<uint64_t>(static_cast<const char *>(end) - rest->data) : rest->count;
    Str line = {count, rest->data};
    *rest = without_start(*rest, end ? count + 1 : count);
    if (line.count > 0 && line.data[line.count - 1] == '\r') {
        line.count--;
    }
    return line;
}

bool is_same_name(Str a, Str b) {
    return a.count == b.count && strncasecmp(a.data, b.data, a.count) == 0;
}

bool is_this_machine(Str host) {
    char name[256] = {};
    gethostname(name, sizeof(name) - 1);
    return host.count == 0 || is_same_name(host, str_from("localhost")) || is_same_name(host, str_from(name));
}

int32_t hex_value(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Decodes in place; keeps a '%' that two hexadecimal digits do not follow.
Str decode_percents(Str text) {
    uint64_t count = 0;
    for (uint64_t i = 0; i < text.count; i++) {
        char byte = text.data[i];
        if (byte == '%' && text.count - i > 2) {
            int32_t high = hex_value(text.data[i + 1]);
            int32_t low = hex_value(text.data[i + 2]);
            if (high >= 0 && low >= 0) {
                byte = static_cast<char>(high * 16 + low);
                i += 2;
            }
        }
        text.data[count++] = byte;
    }
    return {count, text.data};
}

// The path in file:/path, file:///path or file://host/path. Returns false for anything else.
bool path_from_uri(Str uri, Str *path) {
    Str scheme = str_from("file:");
    if (uri.count < scheme.count || !is_same_name({scheme.count, uri.data}, scheme)) {
        return false;
    }
    Str left = without_start(uri, scheme.count);
    if (left.count >= 2 && left.data[0] == '/' && left.data[1] == '/') {
        left = without_start(left, 2);
        const void *slash = memchr(left.data, '/', left.count);
        if (!slash) {
            return false;
        }
        Str uri_host = {static_cast<uint64_t>(static_cast<const char *>(slash) - left.data), left.data};
        if (!is_this_machine(uri_host)) {
            return false;
        }
        left = without_start(left, uri_host.count);
    }
    if (left.count == 0 || left.data[0] != '/') {
        return false;
    }
    *path = decode_percents(left);
    return !memchr(path->data, 0, path->count); // a path has no zero byte
}

} // namespace

bool uri_list_next(Str *rest, Str *path) {
    while (rest->count > 0) {
        Str found;
        if (path_from_uri(next_line(rest), &found)) { // false for a comment, too
            *path = found;
            return true;
        }
    }
    return false;
}
