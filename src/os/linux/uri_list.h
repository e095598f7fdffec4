// Lists of URIs, as programs hand files to each other ("text/uri-list"), for the layer's own files.
#pragma once

#include "os/strings.h"

// Finds the next file in rest, a list's text or what an earlier call left of it, and moves rest past it. The
// path is decoded in place and lies in the list's bytes. Lines end with CR LF or LF; comments and whatever is
// not a file of this machine are skipped. Returns false at the list's end; path then stays as it is.
bool uri_list_next(Str *rest, Str *path);
