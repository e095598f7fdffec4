// Shared by the fuzzers: decoding an input, and ending the program at a difference.
//
// A fuzzer runs the program's code and a slow, plain version of the same rules on one input and compares all
// visible results. tests/fuzz/corpus has a folder of inputs for each.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>

#include "os/strings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// ---- Texts ----

// A Str over a std::string's bytes, valid as long as the string.
inline Str str_over(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

inline std::string to_string(Str text) {
    return text.count > 0 ? std::string(text.data, text.count) : "";
}

// The text with all but printable ASCII in hexadecimal.
inline std::string visible(const std::string &text) {
    std::string result;
    for (char c : text) {
        char hex[8];
        snprintf(hex, sizeof(hex), c >= ' ' && c <= '~' && c != '\\' ? "%c" : "\\x%02x",
                 static_cast<unsigned>(static_cast<uint8_t>(c)));
        result += hex;
    }
    return result;
}

// Bytes in a block of exactly their size, so that AddressSanitizer sees any access beyond them.
class ExactBytes {
public:
    explicit ExactBytes(const std::string &text, size_t offset = 0)
        : block(new char[offset + text.size()]), str{text.size(), block.get() + offset} {
        std::copy(text.begin(), text.end(), str.data);
    }

private:
    std::unique_ptr<char[]> block;

public:
    const Str str;
};

// ---- Inputs ----

// Decodes an input from its start. At its end it yields zeros and empty texts.
class FuzzInput {
public:
    FuzzInput(const uint8_t *data, size_t size) : at(data), end(data + size) {}

    bool is_over() const {
        return at == end;
    }
    uint8_t byte() {
        return is_over() ? 0 : *at++;
    }
    uint32_t number() {
        uint32_t value = byte();
        value |= uint32_t{byte()} << 8;
        value |= uint32_t{byte()} << 16;
        return value | uint32_t{byte()} << 24;
    }
    // 0 to limit - 1, of at most 256.
    uint32_t below(uint32_t limit) {
        return byte() % limit;
    }
    // The next bytes, as many as there are.
    std::string text(size_t count) {
        return take(std::min(count, static_cast<size_t>(end - at)));
    }
    // The bytes before the next mark, which is skipped.
    std::string text_before(uint8_t mark) {
        std::string taken = take(static_cast<size_t>(std::find(at, end, mark) - at));
        byte();
        return taken;
    }
    std::string rest() {
        return take(static_cast<size_t>(end - at));
    }

private:
    const uint8_t *at;
    const uint8_t *end;

    std::string take(size_t count) {
        std::string taken(at, at + count);
        at += count;
        return taken;
    }
};

// ---- Results ----

// Aborts, which libFuzzer reports, unless both are equal.
inline void fuzz_expect(const char *what, const std::string &real, const std::string &plain) {
    if (real == plain) {
        return;
    }
    fprintf(stderr, "DIFFERENCE: %s\n  the program: %s\n  the rules:   %s\n", what, visible(real).c_str(),
            visible(plain).c_str());
    abort();
}

inline void fuzz_expect(const char *what, int64_t real, int64_t plain) {
    fuzz_expect(what, std::to_string(real), std::to_string(plain));
}
