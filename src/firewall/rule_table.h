// A firewall table as data: the lines of its rule file in order, with the switches that they depend
// on.
#pragma once

#include <stddef.h>
#include <stdio.h>

// What the placeholders of the lines stand for: "{lan}" for lan_if and so on, see rule_table.cpp.
struct rule_values {
    const char *lan_if = "";
    const char *lan_ip = "";
    const char *lan_network = ""; // with its prefix length, "192.168.1.0/24"
    const char *wan_if = "";
    const char *accept_target = "";
    const char *drop_target = "";
};

constexpr const int *ALWAYS = nullptr;

struct rule_row {
    const int *needed; // this switch must not be 0
    const char *lines; // with their line ends; null for a list
    // Writes the lines of one of the user's lists. What it cannot read it reports by itself. Its
    // result is of interest when it is LIST_TORN.
    int (*list)(FILE *file, const rule_values &values) = nullptr;
    const int *also_needed = ALWAYS;
};

// Write the table to a new file path. Returns 0, or -1 when it cannot be created, which is not
// reported, or is not whole: not all of it could be stored (reported on standard error with the
// path), or one of the lists could not be read to its end. Such a file must not be loaded.
int write_rule_file(const char *path, const rule_row *rows, size_t count,
                    const rule_values &values);

template <size_t N>
int write_rule_file(const char *path, const rule_row (&rows)[N], const rule_values &values)
{
    return write_rule_file(path, rows, N, values);
}

// Have iptables-restore replace the table by what the rule file path holds, by a line for the
// shell. (The filter table, the first that lists make long, does without one: filter_table.cpp.)
// Returns the wait status of the command. A file that it refuses leaves the table as it was.
int load_rule_file(const char *path);
