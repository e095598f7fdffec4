// Runs a fuzzer's function once on every file of a folder: replay FOLDER. Prints each file's name first, so
// the last name of a failed run is the failing file. Fails when there is no file.

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
        // A block of exactly the input's size, so that AddressSanitizer sees a read beyond it.
        ExactBytes input(bytes);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.str.data), bytes.size());
    }
    printf("%zu inputs of %s: no difference\n", files.size(), argv[1]);
    return files.empty() ? 1 : 0;
}
