# mctl on a router whose WAN has a lease: weak states are made, told of, mended, and gone.
# settings: examples/router

client() {
  cat /var/run/udhcpc.vlan2.pid
}

start_isp_dhcp
start_far_web
router start
soon "the link is recorded" is_linked wan
is_host host 192.168.1.20
serves host 80 "page of the host"
address=$(wan_address)

step "a router in order"
soon "the status is content" mctl status
check "nothing is to be mended" equal "" "$(mctl heal)"
check "the far side gets the host's page" gets far "$address:8080" "page of the host"

step "a rebuild that cuts the forwards"
firewall_update br0 vlan2 none > /dev/null
check "it is told" tells jump-missing
check "the far side does not get the page" not gets far "$address:8080" "page of the host"
check "it is mended" mctl heal
check "the far side gets the page" gets far "$address:8080" "page of the host"

step "a jump that is there twice"
iptables -t nat -I PREROUTING -i vlan2 -d "$address" -j VSERVER
check "it is told" tells jump-twice
check "it is mended" mctl heal
check "there is one jump" equal 1 "$(jumps)"

step "a lock whose holder died"
echo 99999 > /var/lock/state_link.lock
check "it is told" tells lock-dead
check "it is mended" mctl heal
check "the lock is free" test ! -e /var/lock/state_link.lock

step "a record that was lost"
echo '{"state_links":[]}' > /var/run/state_link
check "it is told" tells not-recorded
check "it is mended" mctl heal
check "with its address" linked_with wan ipaddr "$address"

step "an address that was taken away"
ip address flush dev vlan2
check "it is told" tells no-address
check "it is mended" mctl heal
check "the client asked anew" has_route "default via 192.0.2.1 dev vlan2 metric 101"

step "an interface that is down under its client"
ip link set vlan2 down
check "it is told" tells interface-down
check "it is mended" mctl heal
check "the default route is back, too" has_route "default via 192.0.2.1 dev vlan2 metric 101"

step "no carrier"
ip -n switch link set port down
soon "it is told" tells no-carrier
check "nothing is done about it" equal "" "$(mctl heal)"
ip -n switch link set port up
soon "the status is content" mctl status

step "a client that was killed, at a provider that is silent"
stop_isp_dhcp
kill -9 "$(client)"
check "it is told" tells client-down
check "a client is all that can be had" not mctl heal
check "it runs" runs "busybox udhcpc"
check "that it has no lease is told" tells no-lease
check "nothing is done about it" equal "" "$(mctl heal)"
start_isp_dhcp
kill -USR1 "$(client)" # it asks now, and not half a minute later
soon "the status is content" mctl status
check "there is one jump" equal 1 "$(jumps)"
check "the far side gets the page" gets far "$(wan_address):8080" "page of the host"

step "a report"
mctl report > /tmp/report
check "has the status" contains /tmp/report "==== mctl status"
check "has no password" not grep -E 'first-secret|third-secret' /tmp/report
