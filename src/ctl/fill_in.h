// Texts with places for what is told besides.
#pragma once

#include <stddef.h>

// Write text into out, of that room, with first in place of each "{1}" and second of each "{2}".
// What does not fit is cut.
void fill_in(char *out, size_t room, const char *text, const char *first, const char *second = "");
