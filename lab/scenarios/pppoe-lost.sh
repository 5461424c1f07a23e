# A PPPoE link is lost and dialled anew, and stopped and started.
# settings: examples/router examples/pppoe

# isp_pppd: the processes of the provider's end of the links.
isp_pppd() {
  for pid in $(ip netns pids isp); do
    grep -q '^pppd' "/proc/$pid/cmdline" && echo "$pid"
  done
}

link_markers() {
  test -e /tmp/ppp/link.wan1 -a -e /tmp/ppp/link.ppp1
}

start_isp_pppoe
start_far_web
is_host host 192.168.1.20
serves host 80 "page of the host"
router start

step "up"
soon "the link is recorded" is_linked wan1
check "as PPPoE" linked_with wan1 type pppoe
check "with its metric" linked_with wan1 metric 1
check "with the peer as gateway" linked_with wan1 gateway 10.9.0.1
check "with the provider's name server" linked_with wan1 dns1 192.0.2.1
check "its marker files are there" link_markers
check "the host pings the far side" pings host 198.51.100.20

step "the provider hangs up"
# shellcheck disable=SC2046 # a list of numbers
kill $(isp_pppd)
soon "the record is gone" not is_linked wan1
check "so is the default route" not has_route default
check "so are the marker files" not link_markers
check "so are the name servers" test ! -s /tmp/resolv.conf
check "so is the jump into the forwards" not sh -c "iptables-save | grep 'i ppp1 -j VSERVER'"
check "the lights say that it is being dialled" lights on off

step "it is dialled anew, 5 seconds later"
soon "the link is recorded" is_linked wan1
soon "the default route is back" has_route "default dev ppp1 scope link metric 1"
soon "the lights are green" lights off on
address=$(ip -4 address show dev ppp1 | awk '$1 == "inet" { print $2 }')
soon "the far side gets the host's page through the forward" gets far "$address:8080" "page of the host"

step "the daemon is killed"
check "mctl status is content before" mctl status
kill -9 "$(head -n 1 /var/run/ppp-pppoe-wan1.pid)"
soon "the interface is gone" test ! -e /sys/class/net/ppp1
check "it says that the daemon is down" tells daemon-down
ip -n switch link set to-isp down
mctl heal > /tmp/healed 2>&1
check "mctl heal has it dialled, and there is no answer" tells not-connected
check "that is left alone" equal "" "$(mctl heal)"
ip -n switch link set to-isp up
soon "there is one, and the status is content" mctl status
check "there is one jump" equal 1 "$(jumps)"

step "its address is taken away"
ip address flush dev ppp1
check "it is told" tells no-address
mctl heal > /tmp/healed 2>&1
soon "mctl heal has it dialled anew, and the status is content" mctl status
address=$(ip -4 address show dev ppp1 | awk '$1 == "inet" { print $2 }')
check "the far side gets the host's page through the forward" gets far "$address:8080" "page of the host"

step "stop"
check "the daemon runs" runs "pppd call wan1"
check "stop_wan succeeds" mcfg stop_wan
soon "the daemon is gone" not runs "pppd call wan1"
soon "so is the interface" test ! -e /sys/class/net/ppp1
soon "the record is gone" not is_linked wan1
check "no lock is left" test ! -e /var/lock/state_link.lock

step "start again"
check "start_wan succeeds" mcfg start_wan
soon "the link is recorded" is_linked wan1
soon "the host pings the far side" pings host 198.51.100.20
