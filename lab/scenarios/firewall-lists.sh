# The firewall's lists: a device banned by schedule, user rules, and what a rebuild drops until the
# next link event.
# settings: examples/router

rebuild() {
  firewall_update br0 vlan2 none > /dev/null 2>&1
}

# at_time HOUR:MINUTE: sets the clock to that local time; the zone is three hours east.
at_time() {
  date -u -s "2026-11-18 $(echo "$1" | awk -F: '{ printf "%02d:%s", ($1 + 21) % 24, $2 }'):00" > /dev/null
}

# renew_lease: what a person at the console may tell the DHCP client.
renew_lease() {
  kill -USR1 "$(cat /var/run/udhcpc.vlan2.pid)"
}

start_isp_dhcp
start_far_web
router start
soon "the WAN comes up" is_linked wan
address=$(wan_address)

step "a device with the schedule \"night\", 22:00 to 06:00"
is_host host 192.168.1.20
is_host guest 192.168.1.21
ip -n guest link set eth0 address 02:00:00:00:00:0b
at_time 12:00
check "the kernel knows the time zone" sh -c "date -u; update_time"
check "by day it gets through" pings guest 192.168.1.1
at_time 23:30
check "in the evening it does not" not pings guest 192.168.1.1
at_time 05:30
check "early in the morning neither" not pings guest 192.168.1.1
at_time 06:30
check "later in the morning it does" pings guest 192.168.1.1

step "a device that is banned at all times"
ip -n guest link set eth0 address 02:00:00:00:00:0a
check "it does not reach the router" not pings guest 192.168.1.1
check "nor anything beyond" not pings guest 198.51.100.20
ip -n guest link set eth0 address 02:00:00:00:00:0c
check "with another address it does" pings guest 192.168.1.1

step "the list changes"
echo "02:00:00:00:00:0c always" >> /etc/default/macfilter_list
check "nothing changes before a rebuild" pings guest 192.168.1.1
rebuild
check "after it, the device is banned" not pings guest 192.168.1.1
check "and the host is not" pings host 192.168.1.1

step "a rule that is not taken"
echo "ACCEPT typo - - - - - 80 -" >> /etc/default/rules
iptables-save -t filter | grep '^-A' > /tmp/filter.before
rebuild
iptables-save -t filter | grep '^-A' > /tmp/filter.after
check "leaves the table in force as it was" cmp /tmp/filter.before /tmp/filter.after
sed -i '$d' /etc/default/rules

step "a rebuild and the port forwards"
serves host 80 "page of the host"
check "a rebuild has dropped the jump into the forwards" not gets far "$address:8080" "page of the host"
renew_lease
sleep 3
check "the renewal of the lease does not bring it back" not gets far "$address:8080" "page of the host"
mcfg stop_wan
mcfg start_wan
soon "a new lease" is_linked wan
soon "brings it back" gets far "$(wan_address):8080" "page of the host"

step "user rules"
far_is 203.0.113.66
check "a source that is dropped reaches nothing" not gets far "$(wan_address):8080" "page of the host"
far_is 203.0.113.9
check "another one does" gets far "$(wan_address):8080" "page of the host"
