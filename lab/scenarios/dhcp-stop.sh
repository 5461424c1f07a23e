# The stop of a WAN by DHCP, whenever it comes. Without PPP lines nothing holds stop_wan up, and the
# client's last event comes when it is done.
# settings: examples/router lab/settings/no-tunnels

# is_stopped: nothing of the link is left, and nobody asks for it.
is_stopped() {
  not runs "busybox udhcpc" &&
    has_no_address vlan2 &&
    not has_route default &&
    not is_linked wan &&
    equal "" "$(iptables-save -t nat | grep 'VSERVER$' | grep PREROUTING)" &&
    equal "" "$(cat /tmp/resolv.conf)" &&
    equal "" "$(ls /var/lock)"
}

# stays_stopped: also when the client's last event is over.
stays_stopped() {
  soon "all of it is gone" is_stopped
  sleep 5
  check "and stays gone" is_stopped
}

start_isp_dhcp
start_far_web
router start
soon "the link comes up" has_route "default via 192.0.2.1 dev vlan2 metric 101"
is_host host 192.168.1.20

step "stop"
check "stop_wan succeeds" mcfg stop_wan
stays_stopped

step "stop directly after the start"
check "start_wan succeeds" mcfg start_wan
check "stop_wan succeeds" mcfg stop_wan
stays_stopped

step "stop directly after a start without a provider"
stop_isp_dhcp
check "start_wan succeeds" mcfg start_wan
check "stop_wan succeeds" mcfg stop_wan
stays_stopped

step "stop of the base network while the client runs"
start_isp_dhcp
mcfg start_wan
soon "the link comes up" has_route "default via 192.0.2.1 dev vlan2 metric 101"
check "netbase_stop succeeds" mcfg netbase_stop
check "vlan2 is gone" test ! -e /sys/class/net/vlan2
check "eth2 is down" not is_up eth2
check "stop_wan succeeds" mcfg stop_wan
soon "the client is gone" not runs "busybox udhcpc"
soon "the link is not recorded" not is_linked wan

step "all of it again"
router start
soon "the link comes up" has_route "default via 192.0.2.1 dev vlan2 metric 101"
soon "the host reaches the far side" gets host 198.51.100.20 "far away"
