// The folders that are listed while the path does not name one to search: the sub-folders of the path's
// folder, sorted by whether their names begin with what is typed after its last '/'. Worker only.
#pragma once

#include "os/files.h"
#include "os/strings.h"
#include "search/search_counts.h"

// Lists them, for a path that is not searched; it stays the field's. Returns why it is not searched.
SearchOutcome suggest_folders(Str path);

// An EntryFn: appends a folder's name to matching_folders or other_folders. context points to the
// typed prefix, a Str. Returns false when a new request is pending.
bool on_folder_suggestion(void *context, Str folder, const FolderEntry &entry);
