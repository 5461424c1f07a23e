#include "ctl/status/reasons.h"

// clang-format off
constexpr reason_row reason_rows[REASONS] = {

    // An interface, a link or a tunnel
    {reason::no_interface, "no-interface", link_state::down, false,
     "there is no interface {1}",
     "mcfg netbase_start makes it; look at the log for what that says",
     "mcfg netbase_stop was run, or the driver was not loaded"},
    {reason::no_port, "no-port", link_state::odd, false,
     "{1} is no port of the bridge",
     "brctl addif br0 {1}",
     "the wireless driver was loaded anew"},
    {reason::not_started, "not-started", link_state::down, true,
     "it is wanted, and nothing of it has been started",
     "mctl heal, or mcfg start_wan {1} 0",
     "mcfg stop_wan was run, and no mcfg start_wan after it"},
    {reason::client_down, "client-down", link_state::down, true,
     "no DHCP client runs, so there will be no lease",
     "mctl heal, or mcfg start_wan {1} 0; for the LAN mcfg netbase_start",
     "the client was killed, or ended for want of memory"},
    {reason::daemon_down, "daemon-down", link_state::down, true,
     "{1} does not run, so nobody dials",
     "mctl heal",
     "the daemon was killed, or gave up at a peer file that it does not understand"},
    {reason::interface_down, "interface-down", link_state::odd, true,
     "the interface is down, though it is in use",
     "mctl heal, or ifconfig {1} up",
     "a lost event, or someone's ifconfig"},
    {reason::no_carrier, "no-carrier", link_state::down, false,
     "{1} has no carrier",
     "plug the cable in, or switch on what is at its other end",
     "the cable is out"},
    {reason::no_lease, "no-lease", link_state::dialling, false,
     "the client runs and has no lease{1}",
     "wait a little, then ask the provider",
     "the provider's server does not answer"},
    {reason::not_connected, "not-connected", link_state::dialling, false,
     "the daemon runs and has no connection",
     "wait a little, then look at pppd's lines in the log",
     "the provider refuses the password"},
    {reason::no_address, "no-address", link_state::odd, true,
     "the interface has not the address {1} that it should have",
     "mctl heal takes the stray record away, and has the link begun anew",
     "the end of the link met the lock of the store, or someone's ifconfig"},
    {reason::not_recorded, "not-recorded", link_state::odd, true,
     "the link is up with {1}, and state_link has no record of it",
     "mctl heal makes the record",
     "its event met the lock of the store"},
    {reason::route_missing, "route-missing", link_state::odd, true,
     "no default route leads through it",
     "mctl heal, or mcfg stop_wan and start_wan",
     "someone's route command, or Config was locked when the link came up"},
    {reason::route_other, "route-other", link_state::odd, true,
     "its default route goes by {1}, which is not its gateway",
     "mctl heal, or mcfg stop_wan and start_wan",
     "the route of an earlier address has stayed"},
    {reason::jump_missing, "jump-missing", link_state::odd, true,
     "nothing leads from {1} into the port forwards",
     "mctl heal; rebuild with mctl firewall in place of firewall_update",
     "the firewall was rebuilt while the link was up"},
    {reason::jump_twice, "jump-twice", link_state::odd, true,
     "the way from {1} into the port forwards is there more than once",
     "mctl heal",
     "a lease was bound again while the link was up"},
    {reason::jump_old, "jump-old", link_state::odd, true,
     "a way into the port forwards is left from {1}",
     "mctl heal",
     "the link got a new address, and the end of the old one was lost"},

    // The router
    {reason::lock_held, "lock-held", link_state::odd, false,
     "the lock {1} for long",
     "look at that process: ps, and its lines in the log",
     "a handler waits for a script that does not end"},
    {reason::lock_dead, "lock-dead", link_state::odd, true,
     "the lock {1}, so no event can be recorded",
     "mctl heal",
     "a handler was killed while it had the lock"},
    {reason::store_broken, "store-broken", link_state::odd, true,
     "/var/run/state_link {1}, so what it should hold is lost",
     "mctl heal begins a new one",
     "someone has edited it, or the disk was full"},
    {reason::table_other, "table-other", link_state::odd, false,
     "the nat table is not the one that was generated: {1}",
     "mctl check, then mctl firewall LAN WAN LOGMODE",
     "iptables-restore has refused the table, or someone has changed it"},
    {reason::config_old, "config-old", link_state::odd, false,
     "/var/run/Config is not what the settings have now",
     "mcfg stop_wan, mcfg set_config, mcfg start_wan; mcfg netbase_start for the LAN",
     "the settings were changed and not put to work"},
};
// clang-format on

constexpr bool is_in_order()
{
    for (size_t i = 0; i < REASONS; i++) {
        if (reason_rows[i].id != static_cast<reason>(i))
            return false;
    }
    return true;
}
static_assert(is_in_order());

struct reason_texts {
    reason_text of[REASONS];
};

static constexpr reason_texts take_texts()
{
    reason_texts texts = {};
    for (size_t i = 0; i < REASONS; i++)
        texts.of[i] = {reason_rows[i].name, reason_rows[i].state, reason_rows[i].is_healed,
                       reason_rows[i].text, reason_rows[i].cure};
    return texts;
}

static constexpr reason_texts texts = take_texts();

const reason_text &text_of(reason id)
{
    return texts.of[static_cast<size_t>(id)];
}

const char *state_name(link_state state)
{
    switch (state) {
    case link_state::up:
        return "up";
    case link_state::dialling:
        return "dialling";
    case link_state::down:
        return "down";
    case link_state::off:
        return "off";
    case link_state::odd:
        break;
    }
    return "odd";
}
