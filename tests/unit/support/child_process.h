// Children for the tests of starting programs.
#pragma once

#include <stdint.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "os/files.h"
#include "support/test_tree.h"

#ifdef _WIN32
inline const std::string exe_suffix = ".exe";
#else
inline const std::string exe_suffix;
#endif

inline std::string probe_path(const std::string &name = "child_probe") {
    return to_string(os_exe_folder()) + name + exe_suffix;
}

inline std::string probe(const std::string &arguments) {
    return "\"" + probe_path() + "\" " + arguments;
}

// A path in quotes, as an argument.
inline std::string quoted(const std::string &path) {
    return " \"" + path + "\"";
}

inline constexpr bool no_console = false;

// Asks again and again until the answer is yes; false after a minute.
inline bool comes_true(const std::function<bool()> &question) {
    for (int tries = 0; tries < 6000; tries++) {
        if (question()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

inline bool appears(const std::filesystem::path &file) {
    return comes_true([&] { return std::filesystem::exists(file); });
}
