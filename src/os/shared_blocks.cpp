#include "os/shared_blocks.h"

#include <string.h>

#include "os/memory.h"

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

ReplacedBlock replace_block(char *block, uint64_t used, uint64_t size, const RetiredBlocks *readers) {
    if (!readers || !retired_has_reader(readers)) {
        // The heap moves the block itself.
        char *moved = static_cast<char *>(os_realloc(block, size));
        return {moved, moved ? nullptr : block};
    }
    char *copy = static_cast<char *>(os_alloc(size));
    if (copy && used > 0) {
        memcpy(copy, block, used);
    }
    return {copy, block};
}

void retire_replaced(char *old_block, RetiredBlocks *readers) {
    if (readers) {
        retire_block(readers, old_block);
    } else {
        os_free(old_block);
    }
}
