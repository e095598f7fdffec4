// Speed of the scan alone, in memory and without a hit, compared with the C library's memchr over the same
// bytes: 64 MB of C source, the first below the folder on the command line.
//
// Then texts of 10 MB with many long partial matches, compared with a loop of memchr for the query's first
// byte and memcmp.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string.h>
#include <string>
#include <vector>

#include "os/processor.h"
#include "search/scan.h"

namespace {

constexpr size_t text_size = 64 << 20;
std::string text;

void load_text(const char *folder) {
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() &&
            (entry.path().extension() == ".c" || entry.path().extension() == ".h")) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto &file : files) {
        std::ifstream in(file, std::ios::binary);
        text.append(std::istreambuf_iterator<char>(in), {});
        if (text.size() >= text_size) {
            text.resize(text_size);
            return;
        }
    }
}

void memchr_speed(benchmark::State &state) {
    size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        const void *found = memchr(text.data(), 1, size); // a byte that is not in source code
        benchmark::DoNotOptimize(found);
        if (found) {
            state.SkipWithError("found");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void scan_speed(benchmark::State &state, const char *query, bool ignore_case, ScanNextHit *variant) {
    int64_t span = state.range(0) - static_cast<int64_t>(strlen(query));
    for (auto _ : state) {
        ScanHit hit;
        ScanNeedle needle = scan_needle(str_from(query), ignore_case);
        if (variant(text.data(), 0, span, needle, &hit)) {
            state.SkipWithError("found");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// ---- Hard texts ----

constexpr size_t hard_text_size = 10'000'000;

struct HardCase {
    const char *name;
    std::string query;
    std::string text; // repeated
};

std::string repeated(const std::string &part, size_t times) {
    std::string whole;
    for (size_t i = 0; i < times; i++) {
        whole += part;
    }
    return whole;
}

std::vector<HardCase> hard_cases() {
    const std::string spaces(1000, ' '), tildes(1000, '~');
    return {
        {"1000 spaces and x, in spaces", spaces + "x", " "},
        {"1000 spaces, in runs of 999", spaces, spaces.substr(1) + "x"},
        {"1000 spaces, in runs of 10", spaces, spaces.substr(990) + "x"},
        {"x and 1000 spaces, in runs of 900", "x" + spaces, spaces.substr(100) + "x"},
        {"x between 1000 spaces, in runs of 400", spaces + "x" + spaces, spaces.substr(600) + "x"},
        {"500 times ab and c, in ab", repeated("ab", 500) + "c", "ab"},
        {"500 times ab, in runs of 499", repeated("ab", 500), repeated("ab", 499) + "c"},
        {"1000 tildes and e, in tildes", tildes + "e", "~"},
        {"e and 1000 tildes, in tildes", "e" + tildes, "~"},
        {"e and 500 times ~!, in ~!", "e" + repeated("~!", 500), "~!"},
    };
}

void hard_scan(benchmark::State &state, const std::string &query, const std::string &part, bool ignore_case,
               ScanNextHit *variant) {
    const std::string hard_text = repeated(part, hard_text_size / part.size());
    int64_t span = static_cast<int64_t>(hard_text.size() - query.size());
    for (auto _ : state) {
        ScanHit hit;
        ScanNeedle needle = scan_needle({query.size(), const_cast<char *>(query.data())}, ignore_case);
        if (variant(hard_text.data(), 0, span, needle, &hit)) {
            state.SkipWithError("found");
            return;
        }
    }
}

void hard_loop(benchmark::State &state, const std::string &query, const std::string &part) {
    const std::string hard_text = repeated(part, hard_text_size / part.size());
    const char *end = hard_text.data() + (hard_text.size() - query.size());
    for (auto _ : state) {
        const char *at = hard_text.data();
        while ((at = static_cast<const char *>(memchr(at, query[0], static_cast<size_t>(end - at))))) {
            if (memcmp(at, query.data(), query.size()) == 0) {
                state.SkipWithError("found");
                return;
            }
            at++;
        }
    }
}

void sizes(benchmark::internal::Benchmark *bench) {
    bench->Arg(16 << 10)->Arg(256 << 10)->Arg(text_size);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        fputs("usage: scan_bench [--benchmark_...] FOLDER\n", stderr);
        return 2;
    }
    load_text(argv[1]);
    if (text.size() < text_size) {
        fputs("scan_bench: too little C source there\n", stderr);
        return 2;
    }
    benchmark::RegisterBenchmark("memchr", memchr_speed)->Apply(sizes);
    struct Variant {
        const char *name;
        bool ignore_case;
        ScanNextHit *scan;
    };
    std::vector<Variant> variants;
    if (os_has_avx2()) {
        variants.push_back({"AVX2", false, scan_next_hit_avx2});
    }
    variants.push_back({"SSE2", false, scan_next_hit_sse2});
    if (os_has_avx2()) {
        variants.push_back({"ignoring case, AVX2", true, scan_next_hit_ignoring_case_avx2});
    }
    variants.push_back({"ignoring case, SSE2", true, scan_next_hit_ignoring_case_sse2});
    for (const char *query : {"\x01", "zqxwvk_none", "intqq", "structure_of_nothing", " e_~e "}) {
        for (const Variant &variant : variants) {
            std::string name =
                std::string("scan ") + (query[0] == 1 ? "one byte" : query) + ", " + variant.name;
            benchmark::RegisterBenchmark(name.c_str(), scan_speed, query, variant.ignore_case, variant.scan)
                ->Apply(sizes);
        }
    }
    for (const HardCase &hard : hard_cases()) {
        std::string name = hard.name;
        benchmark::RegisterBenchmark((name + ", loop").c_str(), hard_loop, hard.query, hard.text)
            ->Unit(benchmark::kMillisecond);
        for (const Variant &variant : variants) {
            benchmark::RegisterBenchmark((name + ", " + variant.name).c_str(), hard_scan, hard.query,
                                         hard.text, variant.ignore_case, variant.scan)
                ->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
