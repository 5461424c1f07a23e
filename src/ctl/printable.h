// Texts from settings, documents and tools, which anyone may have written, as they may be shown on
// a terminal, in a log and in JSON.
#pragma once

// Put "?" in place of every byte of text that is no printable ASCII.
void make_printable(char *text);
