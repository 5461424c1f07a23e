// What a WAN link is called by the interface it runs over. The names are those that the web
// interface and the scripts look for in the link-state store.
#pragma once

struct link_kind {
    const char *iface;
    const char *name;
    const char *proto;
    int dhcp_metric; // of the default route that a DHCP lease brings
};

// The kind of the links over iface, never null. Any interface but the wired WAN and the WiMAX modem
// (or none: null or "") has name and proto "unknown".
const link_kind *get_link_kind(const char *iface);
