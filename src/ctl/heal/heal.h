// mctl heal: mends what mctl status calls odd and can be mended without a risk, once.
#pragma once

// words are those behind "heal". Looks twice, two seconds apart, and mends what has a reason both
// times; then looks again for what has shown behind it, a few times. Each step is told on standard
// output and logged (tag mctl-heal); with --dry-run the steps of the first round are told only. A
// link that is up is never touched, and of two at once the second leaves everything to the first.
// Returns the exit status: 0 all is well, or another is at work; 1 something still has a reason;
// 2 it could not look at all that there may be, or its steps could not be told.
int heal_main(int count, char **words);
