// Values in the option files of the daemons that dial. They come from a web form: whatever one
// holds, the daemon reads it as this one value and nothing of it as another option, of which some
// are commands that run as root.
//
// A line end is the one thing that stands for itself in none of these files, so a value ends before
// its first line feed, and before carriage returns there.
#pragma once

#include <stddef.h>
#include <stdio.h>

// How many characters of value come before its line end, or before its own end.
size_t value_length(const char *value);

// Write value as one word by pppd's rules for option files. Printable ASCII that pppd takes as it
// is stands as it is, so a word without blanks, quotes, "\" and "#" looks as a person would write
// it; any other value stands between double quotes, with "\" before each '"' and "\". An empty
// value writes nothing, but one that a line end leaves empty is the empty word "".
void write_pppd_value(FILE *file, const char *value);

// The same, between double quotes in any case.
void write_pppd_quoted(FILE *file, const char *value);

// Write iface as the word that names the device to the PPPoE plugin, which takes any word for it
// that is no option, no serial device, no speed and no pair of addresses. A name of the usual kind,
// such as "vlan2" or "eth2.7", stands as it is. Any other gets the prefix "nic-", which the plugin
// takes off again, so that "connect" or "ttyS0" can be nothing but a network interface. It ends at
// a ":", which would make a pair of addresses of it, and which no device's name holds. What is
// empty writes nothing.
void write_pppd_device(FILE *file, const char *iface);

// Write value as the rest of a line of xl2tpd.conf. xl2tpd knows no quotes, so besides at a line
// end the value ends at a ";", which starts a comment. xl2tpd takes blanks, control characters and
// bytes above 127 off both ends of it.
void write_xl2tpd_value(FILE *file, const char *value);
