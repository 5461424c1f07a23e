// The judges of the files, one or more each, and what they have to learn of the files beforehand.
#pragma once

#include "ctl/check/settings.h"

// Each judges one file that was loaded, and tells all.r what it finds.
void judge_interfaces(const settings &all, source which);
void judge_peers(const settings &all, source which);
void judge_dns(const settings &all, source which);
void judge_wimax(const settings &all, source which);
void judge_switches(const settings &all, source which);
void judge_list(const settings &all, source which);
void judge_zone(const settings &all, source which);
void judge_nvram_device(const settings &all, source which);
void judge_nvram_wireless(const settings &all, source which);

// What any of them asks for. The peers are learnt after the interfaces that carry them.
void learn_interfaces(settings *all);
void learn_switches(settings *all);
void learn_schedules(settings *all);
void learn_peers(settings *all);
