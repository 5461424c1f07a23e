// What settings plainly say, as a person reads them by the manual pages: the rules, the document
// and the dialling that ought to come of them. Written from the manual alone, and without the
// program's tables, to be compared with what the program makes of them.
#pragma once

#include "trees/settings_trees.h"

#include <string>
#include <vector>

namespace settings_meaning
{

// A text that ought to come of a line. One that says nothing sensible has "?".
struct meant {
    std::string file;
    unsigned line;
    std::string text;
};

using meant_list = std::vector<meant>;
using tree = settings_trees::tree;

// A file's name under /etc/default, with its path.
std::string path_of(const std::string &name);

// The rules of one list, in the order of the rule file, with single blanks.
meant_list rules_of(const tree &settings, const std::string &list);

// The switches that are on, by the words that rules_with() of the test looks for.
bool is_on(const tree &settings, const std::string &file, const std::string &key);
std::string mac_mode(const tree &settings); // "off", "allow" or "deny"

// MEMBER=VALUE of the interface's entry in the document, in one text for each member; the line is
// that of the interface.
meant_list interface_members(const tree &settings, const std::string &iface);

// The connections, each as one text of MEMBER=VALUE with line ends between them.
meant_list connections(const tree &settings);

// Members of "Dns" and "Wimax", likewise one text each.
meant_list dns_members(const tree &settings);
meant_list wimax_members(const tree &settings);

// The connections that are dialled: "NAME TYPE LOGIN PASSWORD ..." with line ends between them.
meant_list dialled(const tree &settings);

} // namespace settings_meaning
