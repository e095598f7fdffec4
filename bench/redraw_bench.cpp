// Time to redraw the program's frame, as after a key press or a step of the wheel: two fields, and rows of
// folders or hits down to the lower edge of a window of 1000 x 921 pixels. Nothing is presented.
#include <benchmark/benchmark.h>

#include <stdio.h>
#include <stdlib.h>

#include "app/frame.h"
#include "app/list_keys.h"
#include "app/scratch.h"
#include "app/settings.h"
#include "os/arrays.h"
#include "os/files.h"
#include "render/font.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/line_editor.h"

namespace {

void set_up() {
    scratch_create();
    settings_apply_fallbacks(os_exe_folder());
    if (font.sizes.capacity == 0) {
        fprintf(stderr, "no font beside the program\n");
        exit(1);
    }
    strbuf_init(&search_state.path, 1024);
    strbuf_init(&search_state.query, 1024);
    set_request_text(&search_state.path, str_from("C:/code/tarnwick/"));
    set_request_text(&search_state.query, str_from("EVENT_WINDOW_RESIZED"));
    dynarray_init(&input_field.caret_list, sizeof(Caret), 16);
    input_field.focused_field = &query_field;
    field_set_single_caret(0, field_text_end(&query_field));
    results_store_reserve();
}

void empty_results() {
    static const bool is_set_up = (set_up(), true);
    benchmark::DoNotOptimize(is_set_up);
    results_store.file_table.count = 0;
    results_store.hit_table.count = 0;
    results_store.matching_folders.count = 0;
    search_state.results_scroll = 0;
}

void draw_again_and_again(benchmark::State &state) {
    Framebuffer framebuffer = {1000, 921, static_cast<uint32_t *>(calloc(1000 * 921, 4)), 1000 * 921 * 4};
    for (auto _ : state) {
        frame_draw(&framebuffer, {0, 0});
        benchmark::ClobberMemory();
    }
    free(framebuffer.pixels);
}

void redraw_folders(benchmark::State &state) {
    empty_results();
    for (int64_t i = 0; i < state.range(0); i++) {
        Str name = str_from("a_folder_of_a_source_tree_with_a_name_of_sixty_letters_in_all");
        dynarray_push(&results_store.matching_folders, sizeof(Str), &name);
    }
    draw_again_and_again(state);
}
BENCHMARK(redraw_folders)->ArgName("folders")->Arg(0)->Arg(100)->Arg(100000)->Unit(benchmark::kMicrosecond);

// Files of nine hits each, scrolled down by a percentage of the list.
void redraw_hits(benchmark::State &state) {
    empty_results();
    for (int64_t i = 0; i < state.range(0); i++) {
        ResultRecord hit = {};
        hit.kind = i % 10 == 0 ? RESULT_FILE_HEADER : RESULT_HIT;
        if (hit.kind == RESULT_FILE_HEADER) {
            FileEntry file = {str_from("C:/code/tarnwick/src/os/win32"), str_from("window.cpp")};
            dynarray_push(&results_store.file_table, sizeof(file), &file);
        } else {
            hit.line = static_cast<uint32_t>(i);
            hit.text = str_from("a line of a source file, with a length of sixty letters in all");
        }
        hit.file_index = static_cast<uint32_t>(i / 10);
        dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
    }
    search_state.results_scroll = static_cast<int32_t>((state.range(0) - 60) * state.range(1) / 100);
    settings.list_keys = state.range(2) != 0;
    list_keys_select(current_search_number(), static_cast<uint64_t>(search_state.results_scroll) + 5);
    draw_again_and_again(state);
    settings.list_keys = false;
}
BENCHMARK(redraw_hits)
    ->ArgNames({"hits", "from", "list_keys"})
    ->ArgsProduct({{100, 1000000}, {0, 50, 100}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
