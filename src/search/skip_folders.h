// The folders that a search does not enter: those with a name in search_state.skip_folders.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// Whether name is one of those names, compared as os_is_same_name does. Worker and readers.
bool is_skipped_folder(Str name);
