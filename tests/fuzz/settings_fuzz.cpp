// The settings file compared with a plain parser. An input is a file's bytes.

#include <string>
#include <vector>

#include "app/plain_settings.h"
#include "app/scratch.h"
#include "app/settings.h"
#include "fuzz.h"
#include "render/font.h"

// Replaces the loading of fonts: keeps the paths and reads no file.

Font font;
Font fallback_font;
bool text_is_utf8;

namespace {

std::vector<std::string> loaded_fonts;

// Whether the path names a font that can be loaded.
bool is_usable(const std::string &font_path) {
    return font_path.size() % 2 == 0;
}

} // namespace

Font font_load(Str path) {
    loaded_fonts.push_back(to_string(path));
    Font loaded = {};
    loaded.sizes.capacity = is_usable(loaded_fonts.back()) ? 8 : 0;
    return loaded;
}

namespace {

std::string joined(const std::vector<std::string> &paths) {
    std::string all;
    for (const std::string &path : paths) {
        all += path + "\n";
    }
    return all;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Settings first_settings = settings;
    if (!scratch) {
        scratch_create();
    }
    scratch_empty();
    settings = first_settings;
    font = {};
    loaded_fonts.clear();
    const std::string file(data, data + size);
    const std::string folder = "C:/the folder/";

    PlainSettings plain;
    plain.folder = folder;
    plain.apply(file);
    plain.fall_back();
    if (plain.font_paths.empty() || !is_usable(plain.font_paths.back())) {
        plain.font_paths.push_back(folder + "source_code_pro.otf");
    }

    const ExactBytes bytes(file);
    settings_apply(bytes.str, str_over(folder));
    settings_apply_fallbacks(str_over(folder));

    fuzz_expect("font_size", settings.font_size, plain.font_size);
    fuzz_expect("line_height", settings.line_height, plain.line_height);
    fuzz_expect("text_y_offset", settings.text_y_offset, plain.text_y_offset);
    fuzz_expect("show_full_paths", settings.show_full_paths, plain.show_full_paths);
    fuzz_expect("remember_last_path", settings.remember_last_path, plain.remember_last_path);
    fuzz_expect("remember_last_query", settings.remember_last_query, plain.remember_last_query);
    fuzz_expect("max_file_size", settings.max_file_size, plain.max_file_size);
    fuzz_expect("left_click_cmd", to_string(settings.left_click_cmd), plain.left_click_cmd);
    fuzz_expect("right_click_cmd", to_string(settings.right_click_cmd), plain.right_click_cmd);
    fuzz_expect("status_line", settings.status_line, plain.status_line);
    fuzz_expect("ignore_case", settings.ignore_case, plain.ignore_case);
    fuzz_expect("skip_folders", to_string(settings.skip_folders), plain.skip_folders);
    fuzz_expect("list_keys", settings.list_keys, plain.list_keys);
    fuzz_expect("utf8_text", settings.utf8_text, plain.utf8_text);
    fuzz_expect("fallback_font", to_string(settings.fallback_font), plain.fallback_font);
    fuzz_expect("readers", settings.reader_count, plain.reader_count);
    fuzz_expect("the fonts that are loaded", joined(loaded_fonts), joined(plain.font_paths));
    fuzz_expect("the file's bytes afterwards", to_string(bytes.str), file);
    return 0;
}
