// Where a rule that iptables-restore refuses comes from.
#pragma once

// Write to standard output what iptables-restore has said of the rule file path, the rule that it
// has stumbled over, and the settings line that this was made of: the one that most of the rule's
// words stand in, among the lists that make rules of its chain. Nothing is found where a rule was
// not made of a list, or the messages tell of no line.
void show_refused_rule(const char *path, const char *messages);
