#include "os/toolkit/console.h"

#include <stdio.h>
#include <string.h>

// ---- Lines ----

Str os_read_line(char *line, int32_t size) {
    if (!fgets(line, size, stdin)) {
        return {};
    }
    uint64_t count = strlen(line);
    if (count > 0 && line[count - 1] == '\n') {
        line[--count] = 0;
    }
    return {count, line};
}
