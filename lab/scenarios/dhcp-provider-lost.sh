# The provider goes away and comes back, seen with leases of 20 seconds.
# settings: examples/router

log_has() {
  grep -q "$1" /var/log/messages
}

start_isp_short_leases
start_far_web
router start
soon "the link comes up" is_linked wan
address=$(wan_address)
check "both name servers are in the resolver's list" equal "nameserver 192.0.2.1
nameserver 198.51.100.1" "$(cat /tmp/resolv.conf)"
is_host host 192.168.1.20
serves host 80 "page of the host"

step "renewal"
soon "the lease is renewed" log_has "dhcp client: renew done"
check "the address is the same" equal "$address" "$(wan_address)"
check "the default route is still there" has_route "default via 192.0.2.1 dev vlan2 metric 101"
check "the far side gets the host's page" gets far "$address:8080" "page of the host"

step "the provider goes away"
stop_daemon isp-dhcp
patience=60
soon "the lease runs out" not is_linked wan
soon "vlan2 has no address" has_no_address vlan2
soon "vlan2 is up, for the client to ask through" is_up vlan2
check "there is no default route" not has_route default
check "the lights say that there is no link" lights on off
check "when it ended is noted" test -s /tmp/udhcpc.vlan2.expires
check "the name servers are forgotten" test ! -s /tmp/resolv.conf
check "no forward for the old address is left" not has_rule nat "-A PREROUTING -d $address/32 -i vlan2 -j VSERVER"

step "and comes back"
# The client asks three times, three seconds each, and again after a rest of 30 seconds.
sleep 15
check "the client still runs" runs "busybox udhcpc"
start_isp_short_leases
patience=45
soon "the link comes up again by itself" is_linked wan
soon "with its default route" has_route "default via 192.0.2.1 dev vlan2 metric 101"
soon "the lights are green" lights off on
soon "the host pings the far side" pings host 198.51.100.20
check "the far side gets the host's page" gets far "$(wan_address):8080" "page of the host"

step "a stop while there is no lease"
stop_daemon isp-dhcp
patience=60
soon "the lease runs out" not is_linked wan
check "the client still runs" runs "busybox udhcpc"
check "stop_wan succeeds" mcfg stop_wan
soon "the client is gone" not runs "busybox udhcpc"
check "vlan2 has no address" has_no_address vlan2
check "there is no default route" not has_route default
check "the locks are free" equal "" "$(ls /var/lock)"
