#include "os/memory.h"

HeapHook *os_heap_hook;

bool os_heap_allows(uint64_t size) {
    return size <= UINT32_MAX && (!os_heap_hook || os_heap_hook(size));
}

bool retired_has_reader(const RetiredBlocks *list) {
    return list->reader_pass && *list->reader_pass != 0;
}

void retire_block(RetiredBlocks *list, void *block) {
    release_retired(list);
    if (!retired_has_reader(list)) {
        os_free(block);
        return;
    }
    RetiredBlock *note = static_cast<RetiredBlock *>(os_alloc(sizeof(RetiredBlock)));
    if (note) {
        *note = {list->first, block, *list->reader_pass};
        list->first = note;
    }
}

void release_retired(RetiredBlocks *list) {
    RetiredBlock **link = &list->first;
    while (*link) {
        RetiredBlock *note = *link;
        if (*list->reader_pass - note->reader_pass >= 2) {
            *link = note->next;
            os_free(note->block);
            os_free(note);
        } else {
            link = &note->next;
        }
    }
}
