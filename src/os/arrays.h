// Growable arrays. They may be shared between threads as shared_blocks.h describes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/shared_blocks.h"

// A growable array; the element size is given on each call.
struct DynArray {
    volatile uint64_t count;    // elements
    volatile uint64_t capacity; // elements
    char *volatile data;        // capacity elements from the heap
};

// Allocates room for capacity elements. On failure the array has capacity 0 and can never grow.
void dynarray_init(DynArray *array, uint64_t elem_size, uint64_t capacity);

// The capacity after one growth step. Intentionally, a step above 1 MiB adds elements, not bytes, and 0 stays
// 0.
uint64_t dynarray_next_capacity(uint64_t elem_size, uint64_t capacity);

// Appends one element, copied from elem; when elem is null the slot's bytes are left as they are. Returns the
// slot, valid until the next push. When the storage cannot grow, the contents are dropped: count, capacity
// and data become zero, and the result is null. A push onto an array of capacity 0 intentionally never
// returns.
void *dynarray_push(DynArray *array, uint64_t elem_size, const void *elem);

// The same for an array that another thread reads: its old storage is retired to readers.
void *dynarray_push_shared(DynArray *array, uint64_t elem_size, const void *elem, RetiredBlocks *readers);

// Inserts one element before the one at index, copied from elem; when elem is null the slot's bytes are left
// as they are. An index at or past the end is a push. Growth, its failure, a capacity of 0 and the returned
// slot are those of dynarray_push. Not for an array that another thread reads: elements move under the
// reader.
void *dynarray_insert(DynArray *array, uint64_t elem_size, uint64_t index, const void *elem);

static_assert(sizeof(DynArray) == 24 && offsetof(DynArray, capacity) == 8 && offsetof(DynArray, data) == 16);
