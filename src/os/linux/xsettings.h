// The desktop's settings, as its settings manager publishes them. Interface thread only.
#pragma once

#include <stdint.h>

// Reads a setting that is a number. Returns whether there is one of that name.
bool xsettings_number(const char *name, int32_t *number);
