# A WAN with a fixed address.
# settings: examples/router lab/settings/static-wan

start_far_web
router start

step "up"
check "vlan2 has its address" has_address vlan2 192.0.2.77/24
check "its own MAC address" grep -x 02:00:00:00:02:77 /sys/class/net/vlan2/address
check "and its MTU" grep -x 1400 /sys/class/net/vlan2/mtu
check "a route to the gateway itself" has_route "192.0.2.1 dev vlan2 scope link"
check "the default route, with its metric" has_route "default via 192.0.2.1 dev vlan2 metric 5"
check "the link is recorded" linked_with wan ipaddr 192.0.2.77
check "as static" linked_with wan type static
check "without name servers" linked_with wan dns1 null
check "the lights are green" lights off on

step "traffic"
is_host host 192.168.1.20
serves host 80 "page of the host"
check "out through NAT" seen_as "192.0.2.77" host
check "in through the port forward" gets far 192.0.2.77:8080 "page of the host"

step "down"
check "stop_wan succeeds" mcfg stop_wan
check "vlan2 has no address" has_no_address vlan2
check "and is down" not is_up vlan2
check "the link is not recorded" not is_linked wan
check "there is no default route" not has_route default
check "the forward has no address to listen on" not has_rule nat "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER"

step "up again"
check "start_wan succeeds" mcfg start_wan
check "the default route is back" has_route "default via 192.0.2.1 dev vlan2 metric 5"
check "out through NAT" seen_as "192.0.2.77" host
check "in through the port forward" gets far 192.0.2.77:8080 "page of the host"
