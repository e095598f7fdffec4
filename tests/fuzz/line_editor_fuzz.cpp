// The line editor compared with the plain one, event by event, without and with UTF-8 texts.
//
// An input: the first text's length and the text, how much more the storage holds, the carets, the
// clipboard's text, then events of one byte, some followed by arguments.

#include <string>
#include <vector>

#include "fuzz.h"
#include "os/arrays.h"
#include "os/clipboard.h"
#include "render/text.h"
#include "search/search_state.h"
#include "support/heap_hook.h"
#include "support/ui_scope.h"
#include "ui/line_editor.h"
#include "ui/plain_editor.h"

// Replaces the system's clipboard: keeps any bytes unchanged.

namespace {

std::string clipboard;

} // namespace

Str os_clipboard_get_text() {
    char *copy = clipboard.empty() ? nullptr : static_cast<char *>(os_alloc(clipboard.size() + 1));
    if (!copy) {
        return {};
    }
    memcpy(copy, clipboard.c_str(), clipboard.size() + 1);
    return {clipboard.size(), copy};
}

int32_t os_clipboard_set_text(Str text) {
    clipboard = to_string(text);
    return 0;
}

namespace {

constexpr size_t longest_text = 4096; // a pasted text doubles with each copy of all of it

constexpr uint16_t keys[] = {KEY_BACKSPACE, KEY_DELETE, KEY_LEFT, KEY_RIGHT, KEY_END, KEY_HOME,
                             KEY_A,         KEY_C,      KEY_X,    KEY_V,     9,       0x104};
constexpr uint16_t modifiers[] = {KEY_SHIFT, KEY_CTRL, KEY_ALT};

std::string written(const std::vector<PlainCaret> &all) {
    std::string text;
    for (const PlainCaret &caret : all) {
        text += "{" + std::to_string(caret.anchor) + "," + std::to_string(caret.caret) + "}";
    }
    return text;
}

class Pair {
public:
    explicit Pair(FuzzInput *bytes) : input(*bytes) {
        plain.is_utf8 = text_is_utf8;
        plain.text = input.text(input.below(64));
        plain.capacity = plain.text.size() + input.below(16);
        strbuf_init(&text, plain.capacity);
        strbuf_append(&text, plain.text.size(), plain.text.data());
        for (uint32_t count = input.below(20); count > 0; count--) {
            const PlainCaret place = caret();
            plain.carets.push_back(place);
            const Caret real = {static_cast<int32_t>(place.anchor), static_cast<int32_t>(place.caret)};
            dynarray_push(&input_field.caret_list, sizeof(real), &real);
        }
        plain.clipboard = clipboard = input.text(input.below(32));
        compare();
    }
    ~Pair() {
        os_free(text.data);
    }
    Pair(const Pair &) = delete;
    Pair &operator=(const Pair &) = delete;

    // Handles the next event, for some of them without memory.
    void step() {
        const uint8_t what = input.byte();
        plain.has_memory = what < 0xE0;
        HeapHookScope hook([&](uint64_t) { return plain.has_memory; });
        plain.copied.reset();
        const uint8_t kind = what % 32;
        if (kind < 12) {
            // Also as the repeat of a held key.
            key(keys[kind], what & 0x40 ? KEY_REPEATED : KEY_PRESSED);
        } else if (kind < 15) {
            hold(modifiers[kind - 12]);
        } else if (kind < 18) {
            let_go(modifiers[kind - 15]);
        } else if (kind < 26) {
            character(input.byte());
        } else if (kind < 28) {
            character(input.number());
        } else if (kind == 28) {
            const PlainCaret place = caret();
            plain.carets = {place};
            field_set_single_caret(static_cast<int32_t>(place.anchor), static_cast<int32_t>(place.caret));
        } else if (kind == 29) {
            shorten();
        } else if (kind == 30) {
            key(input.byte(), input.byte());
        } else {
            plain.clipboard = clipboard = input.text(input.below(64));
        }
        if (plain.copied) {
            plain.clipboard = *plain.copied;
        }
        compare();
    }

    bool is_short() const {
        return plain.text.size() <= longest_text;
    }

private:
    FuzzInput &input;
    UiScope scope;
    StrBuf text = {};
    Field field = field_over(&text);
    PlainEditor plain;

    PlainCaret caret() {
        const long long limit = static_cast<long long>(plain.text.size()) + 1;
        const long long anchor = input.byte() % limit;
        const uint8_t selects = input.byte();
        return {anchor, selects < 128 ? anchor : selects % limit};
    }

    void handle(const WindowEvent &event) {
        bool handled = !plain.handled; // both are set
        bool text_changed = !plain.text_changed;
        field_handle_key(&field, &event, &handled, &text_changed);
        fuzz_expect("handled", handled, plain.handled);
        fuzz_expect("text changed", text_changed, plain.text_changed);
    }

    void key(uint16_t code, uint8_t state) {
        plain.key(code, state);
        handle({.type = EVENT_KEY, .window = nullptr, .key = {code, state}});
    }

    void character(uint32_t code) {
        plain.character(code);
        handle({.type = EVENT_CHAR, .window = nullptr, .character = {code}});
    }

    bool *flag(uint16_t modifier) {
        return modifier == KEY_SHIFT ? &plain.shift : modifier == KEY_CTRL ? &plain.ctrl : &plain.alt;
    }

    // The table of keys belongs to the caller, which updates it before the editor sees the event.
    void hold(uint16_t modifier) {
        os_heap_hook = nullptr; // without memory for the table no modifier would ever be down
        *flag(modifier) = true;
        ui_press(modifier, {0, 0});
        key(modifier, KEY_PRESSED);
    }

    void let_go(uint16_t modifier) {
        *flag(modifier) = false;
        ui_release(modifier, {0, 0});
        key(modifier, KEY_RELEASED);
    }

    // Shortens the text as cleaning a path does.
    void shorten() {
        plain.text.resize(input.byte() % (plain.text.size() + 1));
        plain.clamp();
        text.count = plain.text.size();
        text.data[text.count] = 0;
        field_clamp_carets(&field);
    }

    void compare() const {
        fuzz_expect("the text", to_string(strbuf_text(&text)), plain.text);
        fuzz_expect("the carets", carets(), written(plain.carets));
        fuzz_expect("the clipboard", clipboard, plain.clipboard);
        fuzz_expect("the storage", static_cast<int64_t>(text.capacity), static_cast<int64_t>(plain.capacity));
        fuzz_expect("the terminator", text.data[text.count], 0);
        fuzz_expect("the storage's block", os_alloc_size(text.data) > text.capacity, 1);
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (bool is_utf8 : {false, true}) {
        text_is_utf8 = is_utf8;
        FuzzInput input(data, size);
        Pair pair(&input);
        while (!input.is_over() && pair.is_short()) {
            pair.step();
        }
    }
    return 0;
}
