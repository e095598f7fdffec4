// Command templates compared with the plain rules, with and without memory to grow.
//
// An input: a byte of how much memory there is, a byte of how full the first storage is, the hit's three
// numbers of four bytes, the folder and the name, each up to a line feed, the template.

#include <algorithm>
#include <bit>
#include <string>

#include "actions/command_template.h"
#include "actions/plain_template.h"
#include "fuzz.h"
#include "os/process.h"
#include "support/heap_hook.h"

// Replaces the launching of programs: keeps the command and starts nothing.

namespace {

std::string started;
int start_count;

} // namespace

uint32_t os_run_process(Str cmd, bool show_console) {
    started = to_string(cmd);
    start_count++;
    fuzz_expect("the byte after the command", cmd.data[cmd.count], 0);
    fuzz_expect("show_console", show_console, 0);
    return exit_code_still_running;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const uint64_t most_memory = uint64_t{1025} << input.below(5);
    const uint8_t fill = input.byte();
    PlainHit hit = {};
    hit.row = static_cast<int32_t>(input.number());
    hit.column = static_cast<int32_t>(input.number());
    hit.byte = static_cast<int32_t>(input.number());
    hit.folder = input.text_before('\n');
    hit.name = input.text_before('\n');
    std::string text = input.rest();
    // Folders with placeholders can grow without end, so the storage is limited to 1 to 16 KiB. A value that
    // does not fit is left out; to reach that, a template may fill the first storage up to a few bytes.
    const size_t filled = 1024 - fill % 64;
    if (fill & 0x80 && text.size() < filled) {
        text.insert(0, filled - text.size(), '.');
    }

    started.clear();
    start_count = 0;
    os_free(row_text.data);
    row_text.data = nullptr;
    row_text.count = 0;
    row_text.capacity = 0;
    const ExactBytes folder(hit.folder), name(hit.name), real_text(text);
    fuzz_expect("the template is set", row_text_set(real_text.str), 1);
    uint64_t plain_capacity = row_text.capacity;
    fuzz_expect("the first storage", static_cast<int64_t>(plain_capacity),
                static_cast<int64_t>(std::max<size_t>(1024, std::bit_ceil(text.size()))));

    const std::string expected = plain_command(text, hit, longest_command, [&](size_t wanted) {
        uint64_t capacity = plain_capacity;
        while (capacity < wanted) {
            capacity *= 2;
        }
        const bool has_room = capacity == plain_capacity || capacity < most_memory;
        plain_capacity = has_room ? capacity : plain_capacity;
        return has_room;
    });

    HitRow row = {ROW_COPIED, {}, {folder.str, name.str}, 0};
    row.hit.line = static_cast<uint32_t>(hit.row);
    row.hit.column = static_cast<uint32_t>(hit.column);
    row.hit.byte_offset = static_cast<uint32_t>(hit.byte);
    {
        HeapHookScope limited([&](uint64_t wanted) { return wanted <= most_memory; });
        expand_command(row);
    }
    fuzz_expect("the number of commands started", start_count, expected.empty() ? 0 : 1);
    fuzz_expect("the command", started, expected);
    fuzz_expect("the text afterwards", to_string(strbuf_text(&row_text)), expected);
    fuzz_expect("its storage", static_cast<int64_t>(row_text.capacity), static_cast<int64_t>(plain_capacity));
    return 0;
}
