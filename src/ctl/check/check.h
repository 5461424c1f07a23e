// mctl check: what the router will make of its settings, told before it does.
#pragma once

#include <stdio.h>

// The options and what is written are as mctl(8) says. words are those behind "check". Returns the
// exit status: 0 without errors, 1 with errors in the settings, 2 when it could not look.
int check_main(int count, char **words);

// Judge the settings below the directory root, and write what is found to out. Returns 0, or 1 when
// an error is among it. What there was no memory or descriptor for is noted (ctl/unseen.h): what is
// found is not all, then, and may be wrong. A file that cannot be read for another reason is an
// error of its own.
int check_settings(const char *root, FILE *out, bool is_json);

// The same of the firewall's switches and lists alone, as text. Other files that cannot be read are
// noted, whatever the reason.
int check_firewall_settings(const char *root, FILE *out);
