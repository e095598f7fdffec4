// The start path and query that a command line may give. It is the program's name, a path in double quotes,
// and a dash followed by the query; path and query may each be missing.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct CommandLine {
    Str path;  // both are parts of the line itself
    Str query; // everything after the dash, spaces included
    bool has_path;
    bool has_query;
};

// Parses a whole command line, as os_command_line returns it.
CommandLine command_line_parse(Str line);

// Sets the texts of the two fields to what the command line gives, the path cleaned with its trailing slashes
// kept. An empty path or query empties its field. When out of memory, a field keeps its text.
void command_line_apply(Str line);
