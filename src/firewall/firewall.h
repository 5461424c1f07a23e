// The firewall: all three tables, rebuilt whole from the settings. Only the LAN bring-up and
// firewall_update do this. No lock is taken, so callers must not overlap: two runs would write the
// same rule files.
#pragma once

// Rebuild the nat, filter and mangle tables, in this order. lan_if must have an address. log_mode
// tells which verdicts are logged: "accept", "drop", "both", or anything else for none, compared
// with case. A text that is null counts as empty.
//
// The LAN bring-up gives the LAN address as wan_if and the LAN netmask as log_mode: no WAN is known
// then, and the tables hold nothing of it until the first firewall_update.
//
// Two progress lines go to standard output. A table whose file cannot be created or that
// iptables-restore refuses stays as it was and the others are still built.
// Returns 0, or -1 when the address of lan_if cannot be read; no table is touched then.
// Logs its arguments, the LAN address and the switches, or "not get ip/mask" (tag firewall_update).
int start_firewall_morvi(const char *lan_if, const char *wan_if, const char *log_mode);
