# Rebuilds of the firewall by mctl while packets come in: how long a forward is interrupted, many at once, and
# one that is refused.
# settings: examples/router

# begin_pacing, end_pacing TEXT: a datagram every 10 ms from the far side to a forward of the router, each of
# which has to find its way anew; what became of them is left in $sent, $answered and $gap (milliseconds).
begin_pacing() {
  ip netns exec far paces send "$address" 30000 > /tmp/paces &
  pacer=$!
  sleep 1
}

end_pacing() {
  sleep 1
  kill "$pacer"
  wait "$pacer"
  read -r _ sent _ answered _ gap _ < /tmp/paces
  note "$1: $(cat /tmp/paces)"
}

# The guard against floods would let ten of them pass each second.
sed -i 's/^DDOS_ENABLE=1/DDOS_ENABLE=0/' /etc/default/ip_filter
start_isp_dhcp
start_far_web
router start
soon "the link is recorded" is_linked wan
is_host host 192.168.1.20
serves host 80 "page of the host"
ip -n host address add 192.168.1.30/24 dev eth0
start_daemon answer host paces answer 192.168.1.30 30000
address=$(wan_address)

step "a rebuild while packets come in"
begin_pacing
sleep 1
end_pacing "undisturbed"
check "all are answered" equal "$sent" "$answered"
begin_pacing
before=$(clock)
check "a rebuild succeeds" mctl firewall br0 vlan2 none
note "it takes $(echo "$before $(clock)" | awk '{ printf "%.1f", $2 - $1 }') s"
end_pacing "during a rebuild"
check "the forward is interrupted for less than 3 seconds" test "$gap" -lt 3000
check "and once" test $(((sent - answered) * 10)) -le $((gap + 200))
begin_pacing
sleep 1
end_pacing "afterwards"
check "all are answered again" equal "$sent" "$answered"

# Without the lists, which cost time here and matter to one at a time.
step "ten at once"
for list in vservers rules url_filter httpd_access.conf trigger_ports; do
  : > /etc/default/$list
done
runs=
for i in 1 2 3 4 5 6 7 8 9 10; do
  mctl firewall br0 vlan2 none > /tmp/rebuild.$i 2>&1 &
  runs="$runs $!"
done
refused=0
for run in $runs; do
  wait "$run" || refused=$((refused + 1))
done
check "all of them succeed" equal 0 "$refused"
check "they leave one jump" equal 1 "$(jumps)"
check "and a router in order" mctl status

step "a line that is refused"
echo "web tcp 8080 80 192.168.1.20 - - - -" > /etc/default/vservers
check "a rebuild with one forward succeeds" mctl firewall br0 vlan2 none
echo "bad tcp 99 99 192.168.1.256 - - - -" >> /etc/default/vservers
check "the rebuild fails" not mctl firewall br0 vlan2 none
check "the far side still gets the page" gets far "$address:8080" "page of the host"
