// The desktop's settings, as the XSETTINGS manager publishes them. Interface thread only.
#pragma once

#include <stdint.h>

// Reads an integer setting. Returns false and leaves number unchanged if there is none of that name.
bool xsettings_number(const char *name, int32_t *number);
