// mctl firewall: the rebuild for web interfaces, after which the port forwards work as before.
#pragma once

// words are those behind "firewall": LAN interface, WAN interface, log mode. One rebuild follows
// the other. Returns the exit status: 0 all three tables are as they were generated, 1 one of them
// is not, or that could not be found out, 2 wrong usage, no lock, or it could not be told. Tells on
// standard output what the settings have wrong, which table was refused and by which line, and on
// standard error what of the settings could not be looked at.
int firewall_main(int count, char **words);
