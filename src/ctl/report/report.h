// mctl report: all that a bug report needs, in one text, without secrets.
#pragma once

// words are those behind "report"; there are none. Returns 0, or 2 for wrong usage, or when the
// report could not be written.
int report_main(int count, char **words);
