// The running configuration document /var/run/Config: one JSON object, through which every other
// part of the program sees the LAN, the WAN links, their tunnels, DNS and WiMAX.
#pragma once

#include <jansson.h>

constexpr char CONFIG_PATH[] = "/var/run/Config";
constexpr char CONFIG_LOCK[] = "Config";

// Load the document while holding its lock. Results and log lines are load_file_with_lock()'s.
json_t *load_config_with_lock();

// The document as the settings files have it now, a new one that the caller owns. What is said of
// files, memory and UTF-8 below holds here, too. Logs the WAN interface under progress_tag, nothing
// when that is null.
json_t *make_config(unsigned from_files, const char *progress_tag);

// Build the document from the settings files and write it to /var/run/Config, whole, without its
// lock and without reading the one before: it is built while the LAN comes up, before any event
// handler that reads it can run. from_files: with 0 the three interface entries have their default
// values whatever /etc/default/network-interfaces says; DNS and WiMAX come from their files in both
// cases. Settings files that are missing are reported by their readers and never stop the build; a
// document that cannot be written is not reported. One that memory does not suffice for is not
// written: the one before stays, which is logged. A value that is not UTF-8 text has no place in
// the document: its member is left out.
// Logs "start", the WAN interface and "stop" (tag mcfg-set_config).
void set_config(unsigned from_files);
