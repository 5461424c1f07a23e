// Fields of a line with words, as the router keeps them.
#pragma once

#include "ctl/check/lines.h"
#include "ctl/check/settings.h"

#include <stddef.h>

// The length of the text that the router keeps of a field.
size_t kept_length(const char *word, size_t capacity);

// A field that the router uses, as it keeps it: word without its line end, cut to capacity. When
// that is not what the line says, a finding tells so, and the result is false.
bool take_field(const settings &all, unsigned line, const char *name, char *word, size_t capacity);

// What is passed over behind the last of fields words.
void judge_extra(const settings &all, unsigned line, const line_words &words, size_t fields);
