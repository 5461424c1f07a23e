# Boot to a working LAN, without a WAN.
# settings: examples/router

step "bring up the base network"
check "set_device_params succeeds" mcfg set_device_params
check "netbase_start succeeds" mcfg netbase_start

step "interfaces"
check "eth2 is up, with the base address" grep -i '00:0a:eb:11:22:30' /sys/class/net/eth2/address
check "vlan1 is VLAN 1 of eth2" grep -E '^vlan1 +\| 1 +\| eth2' /proc/net/vlan/config
check "vlan2 is VLAN 2 of eth2" grep -E '^vlan2 +\| 2 +\| eth2' /proc/net/vlan/config
check "vlan2 has the WAN's address" grep -i '00:0a:eb:11:22:31' /sys/class/net/vlan2/address
check "vlan2 waits for the WAN's start" not is_up vlan2
check "vlan1 is in the bridge" test -e /sys/class/net/br0/brif/vlan1
check "ra0 is in the bridge" test -e /sys/class/net/br0/brif/ra0
check "br0 has the LAN's address" has_address br0 192.168.1.1/24
check "and its broadcast address" sh -c "ip address show dev br0 | grep 'brd 192.168.1.255'"
check "lo is up" has_address lo 127.0.0.1/8
check "the host is named" equal morvi "$(hostname)"
check "the network state is written" equal "br0 lan 192.168.1.1 255.255.255.0  - -" "$(cat /var/run/net-state)"

step "a computer in a LAN socket"
check "gets a lease" lease host
check "within the LAN" sh -c "ip -n host address show dev eth0 | grep 'inet 192.168.1.1[0-5][0-9]/24'"
check "reaches the router" pings host 192.168.1.1
check "resolves a name of the router's hosts file" resolves host morvi 127.0.0.1

step "the firewall"
check "nat has the loopback rule" has_rule nat \
  "-A POSTROUTING -s 192.168.1.0/24 -d 192.168.1.0/24 -o br0 -j SNAT --to-source 192.168.1.1"
check "INPUT closes with a drop" has_rule filter "-A INPUT -j DROP"
check "the WAN interface's place holds the LAN address" has_rule nat "-A PREROUTING -i 192.168.1.1 -j MINIUPNPD"

step "the wireless side"
check "the profile is there" test -s /etc/Wireless/RT2860/RT2860.dat
check "the radio is on" contains /var/run/wireless/iwpriv "ra0 set RadioOn=1"
check "the WPS daemon was started" contains /var/run/wireless/daemons "wscd start"
