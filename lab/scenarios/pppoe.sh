# PPPoE over the carrier: three tunnels are dialled, the fourth is not.
# settings: examples/router examples/pppoe lab/settings/four-tunnels

# tunnels_up: as many as the budget allows, whatever number the kernel gave each.
tunnels_up() {
  equal 3 "$(ip -4 address show | grep -c 'inet 10\.9\.0\.[0-9]* peer 10\.9\.0\.1/32.* ppp[0-9]')"
}

# recorded_or_explained NAME: two link events at the same moment may cost one of them its record, and
# then the log says why.
recorded_or_explained() {
  is_linked "$1" || grep "mcfg-set_lock_on_file: Can't lock file" /var/log/messages
}

start_isp_pppoe
start_far_web
router start

step "the links"
soon "three tunnels come up" tunnels_up
check "the carrier is up without an address" sh -c "ip link show vlan2 | grep '[<,]UP[,>]' && ! ip -4 address show vlan2 | grep inet"
check "the first three have peer files" test -e /etc/ppp/peers/wan1 -a -e /etc/ppp/peers/wan2 -a -e /etc/ppp/peers/wan3
check "which only root can read" equal "-rw-------" "$(ls -l /etc/ppp/peers/wan1 | cut -c1-10)"
check "the fourth was not dialled" test ! -e /etc/ppp/peers/wan4
check "one of them is the PPP unit that all ask for" sh -c "ip -4 address show dev ppp1 | grep 'peer 10.9.0.1/32'"
soon "wan1 is recorded" recorded_or_explained wan1
soon "so is wan2" recorded_or_explained wan2
soon "and wan3" recorded_or_explained wan3
check "the lights are green" lights off on

step "routes"
check "the first one has a default route with its metric" has_route "default dev ppp[0-9] scope link metric 1"
check "so has the second" has_route "default dev ppp[0-9] scope link metric 2"
check "and the third" has_route "default dev ppp[0-9] scope link metric 3"
check "there is none for the fourth" not has_route "default dev ppp[0-9] scope link metric 4"
check "pppd's own route to the peer is gone" not has_route "10.9.0.1 dev"

step "traffic"
check "the provider's name server is known" contains /tmp/resolv.conf "nameserver 192.0.2.1"
check "the link is in the list of PPP links" contains /var/run/ppp_info "ppp1 "
is_host host 192.168.1.20
serves host 80 "page of the host"
address=$(ip -4 address show dev ppp1 | awk '$1 == "inet" { print $2 }')
outgoing=$(ip -4 address show dev "$(ip route | sed -n 's/^default dev \(ppp[0-9]\).* metric 1 *$/\1/p')" |
  awk '$1 == "inet" { print $2 }')
soon "the host pings the far side" pings host 198.51.100.20
check "with the first tunnel's address as its own" seen_as "$outgoing" host
check "the far side gets the host's page through the forward" gets far "$address:8080" "page of the host"
