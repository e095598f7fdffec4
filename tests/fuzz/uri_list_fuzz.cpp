// URI lists compared with a plain parser. An input is a list.

#include <unistd.h>

#include <string>

#include "fuzz.h"
#include "os/linux/uri_list.h"
#include "os/plain_uri_list.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string list(data, data + size);
    char host[256] = {};
    gethostname(host, sizeof(host) - 1);
    std::string plain;
    for (const std::string &path : plain_files_of(list, host)) {
        plain += path + "\n";
    }

    const ExactBytes bytes(list);
    std::string found;
    Str rest = bytes.str;
    Str path;
    while (uri_list_next(&rest, &path)) {
        found += to_string(path) + "\n";
    }
    fuzz_expect("the paths", found, plain);
    fuzz_expect("what is left", static_cast<int64_t>(rest.count), 0);
    return 0;
}
