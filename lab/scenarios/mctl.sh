# mctl on a router that is up: weak states are made, told of, mended, and gone; and rebuilds of the firewall.
# settings: examples/router

# tells CODE: the status has that reason and no other.
tells() {
  mctl status > /tmp/status
  equal "$1" "$(sed -n -E 's/^[^ :]+: ([a-z-]+): .*/\1/p' /tmp/status)" || {
    cat /tmp/status
    return 1
  }
}

jumps() {
  iptables -t nat -S PREROUTING | grep -c -- '-j VSERVER'
}

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

step "a client that was killed"
kill -9 "$(client)"
check "it is told" tells client-down
mctl heal > /tmp/healed
soon "the status is content" mctl status
check "a client runs" runs "busybox udhcpc"
check "there is one jump" equal 1 "$(jumps)"
check "the far side gets the page" gets far "$(wan_address):8080" "page of the host"

step "rebuilds"
check "a rebuild succeeds" mctl firewall br0 vlan2 none
check "the far side gets the page" gets far "$(wan_address):8080" "page of the host"
runs=
for i in 1 2 3 4; do
  mctl firewall br0 vlan2 none > /tmp/rebuild.$i 2>&1 &
  runs="$runs $!"
done
# shellcheck disable=SC2086 # a list of numbers; the world's daemons are not to be waited for
wait $runs
check "four at once leave one jump" equal 1 "$(jumps)"
check "and a router in order" mctl status
cp /etc/default/vservers /tmp/vservers
echo "bad tcp 99 99 192.168.1.256 - - - -" >> /etc/default/vservers
check "a bad line is refused" not mctl firewall br0 vlan2 none
check "the far side still gets the page" gets far "$(wan_address):8080" "page of the host"

step "a report"
mctl report > /tmp/report
check "has the status" contains /tmp/report "==== mctl status"
check "has no password" not grep -E 'first-secret|third-secret' /tmp/report
