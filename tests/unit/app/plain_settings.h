// A plain reader of the settings file, to compare the program's with. It only names fonts.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#ifdef _WIN32
inline const std::string default_left = "\"C:/Program Files/Sublime Text/sublime_text.exe\" "
                                        "\"{tarn_file_folder}/{tarn_file_name}\":{tarn_row}:{tarn_column}";
inline const std::string default_right = "explorer /select,\"{tarn_file_folder_bs}\\{tarn_file_name}\"";
#else
inline const std::string default_left = "xdg-open \"{tarn_file_folder}/{tarn_file_name}\"";
inline const std::string default_right = "xdg-open \"{tarn_file_folder}\"";
#endif

struct PlainSettings {
    int32_t font_size = 0;
    int32_t line_height = 0;
    int32_t text_y_offset = 0;
    bool show_full_paths = false;
    bool remember_last_path = true;
    bool remember_last_query = true;
    int64_t max_file_size = 10000000;
    std::string left_click_cmd = default_left;
    std::string right_click_cmd = default_right;
    bool status_line = false;
    bool ignore_case = false;
    std::string skip_folders;
    bool list_keys = false;
    bool utf8_text = false;
    std::string fallback_font;
    uint32_t reader_count = 0;
    std::string folder;                  // of the file, with a '/' at its end
    std::vector<std::string> font_paths; // of the fonts to load, in their order

    void apply(std::string file) {
        while (true) {
            cut_front(&file);
            if (file.empty()) {
                break;
            }
            if (file[0] == '#') {
                cut_line(&file);
                continue;
            }
            std::string key = file.substr(0, file.find_first_of(white));
            file.erase(0, key.size());
            cut_front(&file);
            std::string from_value = file;
            std::string value = cut_line(&file);
            while (!value.empty() && is_white(value.back())) {
                value.pop_back();
            }
            set(key, value, from_value);
        }
    }

    void fall_back() {
        if (font_size <= 0) {
            font_size = 14;
            line_height = 15;
            text_y_offset = 12;
        }
        if (line_height <= 0) {
            line_height = font_size;
        }
        if (max_file_size < 0) {
            max_file_size = 0;
        }
    }

private:
    static constexpr const char *white = " \t\r\n";

    static bool is_white(char byte) {
        return std::string(white).find(byte) != std::string::npos;
    }

    static bool is_digit(char byte) {
        return std::string("0123456789").find(byte) != std::string::npos;
    }

    static void cut_front(std::string *text) {
        text->erase(0, text->find_first_not_of(white));
    }

    static std::string cut_line(std::string *text) {
        std::string line = text->substr(0, text->find('\n'));
        text->erase(0, line.size() + 1);
        return line;
    }

    void set(const std::string &key, const std::string &value, const std::string &from_value) {
        if (key == "font_file") {
            font_paths.push_back(font_path(value));
        } else if (key == "font_size") {
            font_size = integer(value, from_value);
        } else if (key == "line_height") {
            line_height = pixels(value);
        } else if (key == "text_y_offset") {
            text_y_offset = pixels(value);
        } else if (key == "show_full_paths") {
            show_full_paths = boolean(value);
        } else if (key == "remember_last_path") {
            remember_last_path = boolean(value);
        } else if (key == "remember_last_query") {
            remember_last_query = boolean(value);
        } else if (key == "max_file_size") {
            max_file_size = bytes(value);
        } else if (key == "left_click_cmd") {
            left_click_cmd = value;
        } else if (key == "right_click_cmd") {
            right_click_cmd = value;
        } else if (key == "status_line") {
            status_line = boolean(value);
        } else if (key == "ignore_case") {
            ignore_case = boolean(value);
        } else if (key == "list_keys") {
            list_keys = boolean(value);
        } else if (key == "utf8_text") {
            utf8_text = boolean(value);
        } else if (key == "fallback_font") {
            fallback_font = value;
        } else if (key == "readers") {
            bool is_number = value.find_first_not_of("0123456789") == std::string::npos;
            std::string digits = value.substr(std::min(value.find_first_not_of('0'), value.size()));
            reader_count = is_number && digits.size() == 1 ? static_cast<uint32_t>(digits[0] - '0')
                           : is_number && digits.size() == 2 && digits <= "64"
                               ? static_cast<uint32_t>((digits[0] - '0') * 10 + digits[1] - '0')
                               : 0;
        } else if (key == "skip_folders") {
            skip_folders = value;
        }
    }

    std::string font_path(std::string value) const {
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        bool is_absolute = value.find(':') != std::string::npos || value.find_first_of("/\\") == 0;
        return value.empty() || is_absolute ? value : folder + value;
    }

    static int32_t integer(std::string value, const std::string &from_value) {
        bool negative = value.rfind("-", 0) == 0;
        if (negative) {
            value = from_value.substr(0, value.size() + 2);
        }
        std::string digits;
        for (char byte : value) {
            digits += is_digit(byte) ? std::string(1, byte) : "";
        }
        uint64_t number = 0;
        for (char digit : digits) {
            number = (number * 10 + static_cast<uint64_t>(digit - '0')) % 0x100000000;
        }
        number = negative ? (0x100000000 - number) % 0x100000000 : number;
        return static_cast<int32_t>(static_cast<int64_t>(number) -
                                    (number >= 0x80000000 ? int64_t{0x100000000} : 0));
    }

    int32_t pixels(std::string value) const {
        bool negative = value.rfind("-", 0) == 0;
        value.erase(0, negative ? 1 : 0);
        std::string whole = value.substr(0, value.find('.'));
        std::string fraction = value.size() > whole.size() ? value.substr(whole.size() + 1) : "";
        uint64_t integer_part = 0;
        for (char byte : whole) {
            integer_part = integer_part * 10 + (is_digit(byte) ? static_cast<uint64_t>(byte - '0') : 0);
        }
        float digits = 0;
        for (char byte : fraction) {
            digits = digits * 10.0f + static_cast<float>(is_digit(byte) ? byte - '0' : 0);
        }
        double part = static_cast<double>(digits);
        for (size_t i = 0; i < fraction.size(); i++) {
            part = part / 10.0;
        }
        double factor = static_cast<double>(static_cast<int64_t>(integer_part)) + part;
        double result = std::trunc((negative ? -factor : factor) * static_cast<double>(font_size));
        if (std::isnan(result) || result < -2147483648.0 || result > 2147483647.0) {
            return -2147483647 - 1;
        }
        return static_cast<int32_t>(result);
    }

    static bool boolean(std::string value) {
        for (char &byte : value) {
            byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
        }
        return value == "1" || value == "y" || value == "ok" || value == "yes" || value == "true";
    }

    static int64_t bytes(std::string value) {
        static const std::map<char, uint64_t> units = {
            {'k', 1000}, {'m', 1000000}, {'g', 1000000000}, {'t', 1000000000000},
            {'K', 1000}, {'M', 1000000}, {'G', 1000000000}, {'T', 1000000000000}};
        uint64_t total = 0;
        bool subtract = false;
        while (!value.empty() && is_digit(value[0])) {
            uint64_t term = 0;
            while (!value.empty() && is_digit(value[0])) {
                term = term * 10 + static_cast<uint64_t>(value[0] - '0');
                value.erase(0, 1);
            }
            cut_front(&value);
            if (!value.empty()) {
                term *= units.count(value[0]) ? units.at(value[0]) : 1;
                value.erase(0, 1);
            }
            if (!value.empty() && (value[0] == 'B' || value[0] == 'b')) {
                value.erase(0, 1);
            }
            cut_front(&value);
            total += subtract ? 0 - term : term;
            subtract = !value.empty() && value[0] == '-';
            if (subtract) {
                value.erase(0, 1);
                cut_front(&value);
            }
        }
        return static_cast<int64_t>(total);
    }
};
