#include "os/linux/keys.h"

#include <algorithm>

#include <langinfo.h>
#include <locale.h>
#include <string.h>

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/utf16.h"
#include "os/utf8.h"
#include "os/window_backend.h"

// ---- Codes ----

namespace {

struct CodeOfSymbol {
    KeySym symbol;
    uint16_t code;
};

const CodeOfSymbol codes_of_symbols[] = {
    {XK_BackSpace, KEY_BACKSPACE},
    {XK_Tab, KEY_TAB},
    {XK_ISO_Left_Tab, KEY_TAB},
    {XK_KP_Tab, KEY_TAB},
    {XK_Clear, 0x0C},
    {XK_KP_Begin, 0x0C},
    {XK_Return, KEY_ENTER},
    {XK_KP_Enter, KEY_ENTER},
    {XK_Shift_L, KEY_SHIFT},
    {XK_Shift_R, KEY_SHIFT},
    {XK_Control_L, KEY_CTRL},
    {XK_Control_R, KEY_CTRL},
    {XK_Alt_L, KEY_ALT},
    {XK_Alt_R, KEY_ALT},
    {XK_Meta_L, KEY_ALT},
    {XK_Meta_R, KEY_ALT},
    {XK_ISO_Level3_Shift, KEY_ALT},
    {XK_Mode_switch, KEY_ALT},
    {XK_Pause, 0x13},
    {XK_Break, 0x03},
    {XK_Caps_Lock, 0x14},
    {XK_Escape, KEY_ESCAPE},
    {XK_space, KEY_SPACE},
    {XK_nobreakspace, KEY_SPACE},
    {XK_KP_Space, KEY_SPACE},
    {XK_Page_Up, KEY_PAGE_UP},
    {XK_KP_Page_Up, KEY_PAGE_UP},
    {XK_Page_Down, KEY_PAGE_DOWN},
    {XK_KP_Page_Down, KEY_PAGE_DOWN},
    {XK_End, KEY_END},
    {XK_KP_End, KEY_END},
    {XK_Home, KEY_HOME},
    {XK_KP_Home, KEY_HOME},
    {XK_Left, KEY_LEFT},
    {XK_KP_Left, KEY_LEFT},
    {XK_Up, KEY_UP},
    {XK_KP_Up, KEY_UP},
    {XK_Right, KEY_RIGHT},
    {XK_KP_Right, KEY_RIGHT},
    {XK_Down, KEY_DOWN},
    {XK_KP_Down, KEY_DOWN},
    {XK_Print, 0x2C},
    {XK_Insert, 0x2D},
    {XK_KP_Insert, 0x2D},
    {XK_Delete, KEY_DELETE},
    {XK_KP_Delete, KEY_DELETE},
    {XK_Help, 0x2F},
    {XK_Super_L, 0x5B},
    {XK_Super_R, 0x5C},
    {XK_Menu, 0x5D},
    {XK_KP_Multiply, 0x6A},
    {XK_KP_Add, 0x6B},
    {XK_KP_Separator, 0x6C},
    {XK_KP_Subtract, 0x6D},
    {XK_KP_Decimal, 0x6E},
    {XK_KP_Divide, 0x6F},
    {XK_Num_Lock, 0x90},
    {XK_Scroll_Lock, 0x91},
    {XK_semicolon, 0xBA},
    {XK_equal, 0xBB},
    {XK_plus, 0xBB},
    {XK_comma, 0xBC},
    {XK_minus, 0xBD},
    {XK_period, 0xBE},
    {XK_slash, 0xBF},
    {XK_grave, 0xC0},
    {XK_bracketleft, 0xDB},
    {XK_backslash, 0xDC},
    {XK_bracketright, 0xDD},
    {XK_apostrophe, 0xDE},
    {XK_less, 0xE2},
};

// The virtual-key code for a letter, a digit, a function key or a symbol in the table above; 0 for others.
uint16_t code_of_symbol(KeySym symbol) {
    if (symbol >= XK_a && symbol <= XK_z) {
        return static_cast<uint16_t>('A' + (symbol - XK_a));
    }
    if (symbol >= XK_0 && symbol <= XK_9) {
        return static_cast<uint16_t>('0' + (symbol - XK_0));
    }
    if (symbol >= XK_KP_0 && symbol <= XK_KP_9) {
        return static_cast<uint16_t>(KEY_NUMPAD_0 + (symbol - XK_KP_0));
    }
    if (symbol >= XK_F1 && symbol <= XK_F24) {
        return static_cast<uint16_t>(KEY_F1 + (symbol - XK_F1));
    }
    for (const CodeOfSymbol &row : codes_of_symbols) {
        if (row.symbol == symbol) {
            return row.code;
        }
    }
    return 0;
}

KeySym symbol_of(uint32_t keycode, uint32_t state) {
    KeySym symbol = NoSymbol;
    uint32_t used_state = 0;
    XkbLookupKeySym(x11_display(), static_cast<KeyCode>(keycode), state, &used_state, &symbol);
    return symbol;
}

bool is_on_keypad(KeySym symbol) {
    return symbol >= XK_KP_Space && symbol <= XK_KP_9;
}

// The code of a key in one of the layout's groups: from its unshifted symbol, or from the digit that it types
// with Shift, as on French keyboards.
uint16_t code_in_group(uint32_t keycode, uint32_t group) {
    uint32_t state = static_cast<uint32_t>(XkbBuildCoreState(0, group));
    KeySym shifted = symbol_of(keycode, state | ShiftMask);
    if (shifted >= XK_0 && shifted <= XK_9) {
        return code_of_symbol(shifted);
    }
    return code_of_symbol(symbol_of(keycode, state));
}

// The code of a character key by its position, as on a US keyboard; 0 for other keys.
uint16_t code_of_place(uint32_t keycode) {
    constexpr uint32_t first_keycode = 10;
    static const uint8_t codes[] = {
        '1', '2', '3', '4', '5', '6', '7', '8',  '9',  '0',  0xBD, 0xBB, 0, 0,    // 10 to 23
        'Q', 'W', 'E', 'R', 'T', 'Y', 'U', 'I',  'O',  'P',  0xDB, 0xDD, 0, 0,    // 24 to 37
        'A', 'S', 'D', 'F', 'G', 'H', 'J', 'K',  'L',  0xBA, 0xDE, 0xC0, 0, 0xDC, // 38 to 51
        'Z', 'X', 'C', 'V', 'B', 'N', 'M', 0xBC, 0xBE, 0xBF,                      // 52 to 61
    };
    constexpr uint32_t between_shift_and_z = 94;
    if (keycode == between_shift_and_z) {
        return 0xE2;
    }
    return keycode >= first_keycode && keycode < first_keycode + sizeof(codes)
               ? codes[keycode - first_keycode]
               : 0;
}

// The virtual-key code of a pressed key, or 0. If the active layout has no Latin letter for the key, the
// user's other layouts decide, then the key's position.
uint16_t code_of_key(const XKeyEvent &event) {
    KeySym symbol = symbol_of(event.keycode, event.state);
    if (is_on_keypad(symbol)) { // depends on Num Lock
        return code_of_symbol(symbol);
    }
    uint32_t active_group = static_cast<uint32_t>(XkbGroupForCoreState(event.state));
    uint16_t code = code_in_group(event.keycode, active_group);
    for (uint32_t group = 0; code == 0 && group < XkbNumKbdGroups; group++) {
        code = code_in_group(event.keycode, group);
    }
    return code ? code : code_of_place(event.keycode);
}

// ---- Keys that are down ----

constexpr uint32_t keycode_count = 256;
constexpr uint16_t code_of_unknown = 0xFF; // for a key that is down but has no code

uint16_t codes_down[keycode_count]; // by keycode; 0: not down

bool is_down(uint16_t code) {
    return std::find(codes_down, codes_down + keycode_count, code) != codes_down + keycode_count;
}

// A code stays down while any of its keys is, such as the two Shift keys.
void release(PlatformWindow *window, uint32_t keycode) {
    uint16_t code = codes_down[keycode];
    codes_down[keycode] = 0;
    if (code != 0 && code != code_of_unknown && !is_down(code)) {
        window_key(window, code, KEY_RELEASED);
    }
}

} // namespace

void keys_released(PlatformWindow *window, const XKeyEvent &event) {
    release(window, event.keycode % keycode_count);
}

void keys_sync_down(PlatformWindow *window, const XKeymapEvent &event) {
    constexpr uint32_t first_keycode = 8;
    for (uint32_t keycode = first_keycode; keycode < keycode_count && window_is_alive(window); keycode++) {
        bool is_pressed = event.key_vector[keycode / 8] >> keycode % 8 & 1;
        if (!is_pressed) {
            release(window, keycode);
        } else if (codes_down[keycode] == 0) {
            codes_down[keycode] = code_of_unknown;
        }
    }
}

void keys_forget_down() {
    memset(codes_down, 0, sizeof(codes_down));
}

// ---- Text ----

namespace {

XIM input_method;

// The windows' input contexts are destroyed with it.
void input_method_is_gone(XIM, XPointer, XPointer) {
    input_method = nullptr;
    for (NativeWindow *native = native_windows(); native; native = native->next) {
        native->input_context = nullptr;
    }
}

void open_input_method() {
    XSetLocaleModifiers("");
    input_method = XOpenIM(x11_display(), nullptr, nullptr, nullptr);
    if (!input_method) { // the one that the user chose is not running
        XSetLocaleModifiers("@im=none");
        input_method = XOpenIM(x11_display(), nullptr, nullptr, nullptr);
    }
    if (input_method) {
        XIMCallback gone = {nullptr, input_method_is_gone};
        XSetIMValues(input_method, XNDestroyCallback, &gone, nullptr);
    }
}

void type_code(PlatformWindow *window, uint32_t code) {
    if (code < 0x10000) {
        window_character(window, code);
        return;
    }
    window_character(window, utf16_first_unit(code));
    if (window_is_alive(window)) {
        window_character(window, utf16_second_unit(code));
    }
}

// Types UTF-8; bytes that belong to no character type nothing.
void type_text(PlatformWindow *window, Str text) {
    for (uint64_t at = 0; at < text.count && window_is_alive(window);) {
        Utf8Character character = utf8_at(text, at);
        if (character.is_valid) {
            type_code(window, character.code);
        }
        at += character.length;
    }
}

// The character that Ctrl and a key type, as on Windows; -1 for none.
int32_t control_character(uint16_t code) {
    switch (code) {
    case KEY_ENTER:
        return '\n';
    case KEY_BACKSPACE:
        return 0x7F;
    case KEY_SPACE:
        return ' ';
    case 0xDB: // [
        return 0x1B;
    case 0xDC: // backslash
        return 0x1C;
    case 0xDD: // ]
        return 0x1D;
    default:
        return code >= 'A' && code <= 'Z' ? code - 'A' + 1 : -1;
    }
}

// Whether Alt or the Windows key is held: such shortcuts type nothing. The layout decides which modifier bits
// these keys set.
bool is_shortcut(uint32_t state) {
    return state &
           (XkbKeysymToModifiers(x11_display(), XK_Alt_L) | XkbKeysymToModifiers(x11_display(), XK_Super_L));
}

// Delivers the characters that the key types or that the input method has composed.
void type_key(PlatformWindow *window, XIC input, XKeyEvent *event) {
    char room[64];
    char *text = room;
    KeySym symbol = NoSymbol;
    int status = XLookupBoth;
    int count = 0;
    if (!input) {
        count = XLookupString(event, room, sizeof(room), &symbol, nullptr);
        if (count == 1 && static_cast<uint8_t>(room[0]) >= 0x80) { // Latin-1; UTF-8 is needed
            count = static_cast<int>(utf8_encode(static_cast<uint8_t>(room[0]), room));
        }
    } else {
        count = Xutf8LookupString(input, event, room, sizeof(room), &symbol, &status);
        if (status == XBufferOverflow) {
            text = static_cast<char *>(os_alloc(static_cast<uint64_t>(count)));
            count = text ? Xutf8LookupString(input, event, text, count, &symbol, &status) : 0;
        }
    }
    bool has_text = status == XLookupChars || status == XLookupBoth;
    bool is_delete = count == 1 && text[0] == 0x7F; // Delete types nothing on Windows
    if (has_text && !is_delete && count > 0) {
        type_text(window, {static_cast<uint64_t>(count), text});
    }
    if (text != room) {
        os_free(text);
    }
}

} // namespace

void keys_init() {
    setlocale(LC_CTYPE, "");
    if (strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setlocale(LC_CTYPE, "C.UTF-8");
    }
    XkbSetDetectableAutoRepeat(x11_display(), True, nullptr);
}

void keys_open_input(NativeWindow *native) {
    if (native->input_context) {
        return;
    }
    if (!input_method) {
        open_input_method();
    }
    if (input_method) {
        native->input_context = XCreateIC(input_method, XNInputStyle, XIMPreeditNothing | XIMStatusNothing,
                                          XNClientWindow, native->id, XNFocusWindow, native->id, nullptr);
    }
    if (native->input_context) {
        XSetICFocus(native->input_context);
    }
}

void keys_close_input(NativeWindow *native) {
    if (native->input_context) {
        XDestroyIC(native->input_context);
        native->input_context = nullptr;
    }
}

void keys_pressed(PlatformWindow *window, XKeyEvent *event) {
    constexpr uint32_t keycode_of_text = 0; // an input method delivers composed text
    uint32_t keycode = event->keycode % keycode_count;
    if (keycode != keycode_of_text) {
        uint16_t code = code_of_key(*event);
        bool was_down = codes_down[keycode] != 0 || (code != 0 && is_down(code));
        codes_down[keycode] = code ? code : code_of_unknown;
        if (code != 0) {
            window_key(window, code, was_down ? KEY_REPEATED : KEY_PRESSED);
        }
        if (!window_is_alive(window) || is_shortcut(event->state)) {
            return;
        }
        if (event->state & ControlMask) {
            int32_t character = control_character(code);
            if (character >= 0) {
                window_character(window, static_cast<uint32_t>(character));
            }
            return;
        }
    }
    type_key(window, native_window(window)->input_context, event);
}
