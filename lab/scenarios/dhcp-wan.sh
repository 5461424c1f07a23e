# A WAN by DHCP: the lease and everything that comes with it, traffic both ways, and the stop.
# settings: examples/router

start_isp_dhcp --dhcp-option=option:classless-static-route,203.0.113.0/25,192.0.2.1 \
  --dhcp-option=249,198.51.100.128/25,192.0.2.1 --dhcp-option=option:static-route,198.51.100.77,192.0.2.1
start_far_web
router start

step "the lease"
soon "the provider's address arrives" has_route "default via 192.0.2.1 dev vlan2 metric 101"
soon "the link is recorded" is_linked wan
address=$(wan_address)
check "vlan2 has an address of the provider's" sh -c "echo $address | grep '192.0.2.1[0-5][0-9]'"
check "the provider leased it to the router's WAN address" contains /tmp/isp.leases "00:0a:eb:11:22:31 $address"
check "the record has the address" linked_with wan ipaddr "$address"
check "and the netmask" linked_with wan netmask 255.255.255.0
check "and the gateway" linked_with wan gateway 192.0.2.1
check "and the metric" linked_with wan metric 101
check "and the name server" linked_with wan dns1 192.0.2.1
check "and says that it is DHCP" linked_with wan type dhcp
check "the MTU of the settings is set" grep -x 1500 /sys/class/net/vlan2/mtu
check "the lights are green" lights off on
check "the client runs" runs "busybox udhcpc"

step "routes of the lease"
check "classless route" has_route "203.0.113.0/25 via 192.0.2.1 dev vlan2"
check "classless route of the older option" has_route "198.51.100.128/25 via 192.0.2.1 dev vlan2"
check "host route" has_route "198.51.100.77 via 192.0.2.1 dev vlan2"

step "out through NAT"
check "the host gets a lease" lease host
check "pings the far side" pings host 198.51.100.20
check "resolves a name through the provider's server" resolves host www.example.net 198.51.100.20
check "gets a page by name" gets host www.example.net "far away"
check "with the router's address as its own" seen_as "$address" host

step "in through a port forward"
is_host host 192.168.1.20
serves host 80 "page of the host"
check "the far side gets the host's page" gets far "$address:8080" "page of the host"
check "and nothing on a port that is not forwarded" not gets far "$address:8081" "page of the host"
check "the router does not answer pings from outside" not pings far "$address"
is_host guest 192.168.1.21
ip -n guest link set eth0 address 02:00:00:00:00:0c
check "it is for those who come in by the WAN, not for neighbours" not gets guest "$address:8080" "page of the host"

step "stop"
check "stop_wan succeeds" mcfg stop_wan
soon "the client is gone" not runs "busybox udhcpc"
soon "vlan2 has no address" has_no_address vlan2
check "vlan2 is down: the client's last event came while stop_wan waited for the PPP lines" not is_up vlan2
check "there is no default route" not has_route default
check "the link is not recorded" not is_linked wan
check "the port forward has no address to listen on" not has_rule nat "-A PREROUTING -d $address/32 -i vlan2 -j VSERVER"
soon "the name servers are forgotten" test ! -s /tmp/resolv.conf
check "the client's script is gone" test ! -e /tmp/udhcpc

step "start again"
check "start_wan succeeds" mcfg start_wan
soon "the route is back" has_route "default via 192.0.2.1 dev vlan2 metric 101"
soon "the link is recorded" is_linked wan
soon "the host pings the far side" pings host 198.51.100.20
soon "the far side gets the host's page" gets far "$(wan_address):8080" "page of the host"
