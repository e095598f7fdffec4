// What only the window on X11 has.
#include <gtest/gtest.h>
