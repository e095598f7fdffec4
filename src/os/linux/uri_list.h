// URI lists ("text/uri-list"), in which programs pass files to each other. For the layer's own files.
#pragma once

#include "os/strings.h"

// Finds the next file in rest, a list or what an earlier call left of it, and advances rest past it. The path
// is decoded in place, within the list's bytes. Lines end with CR LF or LF; comments and everything but files
// on this machine are skipped. Returns false at the end of the list and leaves path unchanged.
bool uri_list_next(Str *rest, Str *path);
