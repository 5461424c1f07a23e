// Schedules: the weekly times at which entries of the MAC and URL filters hold.
#pragma once

#include "firewall/rule_list.h"

// Room for a time match with every day of the week.
constexpr size_t TIME_MATCH_MAX = 128;

// Look up the enabled schedule name in /etc/default/sched_list; the first one of that name counts.
// Returns name, with its day mask (Sunday first, "1" for active) and its time span (HHMMHHMM)
// copied out as they stand in the list, or null when there is none. A list that cannot be opened or
// read is reported on standard error with its path.
// The line end is not cut off: a time span that ends its line is a character too long to be one.
const char *get_sched_by_name(const char *name, char (&days_out)[LIST_FIELD_MAX],
                              char (&time_out)[LIST_FIELD_MAX]);

// Write the iptables match for the days and the time span into out: out is empty when one of them
// has not its length (7 and 8), or when they cover the whole week. A mask without any day gives a
// match that iptables refuses.
// Returns 0, or -1 for wrong lengths.
int timematch_conv_morvi(char (&out)[TIME_MATCH_MAX], const char *days, const char *time);

// Write the match of the schedule that a filter entry names into out. An entry without schedule,
// with "always" or with one that is not found leaves out as it is. The schedules are read once for
// all the entries of a filter; a list that cannot be opened is reported for each of them.
void schedule_to_match(char (&out)[TIME_MATCH_MAX], const char *schedule);

// Have the next entry that names a schedule read the list anew.
void forget_schedules();

// Whether the list could not be read to its end. Entries then lack their times, which can let in
// what they are to keep out.
bool are_schedules_torn();
