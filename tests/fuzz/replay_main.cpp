// Runs a fuzzer's function on every file of a folder, once each: replay FOLDER. Its name is printed before a
// file is run, so the last name of a failed run is the file that failed. Fails when there is no file.

#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1], error)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path &path : files) {
        fprintf(stderr, "%s\n", path.filename().c_str());
        std::ifstream file(path, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(file), {}};
        if (!file) {
            fprintf(stderr, "cannot be read\n");
            return 1;
        }
        // A block of just the input's size: the fuzzer itself must not read beyond it either.
        ExactBytes input(bytes);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.str.data), bytes.size());
    }
    printf("%zu inputs of %s: no difference\n", files.size(), argv[1]);
    return files.empty() ? 1 : 0;
}
