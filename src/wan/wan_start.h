// The WAN connections of the running configuration /var/run/Config, brought up and down.
//
// index chooses among the entries of "Network"/"Wan": 0 means all of them, n only the n-th, counted
// from 1. A number that no entry has (past the end, or negative) works on an empty record: starting
// it does nothing, and stopping it looks for the link of an interface without a name.
// The document is read without its lock. An entry's failures never keep the next one from its turn.
#pragma once

// Make /tmp/ppp and the links through which udhcpc and pppd call this program, then bring up the
// chosen entries: MTU and MAC first, then by type the static address (at once up, wan_up), the
// DHCP client, or the bare carrier of PPPoE; then dial the entry's tunnels. Entries whose "auto" is
// false are passed over unless force is non-zero. A WiMAX modem that is not there ends the start:
// later entries are not looked at. Nothing is stopped first.
// Logs its steps (tags mcfg-start_wan_morvi, mcfg-start_wan, start_wan); without a usable document
// "Error on load file" or "Error on wan_array".
void start_wan_morvi(int index, int force);

// Take the chosen entries down: the DHCP client, the tunnels, the link itself (wan_down), whatever
// their type. The client's own last event, which leaves the interface up, may have ended the link
// before; the interface is taken down then as well. A stop of all also ends running PPP link
// handlers and takes the DHCP client's link to this program away; it leaves the last entry running,
// the WiMAX modem.
// Logs its steps (tag mcfg-stop_wan_morvi); "Error on load file" when there is no document.
void stop_wan_morvi(int index);
