// Lists a folder's direct entries to a callback.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"

// Called once for each entry. folder: as handed to walk_folder; name and time: valid only during the call;
// size: bytes, 0 for a folder. Returns 0 to stop this listing, anything else to go on.
typedef uint8_t EntryFn(void *context, Str folder, Str name, uint64_t size, const FileTime *time,
                        uint8_t is_folder);

struct EntryCallback {
    EntryFn *call;        // null: nothing is listed
    void *context;        // handed to each call
    FolderListingUse use; // what of an entry the callback looks at
};

// Calls the callback for every entry of the folder but "." and "..", in the system's order. A folder that
// cannot be listed has no entries.
void walk_folder(Str folder, EntryCallback callback);
