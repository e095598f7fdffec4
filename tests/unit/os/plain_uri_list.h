// A plain parser of URI lists, to compare the program's with.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

inline std::string plain_lower(std::string text) {
    for (char &byte : text) {
        byte = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
    }
    return text;
}

// The path in a URI; empty unless it is a file on this machine.
inline std::string plain_path(const std::string &uri, const std::string &host) {
    if (plain_lower(uri.substr(0, 5)) != "file:") {
        return "";
    }
    std::string coded = uri.substr(5);
    if (coded.substr(0, 2) == "//") {
        size_t slash = coded.find('/', 2);
        std::string name = plain_lower(coded.substr(2, slash == std::string::npos ? slash : slash - 2));
        if (slash == std::string::npos || (name != "" && name != "localhost" && name != plain_lower(host))) {
            return "";
        }
        coded = coded.substr(slash);
    }
    std::string path;
    for (size_t i = 0; i < coded.size(); i++) {
        bool is_coded = coded[i] == '%' && i + 2 < coded.size() &&
                        isxdigit(static_cast<unsigned char>(coded[i + 1])) &&
                        isxdigit(static_cast<unsigned char>(coded[i + 2]));
        path += is_coded ? static_cast<char>(std::stoi(coded.substr(i + 1, 2), nullptr, 16)) : coded[i];
        i += is_coded ? 2 : 0;
    }
    return path.substr(0, 1) == "/" && path.find('\0') == std::string::npos ? path : "";
}

inline std::vector<std::string> plain_files_of(const std::string &list, const std::string &host) {
    std::vector<std::string> paths;
    for (size_t at = 0; at < list.size();) {
        size_t end = std::min(list.find('\n', at), list.size());
        std::string line = list.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::string path = plain_path(line, host);
        if (!path.empty()) {
            paths.push_back(path);
        }
    }
    return paths;
}
