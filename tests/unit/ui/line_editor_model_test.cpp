// Compares the line editor with the plain one, for random events from fixed seeds.

#include <gtest/gtest.h>

#include <stdio.h>

#include <random>
#include <string>
#include <vector>

#include "os/arrays.h"
#include "os/clipboard.h"
#include "render/text.h"
#include "search/search_state.h"
#include "support/heap_hook.h"
#include "support/system_clipboard.h"
#include "support/test_tree.h"
#include "support/ui_scope.h"
#include "ui/line_editor.h"
#include "ui/plain_editor.h"

namespace {

using namespace std::string_literals;

#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__)
constexpr uint32_t sequence_count = 12000,
                   utf8_sequence_count = 4000; // slow there; the linux preset runs more
#else
constexpr uint32_t sequence_count = 120000, utf8_sequence_count = 40000;
#endif

// ---- Random texts ----

// The pieces of texts: letters, separators, whole and cut characters, stray bytes, line feeds and zeros.
const std::vector<std::string> pieces = {
    "a",    "b",    "cd",       "foo",  "_",    "=",    "<",    " ",    "  ",     "/",          ".",
    "{",    "\\",   "\t",       "\n",   "\0"s,  "é",    "你",   "😀",    "\u0301", "\U0010FFFF", "\x80",
    "\xBF", "\xC3", "\xE4\xBD", "\xF0", "\xF8", "\xFC", "\xFE", "\xFF", "\x7F",
};

class Random {
public:
    explicit Random(uint32_t seed) : generator(seed) {}

    uint32_t below(uint32_t limit) {
        return static_cast<uint32_t>(generator() % limit);
    }
    bool one_in(uint32_t count) {
        return below(count) == 0;
    }
    template <typename T> const T &of(const std::vector<T> &all) {
        return all[below(static_cast<uint32_t>(all.size()))];
    }
    std::string text(uint32_t most_pieces) {
        std::string made;
        for (uint32_t count = below(most_pieces + 1); count > 0; count--) {
            made += of(pieces);
        }
        return made;
    }
    PlainCaret caret(size_t text_size) {
        long long anchor = below(static_cast<uint32_t>(text_size) + 1);
        return {anchor,
                one_in(2) ? anchor : static_cast<long long>(below(static_cast<uint32_t>(text_size) + 1))};
    }

private:
    std::mt19937 generator;
};

// ---- Random events ----

enum EventKind { KEY, CHARACTER, HOLD, LET_GO, SET_CARET, SHORTEN };

struct Event {
    EventKind kind;
    uint32_t code;   // key or character
    uint8_t state;   // of a key
    bool no_memory;  // while it is handled
    uint32_t chance; // decides what depends on the text

    bool uses_clipboard() const {
        return kind == KEY && (code == 'C' || code == 'X' || code == 'V');
    }
    std::string written() const {
        static const char *const kinds[] = {"key", "character", "hold", "let go", "set caret", "shorten"};
        return kinds[kind] + " "s + std::to_string(code) + " state " + std::to_string(state) +
               (no_memory ? " without memory" : "");
    }
};

Event random_event(Random &random) {
    static const std::vector<uint32_t> editing_keys = {8, 8, 46, 37, 37, 39, 39, 35, 36, 'A'};
    static const std::vector<uint32_t> clipboard_keys = {'C', 'X', 'V', 'V'};
    static const std::vector<uint32_t> other_keys = {0, 9, 13, 16, 17, 27, 38, 40, 'B', 0x104, 0xFFFF};
    static const std::vector<uint32_t> modifiers = {KEY_SHIFT, KEY_CTRL, KEY_ALT};
    static const std::vector<uint32_t> characters = {
        0,    1,     9,     10,    27,     ' ',    '/',     'x',      0x7F,     0x80,
        0xE9, 0x700, 0x701, 0x7FF, 0xD83D, 0xFFFF, 0x1F600, 0x1FFFFF, 0x200000, UINT32_MAX};
    static const std::vector<uint32_t> surrogates = {0xD83D, 0xD83D, 0xDBFF, 0xDC00, 0xDE00, 0xDE00};
    Event event = {KEY, 0, KEY_PRESSED, random.one_in(8), random.below(1 << 30)};
    uint32_t kind = random.below(100);
    if (kind < 45) {
        event.code = random.of(editing_keys);
    } else if (kind < 48) {
        event.code = random.of(clipboard_keys);
    } else if (kind < 50) {
        event.code = random.of(other_keys);
    } else if (kind < 68) {
        event.kind = CHARACTER;
        event.code = text_is_utf8 && random.one_in(2) ? random.of(surrogates) : random.of(characters);
    } else if (kind < 80) {
        event.kind = HOLD;
        event.code = random.of(modifiers);
    } else if (kind < 93) {
        event.kind = LET_GO;
        event.code = random.of(modifiers);
    } else if (kind < 97) {
        event.kind = SET_CARET;
    } else {
        event.kind = SHORTEN;
    }
    if (event.kind == KEY && random.one_in(6)) {
        event.state = static_cast<uint8_t>(random.below(4));
    }
    return event;
}

// ---- The clipboard ----

std::string clipboard_text() {
    Str text = os_clipboard_get_text();
    std::string copy = to_string(text);
    os_free(text.data);
    return copy;
}

bool is_ascii_text(const std::string &text) {
    for (char c : text) {
        if (c <= 0) {
            return false;
        }
    }
    return true;
}

// What a paste reads after text has been copied; the clipboard converts it.
std::string read_back(const std::string &text) {
    if (is_ascii_text(text)) {
        return text;
    }
    EXPECT_EQ(os_clipboard_set_text(str_over(text)), 0);
    return clipboard_text();
}

// Fills the clipboard as this or other programs do; returns what a paste reads.
std::string fill_clipboard(Random &random) {
    switch (random.below(5)) {
    case 0:
        offer_on_clipboard({});
        break;
    case 1:
        offer_on_clipboard({.byte_text = random.text(8)});
        break;
    case 2:
        offer_on_clipboard({.wide_text = "é/你 \u0301😀"});
        break;
    case 3:
        EXPECT_EQ(os_clipboard_set_text(str_from("")), 0);
        break;
    default:
        EXPECT_EQ(os_clipboard_set_text(str_over(random.text(8))), 0);
        break;
    }
    clipboard_text(); // closes it, so that the other formats are made from those offered
    return clipboard_text();
}

// ---- One sequence ----

std::string written(const std::string &text, const std::vector<PlainCaret> &carets) {
    std::string line = "\"";
    for (char c : text) {
        char hex[8];
        snprintf(hex, sizeof(hex), c > 32 && c < 127 ? "%c" : "\\x%02X", static_cast<unsigned char>(c));
        line += hex;
    }
    line += "\"";
    for (const PlainCaret &caret : carets) {
        line += " {" + std::to_string(caret.anchor) + "," + std::to_string(caret.caret) + "}";
    }
    return line;
}

class Pair {
public:
    Pair(Random &random, bool fills_clipboard) {
        ui_begin_frame();
        plain.is_utf8 = text_is_utf8;
        plain.text = random.text(12);
        plain.capacity = plain.text.size() + random.below(12);
        for (uint32_t count = random.one_in(2) ? 1 : random.below(6); count > 0; count--) {
            plain.carets.push_back(random.caret(plain.text.size()));
        }
        strbuf_init(&text, plain.capacity);
        strbuf_append(&text, plain.text.size(), plain.text.data());
        for (const PlainCaret &caret : plain.carets) {
            push_caret(caret);
        }
        if (fills_clipboard) {
            plain.clipboard = fill_clipboard(random);
        }
    }
    ~Pair() {
        os_free(text.data);
    }
    Pair(const Pair &) = delete;
    Pair &operator=(const Pair &) = delete;

    void apply(const Event &event) {
        HeapHookScope hook([&](uint64_t) { return !event.no_memory; });
        plain.has_memory = !event.no_memory;
        reported = {true, true};
        switch (event.kind) {
        case KEY:
            apply_key(event.code, event.state);
            break;
        case CHARACTER:
            plain.character(event.code);
            handle({.type = EVENT_CHAR, .window = nullptr, .character = {event.code}});
            break;
        case HOLD:
            *modifier(event.code) = true;
            ui_press(static_cast<uint16_t>(event.code), {0, 0});
            apply_key(event.code, KEY_PRESSED);
            break;
        case LET_GO:
            *modifier(event.code) = false;
            ui_release(static_cast<uint16_t>(event.code), {0, 0});
            apply_key(event.code, KEY_RELEASED);
            break;
        case SET_CARET: {
            long long length = static_cast<long long>(plain.text.size());
            PlainCaret caret = {event.chance % (length + 1), event.chance / 1024 % (length + 1)};
            plain.carets = {caret};
            field_set_single_caret(static_cast<int32_t>(caret.anchor), static_cast<int32_t>(caret.caret));
            break;
        }
        case SHORTEN:
            plain.text.resize(event.chance % (plain.text.size() + 1));
            plain.clamp();
            text.count = plain.text.size();
            text.data[text.count] = 0;
            field_clamp_carets(&field);
            break;
        }
    }

    // The first difference or broken invariant; empty without one.
    std::string complaint(const Event &event) {
        if (!text.data || text.data[text.count] != 0) {
            return "no terminator";
        }
        if (text.count > text.capacity || os_alloc_size(text.data) < text.capacity + 1) {
            return "more text than storage";
        }
        if (to_string(strbuf_text(&text)) != plain.text) {
            return "other text";
        }
        if (carets() != plain.carets) {
            return "other carets";
        }
        for (const PlainCaret &caret : carets()) {
            if (caret.low() < 0 || caret.high() > static_cast<long long>(plain.text.size())) {
                return "a caret outside the text";
            }
        }
        if (text.capacity != plain.capacity) {
            return "another capacity";
        }
        bool reports = event.kind != SET_CARET && event.kind != SHORTEN;
        if (reports && (reported.handled != plain.handled || reported.text_changed != plain.text_changed)) {
            return "another report";
        }
        if (event.uses_clipboard()) {
            std::string copied = clipboard_text();
            plain.clipboard = plain.copied ? read_back(*plain.copied) : plain.clipboard;
            return copied == plain.clipboard ? "" : "another clipboard";
        }
        return "";
    }

    std::string state() const {
        return written(to_string(strbuf_text(&text)), carets());
    }
    std::string plain_state() const {
        return written(plain.text, plain.carets);
    }

private:
    UiScope scope;
    StrBuf text = {};
    Field field = field_over(&text);
    PlainEditor plain;
    struct {
        bool handled;
        bool text_changed;
    } reported = {};

    static void push_caret(PlainCaret plain_caret) {
        Caret caret = {static_cast<int32_t>(plain_caret.anchor), static_cast<int32_t>(plain_caret.caret)};
        dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
    }

    static std::vector<PlainCaret> carets() {
        std::vector<PlainCaret> all;
        for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
            all.push_back({field_carets()[i].anchor, field_carets()[i].caret});
        }
        return all;
    }

    bool *modifier(uint32_t code) {
        return code == KEY_SHIFT ? &plain.shift : code == KEY_CTRL ? &plain.ctrl : &plain.alt;
    }

    void handle(const WindowEvent &event) {
        field_handle_key(&field, &event, &reported.handled, &reported.text_changed);
    }

    void apply_key(uint32_t code, uint8_t state) {
        plain.key(static_cast<int>(code), state);
        handle({.type = EVENT_KEY, .window = nullptr, .key = {static_cast<uint16_t>(code), state}});
    }
};

// Runs the sequence of that number. Returns the events up to the first difference; empty without one.
std::string failure_of(uint32_t number) {
    Random random(number);
    std::vector<Event> events;
    bool fills_clipboard = false;
    for (uint32_t count = 1 + random.below(16); count > 0; count--) {
        events.push_back(random_event(random));
        fills_clipboard = fills_clipboard || events.back().uses_clipboard();
    }
    bool has_reader = random.one_in(8);
    search_state.worker_pass = has_reader;
    std::string complaint;
    {
        Pair pair(random, fills_clipboard);
        std::string log = "sequence " + std::to_string(number) + "\n  " + pair.plain_state() + "\n";
        for (const Event &event : events) {
            pair.apply(event);
            complaint = pair.complaint(event);
            log += event.written() + "\n  " + pair.state() + "\n";
            if (!complaint.empty()) {
                complaint = log + complaint + "; expected\n  " + pair.plain_state() + "\n";
                break;
            }
        }
    }
    search_state.worker_pass = has_reader ? 3 : 0;
    release_retired(&search_state.retired_text);
    search_state.worker_pass = 0;
    return complaint;
}

} // namespace

namespace {

void expect_no_failure(uint32_t count) {
    int failures = 0;
    for (uint32_t number = 0; number < count && failures < 5; number++) {
        std::string failure = failure_of(number);
        failures += !failure.empty();
        EXPECT_EQ(failure, "");
    }
    EXPECT_EQ(search_state.retired_text.first, nullptr);
}

} // namespace

// To run a failing sequence again, call failure_of with its number.
TEST(LineEditorModel, RandomEventsDoWhatThePlainEditorSays) {
    expect_no_failure(sequence_count);
}

TEST(LineEditorModel, RandomEventsOnUtf8TextsDoToo) {
    text_is_utf8 = true;
    expect_no_failure(utf8_sequence_count);
    text_is_utf8 = false;
}
