// The start path and query that a command line may give: the program's name, a path in double quotes, and a
// dash with the query behind it. Either may be missing.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct CommandLine {
    Str path;  // parts of the line itself
    Str query; // everything behind the dash, blanks included
    uint8_t has_path;
    uint8_t has_query;
};

// Takes a command line apart: its name first, as os_command_line returns it.
CommandLine command_line_parse(Str line);

// Makes what the command line gives the texts of the two fields, the path cleaned with its trailing slashes
// kept. An empty path or query empties its field. A field that has no memory for it stays as it is.
void command_line_apply(Str line);
