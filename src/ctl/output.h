// What mctl writes to standard output is what it is started for.
#pragma once

// The exit status of a command that has written all: status, or 2 when standard output has not
// taken all of it, which standard error tells.
int status_of_output(int status);
