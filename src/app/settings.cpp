#include "app/settings.h"

#include <algorithm>

#include <string.h>

#include "app/scratch.h"
#include "os/files.h"
#include "os/paths.h"
#include "render/font.h"
#include "render/text.h"
#include "search/readers.h"
#include "search/search_state.h"
#include "ui/theme.h"

namespace {

#ifdef _WIN32
char default_left_click[] = "\"C:/Program Files/Sublime Text/sublime_text.exe\" "
                            "\"{tarn_file_folder}/{tarn_file_name}\":{tarn_row}:{tarn_column}";
char default_right_click[] = "explorer /select,\"{tarn_file_folder_bs}\\{tarn_file_name}\"";
static_assert(sizeof(default_left_click) == 111 + 1 && sizeof(default_right_click) == 57 + 1);
#else
char default_left_click[] = "xdg-open \"{tarn_file_folder}/{tarn_file_name}\"";
char default_right_click[] = "xdg-open \"{tarn_file_folder}\"";
#endif

constexpr char default_font[] = "source_code_pro.otf";

} // namespace

Settings settings = {
    .font_size = 0,
    .line_height = 0,
    .text_y_offset = 0,
    .show_full_paths = false,
    .remember_last_path = true,
    .remember_last_query = true,
    .max_file_size = default_max_file_size,
    .reader_count = 0,
    .status_line = false,
    .ignore_case = false,
    .skip_folders = {},
    .list_keys = false,
    .utf8_text = false,
    .fallback_font = {},
    .left_click_cmd = {sizeof(default_left_click) - 1, default_left_click},
    .right_click_cmd = {sizeof(default_right_click) - 1, default_right_click},
    .file = {},
};

// ---- Values ----

namespace {

struct Value {
    Str text;            // without whitespace at its ends
    uint64_t to_the_end; // bytes from its start to the end of the file
    Str folder;          // of the settings file
};

// Offset of the first non-whitespace byte at or after at, or the text's end.
uint64_t skip_space(Str text, uint64_t at) {
    while (at < text.count && is_whitespace(text.data[at])) {
        at++;
    }
    return at;
}

bool is_digit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool starts_with(Str text, char byte) {
    return text.count > 0 && text.data[0] == byte;
}

// Uses every digit and skips all other characters. 32 bits wrap.
int32_t integer_from(const Value &value) {
    bool is_negative = starts_with(value.text, '-');
    uint64_t end = value.text.count;
    if (is_negative) {
        // Intentionally also reads the two characters after a negative value, as far as the file has them.
        end = std::min(end + 2, value.to_the_end);
    }
    uint32_t sum = 0;
    for (uint64_t i = is_negative; i < end; i++) {
        if (is_digit(value.text.data[i])) {
            sum = sum * 10 + static_cast<uint32_t>(value.text.data[i] - '0');
        }
    }
    return static_cast<int32_t>(is_negative ? 0 - sum : sum);
}

// Intentionally takes any other character for a 0, a second '.' too. The integer part wraps at 64 bits; the
// fraction's digits add up in single precision, the rest is in double.
double decimal_from(Str text) {
    bool is_negative = starts_with(text, '-');
    uint64_t i = is_negative;
    uint64_t integer = 0;
    for (; i < text.count && text.data[i] != '.'; i++) {
        integer = integer * 10 + (is_digit(text.data[i]) ? static_cast<uint64_t>(text.data[i] - '0') : 0);
    }
    uint64_t fraction_start = i + 1;
    float digits = 0;
    for (i = fraction_start; i < text.count; i++) {
        digits = digits * 10 + static_cast<float>(is_digit(text.data[i]) ? text.data[i] - '0' : 0);
    }
    double fraction = digits;
    for (i = fraction_start; i < text.count; i++) {
        fraction /= 10;
    }
    double sum = static_cast<double>(static_cast<int64_t>(integer)) + fraction;
    return is_negative ? -sum : sum;
}

// A factor of the font size as read so far, in whole pixels: intentionally 0 if the line precedes font_size.
// INT32_MIN when it does not fit 32 bits.
int32_t pixels_from(Str text) {
    double pixels = decimal_from(text) * settings.font_size;
    bool fits = pixels > -2147483649.0 && pixels < 2147483648.0;
    return fits ? static_cast<int32_t>(pixels) : INT32_MIN;
}

bool boolean_from(Str text) {
    static constexpr const char *true_words[] = {"1", "y", "ok", "yes", "true"};
    char lower[8];
    if (text.count >= sizeof(lower)) {
        return false;
    }
    for (uint64_t i = 0; i < text.count; i++) {
        lower[i] = lower_case(text.data[i]);
    }
    return std::ranges::any_of(true_words, [&](const char *word) {
        return str_equal({text.count, lower}, str_from(word));
    });
}

uint64_t unit_factor(char unit) {
    uint64_t factor = 1;
    for (const char *both_cases : {"Kk", "Mm", "Gg", "Tt"}) {
        factor *= 1000;
        if (unit == both_cases[0] || unit == both_cases[1]) {
            return factor;
        }
    }
    return 1;
}

// A sum of terms, each a number and a unit; anything else ends it. 64 bits wrap.
int64_t byte_count_from(Str text) {
    uint64_t i = 0;
    uint64_t sum = 0;
    bool is_subtracted = false;
    while (i < text.count && is_digit(text.data[i])) {
        uint64_t term = 0;
        for (; i < text.count && is_digit(text.data[i]); i++) {
            term = term * 10 + static_cast<uint64_t>(text.data[i] - '0');
        }
        i = skip_space(text, i);
        if (i < text.count) {
            term *= unit_factor(text.data[i]); // intentionally any character is a unit, '-' and digits too
            i++;
        }
        if (i < text.count && (text.data[i] == 'B' || text.data[i] == 'b')) {
            i++;
        }
        i = skip_space(text, i);
        sum = is_subtracted ? sum - term : sum + term;
        is_subtracted = i < text.count && text.data[i] == '-';
        if (is_subtracted) {
            i = skip_space(text, i + 1);
        }
    }
    return static_cast<int64_t>(sum);
}

// The number if the text is only digits and the number at most limit; otherwise 0.
uint32_t count_from(Str text, uint32_t limit) {
    uint32_t count = 0;
    for (uint64_t i = 0; i < text.count; i++) {
        if (!is_digit(text.data[i])) {
            return 0;
        }
        count = count * 10 + static_cast<uint32_t>(text.data[i] - '0');
        if (count > limit) {
            return 0;
        }
    }
    return count;
}

// The path that a value names, without quotes; a relative one is joined with the folder in the scratch arena.
Str path_from(Str path, Str folder) {
    if (path.count >= 2 && path.data[0] == '"' && path.data[path.count - 1] == '"') {
        path = {path.count - 2, path.data + 1};
    }
    if (path.count > 0 && path.data[0] != '/' && path.data[0] != '\\' &&
        !memchr(path.data, ':', path.count)) {
        path = scratch_join(folder, path);
    }
    return path;
}

// Replaces the font; by none when the path is empty or the file is not a font.
void load_font(const Value &value) {
    font = font_load(path_from(value.text, value.folder));
}

} // namespace

// ---- Keys ----

namespace {

struct KeyRule {
    const char *key;
    void (*apply)(const Value &value);
};

constexpr KeyRule key_rules[] = {
    {"font_file", load_font},
    {"font_size", [](const Value &value) { settings.font_size = integer_from(value); }},
    {"line_height", [](const Value &value) { settings.line_height = pixels_from(value.text); }},
    {"text_y_offset", [](const Value &value) { settings.text_y_offset = pixels_from(value.text); }},
    {"show_full_paths", [](const Value &value) { settings.show_full_paths = boolean_from(value.text); }},
    {"remember_last_path",
     [](const Value &value) { settings.remember_last_path = boolean_from(value.text); }},
    {"remember_last_query",
     [](const Value &value) { settings.remember_last_query = boolean_from(value.text); }},
    {"max_file_size", [](const Value &value) { settings.max_file_size = byte_count_from(value.text); }},
    {"left_click_cmd", [](const Value &value) { settings.left_click_cmd = value.text; }},
    {"right_click_cmd", [](const Value &value) { settings.right_click_cmd = value.text; }},
    {"readers", [](const Value &value) { settings.reader_count = count_from(value.text, most_readers); }},
    {"status_line", [](const Value &value) { settings.status_line = boolean_from(value.text); }},
    {"ignore_case", [](const Value &value) { settings.ignore_case = boolean_from(value.text); }},
    {"skip_folders", [](const Value &value) { settings.skip_folders = value.text; }},
    {"list_keys", [](const Value &value) { settings.list_keys = boolean_from(value.text); }},
    {"utf8_text", [](const Value &value) { settings.utf8_text = boolean_from(value.text); }},
    {"fallback_font", [](const Value &value) { settings.fallback_font = value.text; }},
};

void apply_key(Str key, const Value &value) {
    for (const KeyRule &rule : key_rules) {
        if (str_equal(key, str_from(rule.key))) {
            rule.apply(value);
        }
    }
}

// Offset of the line feed that ends the line, or the text's end.
uint64_t line_end(Str text, uint64_t at) {
    while (at < text.count && text.data[at] != '\n') {
        at++;
    }
    return at;
}

} // namespace

void settings_apply(Str text, Str folder) {
    uint64_t at = 0;
    while ((at = skip_space(text, at)) < text.count) {
        if (text.data[at] == '#') {
            at = line_end(text, at);
            continue;
        }
        uint64_t key_start = at;
        while (at < text.count && !is_whitespace(text.data[at])) {
            at++;
        }
        Str key = {at - key_start, text.data + key_start};
        uint64_t value_start = skip_space(text, at); // intentionally over line ends too
        at = line_end(text, value_start);
        uint64_t value_end = at;
        while (value_end > value_start && is_whitespace(text.data[value_end - 1])) {
            value_end--;
        }
        apply_key(key,
                  {{value_end - value_start, text.data + value_start}, text.count - value_start, folder});
    }
}

namespace {

// Joins the path on the stack, as a long font_file may have filled the scratch arena.
void load_default_font(Str folder) {
    char path[longest_folder_path + sizeof(default_font)];
    if (folder.count > longest_folder_path) {
        return;
    }
    if (folder.count > 0) {
        memcpy(path, folder.data, folder.count);
    }
    memcpy(path + folder.count, default_font, sizeof(default_font));
    font = font_load(str_from(path));
}

} // namespace

void settings_apply_fallbacks(Str folder) {
    if (settings.font_size < 1) {
        settings.font_size = theme::default_font_size;
        settings.line_height = theme::default_line_height;
        settings.text_y_offset = theme::default_text_y_offset;
    } else if (settings.line_height < 1) {
        settings.line_height = settings.font_size; // text_y_offset stays, even 0 or below
    }
    settings.max_file_size = std::max(settings.max_file_size, int64_t{0});
    if (font.sizes.capacity == 0) {
        load_default_font(folder);
    }
}

void settings_load(Str folder) {
    settings.file = os_file_read_all(scratch_join(folder, str_from("settings.txt")));
    settings_apply(settings.file, folder);
    settings_apply_fallbacks(folder);
    search_state.max_file_size = settings.max_file_size;
    search_state.reader_count = settings.reader_count;
    search_state.keeps_counts = settings.status_line;
    search_state.ignore_case = settings.ignore_case;
    search_state.skip_folders = settings.skip_folders;
    text_is_utf8 = settings.utf8_text;
    if (settings.utf8_text && settings.fallback_font.count > 0) {
        fallback_font = font_load(path_from(settings.fallback_font, folder));
    }
}
