// The names that the program can be started under.
#pragma once

// Carry out what the base name of argv[0] stands for and return the process status. A name that is
// not in the table does nothing and gives 0, without a message.
int run_program(int argc, char **argv);
