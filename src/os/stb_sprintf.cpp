// The one place where stb_sprintf is compiled. Its settings are those of print.cpp.
#define STB_SPRINTF_IMPLEMENTATION
#define STB_SPRINTF_MIN 1024
#define STB_SPRINTF_NOUNALIGNED
#include <stb_sprintf.h>
