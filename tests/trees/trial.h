// One tree of settings, while mctl check is held to what the router makes of it.
#pragma once

#include "support/router_box.h"
#include "support/scratch.h"
#include "trees/settings_meaning.h"
#include "trees/settings_trees.h"

#include <map>
#include <string>
#include <vector>

namespace trees
{

using settings_meaning::meant;
using settings_meaning::meant_list;
using settings_meaning::path_of;
using settings_trees::tree;

struct finding {
    std::string file;
    unsigned line;
    bool is_error;
    std::string code;
};

struct verdict {
    int status;
    std::vector<finding> findings;
    std::string text;
};

bool has_finding(const verdict &check, const std::string &file, unsigned line, bool is_error);
bool has_error_in(const verdict &check, const std::string &file);

// The program with some settings, in boxes, and mctl check with the same.
class router
{
  public:
    router();

    void put(const tree &settings);
    verdict check() const;

    void build_firewall();
    void build_document();
    // What iptables says of a rule file, "" when it takes it. Told from memory for one that it has
    // judged before.
    std::string refusal(const std::string &rules);

    // The LAN's start, which the device's own settings count for. Returns its trace.
    std::string start_lan();
    // The zone that update_time gives to the kernel's clock, which stands at that second: minutes
    // west.
    int set_zone(long now);
    // What mmac tells of the parameter, "" when it fails.
    std::string ask_mmac(const std::string &parameter);

    support::router_box box;
    support::router_box lan_box; // its bridge gets the addresses that the settings give it

  private:
    support::router_box mmac_box;
    support::scratch_directory here{"trees"};
    tree current;
    std::map<std::string, std::string> judged;
};

struct trial {
    router &machine;
    const tree &settings;
    verdict check;
    size_t *told; // values that differ as a warning says

    std::vector<std::string> faults = {};
    bool is_refused = false;

    void fail(const std::string &what) { faults.push_back(what); }

    // A value that is not the one its line says: a fault, unless a warning at the line says so.
    void differs(const meant &expected, const std::string &seen);
};

// Whether iptables refuses the rule file, and the check has not told why.
void compare_refusal(trial *t, const std::string &file);

// Whether what the settings say is what came of them: in the rules, in the document, in the option
// files of the daemons, and in zone, profile and addresses.
void compare_rules(trial *t);
void compare_document(trial *t);
void compare_options(trial *t);
void compare_device(trial *t);

} // namespace trees
