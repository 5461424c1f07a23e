// mctl report: all that a bug report needs, in one text, without secrets.
#pragma once

// words are those behind "report"; there are none. Returns 0, or 2 for wrong usage, or when the
// report could not be written: then nothing of it was, but for an output that takes no more. It is
// whole or not at all, as a secret that was not learned or not hidden for want of memory would be
// told: the text that others read is made in memory that is there from the start.
int report_main(int count, char **words);
