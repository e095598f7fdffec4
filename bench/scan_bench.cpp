// The scan alone, in memory, without a hit, beside the C library's memchr over the same bytes. The text is C
// source: the first 64 MB below the folder that is named first on the command line (bench/compare.sh names
// its tree).

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
        const void *found = memchr(text.data(), 1, size); // a byte that source texts do not have
        benchmark::DoNotOptimize(found);
        if (found) {
            state.SkipWithError("found");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void scan_speed(benchmark::State &state, const char *query, ScanNextHit *variant) {
    int64_t span = state.range(0) - static_cast<int64_t>(strlen(query));
    for (auto _ : state) {
        ScanHit hit;
        ScanNeedle needle = scan_needle(str_from(query));
        if (variant(text.data(), 0, span, needle, &hit)) {
            state.SkipWithError("found");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
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
    for (const char *query : {"\x01", "zqxwvk_none", "intqq", "structure_of_nothing", " e_~e "}) {
        std::string name = std::string("scan ") + (query[0] == 1 ? "one byte" : query);
        if (os_has_avx2()) {
            benchmark::RegisterBenchmark((name + ", AVX2").c_str(), scan_speed, query, &scan_next_hit_avx2)
                ->Apply(sizes);
        }
        benchmark::RegisterBenchmark((name + ", SSE2").c_str(), scan_speed, query, &scan_next_hit_sse2)
            ->Apply(sizes);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
