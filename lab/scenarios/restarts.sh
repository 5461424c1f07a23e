# Twenty restarts in a row leave nothing over.
# settings: examples/router lab/settings/no-tunnels
# long

# standing: all that a restart could leave behind, without what differs from one time to the next.
standing() {
  echo "--- processes"
  for process in /proc/[0-9]*; do
    [ -s "$process/cmdline" ] && tr '\0' ' ' < "$process/cmdline" && echo
  done 2> /dev/null | grep -v -E 'sh /lab/run|^/bin/sh /lab/main' | sort
  echo "--- interfaces"
  ip -4 -brief address | awk '{ print $1, $3, $4 }' | sed 's/@[^ ]*//; s/192\.0\.2\.1[0-9]*/LEASE/'
  cat /proc/net/vlan/config
  brctl show | awk 'NF > 1 { print $1, $NF } NF == 1 { print $1 }'
  echo "--- routes"
  ip route | sed 's/192\.0\.2\.1[0-5][0-9]/LEASE/'
  echo "--- rules"
  iptables-save | grep '^[-:*]' | sed 's/\[.*\]//; s/192\.0\.2\.1[0-5][0-9]/LEASE/'
  echo "--- locks and sockets"
  find /var/lock /tmp/hotplug_lock 2> /dev/null
  echo "--- files"
  find /tmp /var/run /etc -type f ! -name 'lab.output' ! -name 'standing.*' ! -name '*.log' ! -name '*.leases' | sort
}

restart() {
  /sbin/router restart > /tmp/router.output 2>&1
}

start_isp_dhcp
start_far_web
router start
soon "the WAN comes up" is_linked wan
soon "with its default route" has_route "default via 192.0.2.1"
restart
soon "and once more" has_route "default via 192.0.2.1"
soon "with its record" is_linked wan
soon "and its lights" lights off on
sleep 2
standing > /tmp/standing.first

step "twenty restarts"
count=0
before=$(clock)
while [ $count -lt 20 ]; do
  restart
  count=$((count + 1))
  echo "LAB $(clock) -- restart $count"
done
note "one restart takes $(echo "$before $(clock)" | awk '{ printf "%.1f", ($2 - $1) / 20 }') s"
soon "the WAN is up" has_route "default via 192.0.2.1"
soon "with its record" is_linked wan
soon "and its lights" lights off on
sleep 2
standing > /tmp/standing.last
check "nothing is left over" diff /tmp/standing.first /tmp/standing.last
check "one record, not twenty-one" equal 1 "$(grep -c '"name"' /var/run/state_link)"
is_host host 192.168.1.20
check "the host reaches the far side" gets host 198.51.100.20 "far away"

step "stop"
check "the client runs" runs "busybox udhcpc"
/sbin/router stop > /tmp/router.output 2>&1
sleep 2
check "no bridge" test ! -e /sys/class/net/br0
check "no VLANs" test ! -e /sys/class/net/vlan1 -a ! -e /sys/class/net/vlan2
check "eth2 is down" not is_up eth2
check "no client" not runs "busybox udhcpc"
check "no DNS relay" test ! -e /var/run/dnsmasq.pid
check "no locks" equal "" "$(ls /var/lock)"
check "nothing is routed but lo" equal "127.0.0.0/8 dev lo scope link" "$(ip route | sed 's/ *$//')"
