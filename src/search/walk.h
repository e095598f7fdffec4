// Calls a callback for each direct entry of a folder.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"

// Called once for each entry, which is valid only during the call. folder is the one given to walk_folder.
// Returns whether to continue the listing.
typedef bool EntryFn(void *context, Str folder, const FolderEntry &entry);

struct EntryCallback {
    EntryFn *call;        // null: nothing is listed
    void *context;        // passed to each call
    FolderListingUse use; // which parts of an entry the callback reads
};

// How a walk starts a listing. Tests replace it.
extern decltype(os_folder_first) *walk_folder_first;

// Calls the callback for every entry of the folder except "." and "..", in the system's order. A folder that
// cannot be listed has no entries. Returns false when nothing could be listed.
bool walk_folder(Str folder, EntryCallback callback);
