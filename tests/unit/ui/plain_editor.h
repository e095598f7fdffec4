// A plain line editor to compare the real one with: on std::string copies, and sharing no code with it.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "os/plain_utf8.h"

struct PlainCaret {
    long long anchor;
    long long caret;

    long long low() const {
        return std::min(anchor, caret);
    }
    long long high() const {
        return std::max(anchor, caret);
    }
    bool operator==(const PlainCaret &) const = default;
};

class PlainEditor {
public:
    std::string text;
    std::vector<PlainCaret> carets;
    size_t capacity = 0;
    bool shift = false;
    bool ctrl = false;
    bool alt = false;
    bool has_memory = true;
    bool is_utf8 = false;              // the setting utf8_text
    std::string clipboard;             // what a paste reads; empty: no text
    std::optional<std::string> copied; // what the last event put on the clipboard
    bool handled = false;
    bool text_changed = false;

    // state: 0 released, 1 pressed, 3 repeated
    void key(int code, int state) {
        begin_event();
        if (state == 0 && code == 16) {
            merge();
            handled = true;
        }
        if (state != 1 && state != 3) {
            return;
        }
        if (code == 8 || code == 46) {
            remove(code == 8, ctrl);
            handled = text_changed = true;
        } else if (code == 37 || code == 39) {
            move(code == 37, ctrl, shift);
            handled = true;
        } else if (code == 35) {
            if (!carets.empty()) {
                long long anchor = size();
                for (const PlainCaret &caret : carets) {
                    anchor = shift ? std::min(anchor, caret.anchor) : anchor;
                }
                carets = {{anchor, size()}};
            }
            handled = true;
        } else if (code == 36) {
            if (!carets.empty()) {
                long long anchor = 0;
                for (const PlainCaret &caret : carets) {
                    anchor = shift ? std::max(anchor, caret.anchor) : anchor;
                }
                carets = {{anchor, 0}};
            }
            handled = true;
        } else if (code == 'A' && ctrl) {
            carets = {{0, size()}};
            handled = true;
        } else if (code == 'C' && ctrl) {
            copy();
        } else if (code == 'X' && ctrl) {
            copy();
            replace("");
            handled = text_changed = true;
        } else if (code == 'V' && ctrl) {
            if (has_memory && !clipboard.empty()) {
                replace(clipboard);
                handled = text_changed = true;
            }
        }
    }

    void character(uint32_t code) {
        begin_event();
        if (ctrl && !alt) {
            return;
        }
        if (is_utf8) {
            const bool is_first = code >= 0xD800 && code <= 0xDBFF,
                       is_second = code >= 0xDC00 && code <= 0xDFFF;
            const uint32_t first = first_unit;
            first_unit = is_first ? code : 0;
            if (is_first || (is_second && first == 0)) {
                return;
            }
            if (is_second) {
                code = 65536 + (first - 0xD800) * 1024 + (code - 0xDC00);
            }
        }
        handled = text_changed = true;
        if (!carets.empty()) {
            replace(encoded(code));
        }
    }

    void clamp() {
        for (PlainCaret &caret : carets) {
            caret = {std::clamp(caret.anchor, 0LL, size()), std::clamp(caret.caret, 0LL, size())};
        }
    }

private:
    uint32_t first_unit = 0; // of a pair

    long long size() const {
        return static_cast<long long>(text.size());
    }

    unsigned byte(long long at) const {
        return static_cast<unsigned char>(text[static_cast<size_t>(at)]);
    }

    bool separator(long long at) const {
        static const std::string all = "\t\n !()+,-./:;?[\\]{}";
        return all.find(text[static_cast<size_t>(at)]) != std::string::npos;
    }

    void begin_event() {
        handled = text_changed = false;
        copied.reset();
    }

    std::string encoded(uint32_t code) const {
        const auto rest = [&](int from) { return static_cast<char>(128 + code / (1u << from) % 64); };
        const auto lead = [&](unsigned mark, int from) { return static_cast<char>(mark + (code >> from)); };
        if (code == 0 || code > 0x1FFFFF) {
            return "";
        }
        if (code <= 127) {
            return {lead(0, 0)};
        }
        if (code <= (is_utf8 ? 2047 : 1792)) {
            return {lead(192, 6), rest(0)};
        }
        if (code <= 65535) {
            return {lead(224, 12), rest(6), rest(0)};
        }
        return {lead(240, 18), rest(12), rest(6), rest(0)};
    }

    // ---- Places ----

    // The first and the last byte of the character of UTF-8 that the byte belongs to.
    PlainCaret character_around(long long at) const {
        long long start = 0;
        for (const PlainCharacter &character : plain_characters(text)) {
            const long long end = start + static_cast<long long>(character.bytes.size());
            if (at < end) {
                return {start, end};
            }
            start = end;
        }
        return {at, at};
    }

    long long before(long long at) const {
        if (is_utf8 && at > 0) {
            return character_around(at - 1).anchor;
        }
        if (at <= 0) {
            return 0;
        }
        at--;
        while (at > 0 && byte(at) >= 128 && byte(at) < 192) {
            at--;
        }
        return at;
    }

    long long after(long long at) const {
        if (is_utf8) {
            return character_around(at).caret;
        }
        static const unsigned limits[] = {0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE, 0xFF};
        long long length = 1;
        for (unsigned limit : limits) {
            length += byte(at) >= limit;
        }
        return std::min(at + length, size());
    }

    long long left(long long at, bool word) const {
        at = before(at);
        while (word && at > 0) {
            if (separator(before(at))) {
                break;
            }
            at = before(at);
        }
        return at;
    }

    long long right(long long at, bool word) const {
        bool go_on = true;
        while (go_on && at < size()) {
            at = after(at);
            go_on = word && at < size() && !separator(at);
        }
        return at;
    }

    // ---- Changes ----

    void move(bool to_left, bool word, bool extend) {
        for (PlainCaret &caret : carets) {
            bool selects = caret.anchor != caret.caret;
            if (extend) {
                caret.caret = to_left ? left(caret.caret, word) : right(caret.caret, word);
            } else if (selects) {
                long long end = to_left ? caret.low() : caret.high();
                caret = {end, end};
            } else {
                long long place = to_left ? left(caret.caret, word) : right(caret.caret, word);
                caret = {place, place};
            }
        }
        clamp();
    }

    void remove(bool backward, bool word) {
        bool selects = false;
        for (const PlainCaret &caret : carets) {
            selects |= caret.anchor != caret.caret;
        }
        if (!selects) {
            for (PlainCaret &caret : carets) {
                caret.caret = backward ? left(caret.caret, word) : right(caret.caret, word);
            }
        }
        replace("");
    }

    void replace(const std::string &inserted) {
        long long total = 0;
        for (size_t i = 0; i < carets.size(); i++) {
            long long low = carets[i].low();
            long long high = carets[i].high();
            std::string changed =
                text.substr(0, static_cast<size_t>(low)) + inserted + text.substr(static_cast<size_t>(high));
            if (changed.size() > capacity && changed.size() > text.size()) {
                if (!has_memory) {
                    break;
                }
                while (capacity < changed.size()) {
                    capacity = std::max<size_t>(1, capacity * 2);
                }
            }
            total += static_cast<long long>(changed.size()) - size();
            text = changed;
            long long end = low + static_cast<long long>(inserted.size());
            carets[i] = {end, end};
            for (size_t later = i + 1; later < carets.size(); later++) {
                if (carets[later].anchor > low) {
                    carets[later].anchor += total;
                    carets[later].caret += total;
                }
            }
            clamp();
        }
        merge();
    }

    void merge() {
    again:
        for (size_t i = 0; i < carets.size(); i++) {
            for (size_t j = i + 1; j < carets.size(); j++) {
                PlainCaret a = carets[i];
                PlainCaret b = carets[j];
                if (std::max(a.low(), b.low()) <= std::min(a.high(), b.high())) {
                    long long low = std::min(a.low(), b.low());
                    long long high = std::max(a.high(), b.high());
                    carets[i] = a.anchor > a.caret ? PlainCaret{high, low} : PlainCaret{low, high};
                    carets[j] = carets.back();
                    carets.pop_back();
                    goto again;
                }
            }
        }
    }

    void copy() {
        std::string all;
        for (const PlainCaret &caret : carets) {
            all += text.substr(static_cast<size_t>(caret.low()),
                               static_cast<size_t>(caret.high() - caret.low()));
        }
        if (has_memory && !all.empty()) {
            copied = all;
        }
    }
};
