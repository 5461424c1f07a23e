# Every switch of the firewall, on and off, as traffic shows it.
# settings: examples/router lab/settings/static-wan

# set_switch KEY VALUE: in the settings file that has the key, and rebuilds the firewall.
set_switch() {
  local file
  for file in ip_filter igmp upnp; do
    if grep -q "^$1=" /etc/default/$file; then
      sed -i "s/^$1=.*/$1=$2/" /etc/default/$file
    fi
  done
  rebuild
}

rebuild() {
  firewall_update br0 vlan2 none > /dev/null 2>&1
}

# flood COUNT: so many pings at once from the far side, each a connection of its own; prints how many
# were answered.
flood() {
  at far sh -c "for i in \$(seq $1); do ping -c 1 -W 3 192.0.2.77 & done; wait" | grep -c ' bytes from '
}

flood_is_limited() {
  local answers
  answers=$(flood 20)
  echo "$answers answers"
  [ "$answers" -lt 15 ]
}

flood_is_answered() {
  local answers
  answers=$(flood 20)
  echo "$answers answers"
  [ "$answers" = 20 ]
}

start_isp_dhcp
start_far_web
router start
is_host host 192.168.1.20
is_host guest 192.168.1.21
serves isp 81 "a page of the provider"
mkdir -p /tmp/router-web
echo "page of the router" > /tmp/router-web/index.html
httpd -p 80 -h /tmp/router-web

step "WAN_PING_ENABLE"
check "off: no answer" not pings far 192.0.2.77
set_switch WAN_PING_ENABLE 1
check "on: an answer" pings far 192.0.2.77

step "DDOS_ENABLE"
check "on: a flood gets few answers" flood_is_limited
set_switch DDOS_ENABLE NO
check "off: a flood is answered" flood_is_answered

step "FIREWALL_ENABLE"
far_is 203.0.113.9
check "on: the router's page is kept from strangers" not gets far 192.0.2.77 "page of the router"
far_is 198.51.100.20
check "on: and shown to those who are let in" gets far 192.0.2.77 "page of the router"
set_switch FIREWALL_ENABLE 0
far_is 203.0.113.9
check "off: it is shown to strangers" gets far 192.0.2.77 "page of the router"
far_is 203.0.113.66
check "off: but not to one whom a user rule drops" not gets far 192.0.2.77 "page of the router"
far_is 198.51.100.10
set_switch FIREWALL_ENABLE 1

step "NAT_ENABLE, VSERVERS_ENABLE"
check "on: the host reaches the far side" pings host 198.51.100.20
set_switch NAT_ENABLE 0
check "off: nobody knows the way back to it" not pings host 198.51.100.20
check "off: the forwards are still there" has_rule nat \
  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to-destination 192.168.1.20:80"
set_switch NAT_ENABLE 1
check "on: it reaches the far side again" pings host 198.51.100.20
set_switch VSERVERS_ENABLE no
check "the other switch does the same" not pings host 198.51.100.20
set_switch VSERVERS_ENABLE 1

step "URL_FILTER_ENABLE"
echo "nameserver 192.0.2.1" > /etc/netns/host/resolv.conf
check "a page that is not listed" gets host www.example.net "far away"
check "on: a listed one is blocked" not gets host ads.example.net "far away"
set_switch URL_FILTER_ENABLE 0
check "off: it is not" gets host ads.example.net "far away"

step "MAC_FILTER_ENABLE"
check "deny: the listed guest does not get through" not pings guest 192.168.1.1
check "deny: the host does" pings host 192.168.1.1
set_switch MAC_FILTER_ENABLE allow
check "allow: the listed guest gets through" pings guest 192.168.1.1
check "allow: the host does not" not pings host 192.168.1.1
set_switch MAC_FILTER_ENABLE 0
check "off: the guest gets through" pings guest 192.168.1.1
check "off: so does the host" pings host 192.168.1.1

step "TRIGGER_PORTS_ENABLE"
trigger='-A PREROUTING -i br0 -p tcp -m tcp --dport 6667 -m comment --comment "autofw tcp 113-113 to 113-113"'
check "on: the trigger is there" has_rule nat "$trigger"
set_switch TRIGGER_PORTS_ENABLE 0
check "off: it is not" not has_rule nat "$trigger"

step "IGMP_ENABLE"
# multicast_passed: packets that had their time to live raised on the way in.
multicast_passed() {
  iptables -t mangle -nvxL PREROUTING | awk '/TTL/ { n += $1 } END { exit n == 0 }'
}
send_multicast() {
  ip -n isp route replace 239.0.0.0/8 dev wan0
  at isp timeout 2 nslookup television 239.1.2.3 > /dev/null 2>&1
}
send_multicast
check "on: multicast gets a longer life" multicast_passed
check "on: the filter lets it in" has_rule filter "-A INPUT -d 224.0.0.0/4 -i vlan2 -j ACCEPT"
set_switch IGMP_ENABLE 0
send_multicast
check "off: it does not" not multicast_passed
check "off: nor is it let in" not has_rule filter "-A INPUT -d 224.0.0.0/4 -i vlan2 -j ACCEPT"

step "UPNP_ENABLE"
check "on: traffic passes the daemon's chain" has_rule nat "-A PREROUTING -i vlan2 -j MINIUPNPD"
set_switch UPNP_ENABLE 0
check "off: it does not" not has_rule nat "-A PREROUTING -i vlan2 -j MINIUPNPD"
