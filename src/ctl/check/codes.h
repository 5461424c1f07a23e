// What mctl check can find: one row for each code, which the manual docs/mctl-check.md repeats.
#pragma once

#include <stddef.h>

// In the order of the table. Names follow the files that they are about.
enum class code : unsigned char {
    // Files
    missing,
    not_a_file,
    unreadable,
    too_large,
    too_many,
    // Lines and fields of /etc/default
    long_line,
    nul_byte,
    carriage_return,
    indented,
    hash_entry,
    field_cut,
    line_end_kept,
    short_line,
    peer_short,
    extra_fields,
    odd_character,
    not_utf8,
    // Values
    address,
    network,
    host_bits,
    netmask,
    number,
    flag,
    protocol,
    port,
    port_without_protocol,
    mac,
    // network-interfaces
    interface_unknown,
    interface_twice,
    interface_missing,
    lan_always_on,
    interface_type,
    lan_dhcp,
    static_address,
    address_unused,
    gateway_missing,
    gateway_outside,
    networks_overlap,
    metric_unused,
    broadcast_unused,
    lan_link_unused,
    mtu,
    pppoe_without_peer,
    // ppp-peers
    peer_type,
    peer_name,
    name_cut,
    name_reserved,
    duplicate_name,
    peer_interface,
    peer_dash,
    peer_no_metric,
    dash_metric,
    server_name,
    server_route,
    never_dialled,
    second_l2tp,
    peers_unheard,
    // KEY=value files of /etc/default
    unknown_key,
    no_value,
    value_cut,
    key_twice,
    off_is_on,
    blank_name,
    dns_unknown,
    // Switches
    key_prefix,
    switch_value,
    nat_by_vservers,
    ping_open,
    mss_bypassed,
    switches_unread,
    mac_list_missing,
    mac_list_empty,
    // sched_list
    schedule_days,
    schedule_no_day,
    schedule_time,
    schedule_instant,
    schedule_past_midnight,
    schedule_all_week,
    schedule_always,
    // rules
    action,
    accept_anyone,
    drop_everyone,
    rule_bypassed,
    // MAC and URL filter
    schedule_missing,
    schedule_off,
    url_inherits,
    url,
    // httpd_access.conf
    http_case,
    access_service,
    interface_name,
    interface_odd,
    access_lan,
    netmask_beside_any,
    source_beside_any,
    target,
    // vservers
    forward_router,
    forward_outside,
    forward_one_port,
    forward_shadowed,
    // masq and trigger_ports
    masq_all,
    lan_not_masqueraded,
    trigger_protocol,
    // TZ
    zone,
    zone_minutes,
    zone_lines,
    // NVRAM
    section_full,
    nvram_line,
    key_again,
    nvram_key,
    nvram_character,
    no_base_mac,
    mac_wraps,
    wanmac_unused,
    nvram_number,
    nvram_unused,
    one_digit,
    bss_count,
    bss_unbridged,
    ssid,
    auth_mode,
    auth_key,
    encryption,
    auth_list,
    wds_mode,
    wds_list,
    own_address,
};

enum class severity : unsigned char {
    warning, // the router does what the line says, but hardly as meant
    error,   // it does not do what the line plainly says
};

struct code_row {
    code id;
    severity how_bad;
    const char *name;    // as it is printed
    const char *files;   // the settings it is about, without their directory; "any" for all
    const char *text;    // what the router will do; "{1}" and "{2}" stand for what a finding tells
    const char *cure;    // what to write instead, likewise
    const char *example; // a line that raises it, remarks in parentheses; escapes as in C
};

constexpr size_t CODES = 126;
extern const code_row code_rows[CODES];

// What the program shows of a row. The rest is for the manual, and takes no room in the program.
struct code_text {
    severity how_bad;
    const char *name;
    const char *text;
    const char *cure;
};

const code_text &text_of(code id);

const char *severity_name(severity how_bad);
