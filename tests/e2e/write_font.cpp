// Writes a small font for tests to set as the fallback font: write_font FILE.

#include <fstream>

#include "render/test_font.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        return 2;
    }
    std::ofstream file(argv[1], std::ios::binary);
    file << TestFont::file(ideographs_and_emoji);
    file.close();
    return file ? 0 : 1;
}
