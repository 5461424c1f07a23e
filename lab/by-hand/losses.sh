# Thirty losses of a link, of DHCP and PPPoE in turn, with "mctl heal" once a minute: how long it takes until
# the host is out again, and that nothing is left over.
# settings: examples/router
# minutes: 70

limit=90        # seconds until the host must be out again, once that is possible
heal_lock=/tmp/no-heal
returns=/tmp/returns
interfaces=/etc/default/network-interfaces

# --- what is waited for ---

seconds_since() {
  echo "$1 $(clock)" | awk '{ printf "%.1f", $2 - $1 }'
}

host_is_out() {
  at host ping -c 1 -W 1 198.51.100.20
}

# until_true SECONDS COMMAND...: fails when that has not come true in time.
until_true() {
  local most="$1" begin
  begin=$(clock)
  shift
  while ! "$@" > /dev/null 2>&1; do
    [ "$(seconds_since "$begin" | cut -d. -f1)" -lt "$most" ] || return 1
    sleep 0.3
  done
}

# --- the minute's work ---

# In place of cron: on the minute of the machine's clock. Not while the owner himself is at work.
heal_each_minute() {
  while sleep $((60 - $(clock | cut -d. -f1) % 60)); do
    [ -e $heal_lock ] || mctl heal 2>&1 | sed "s/^/LAB |   $(clock) heal: /"
  done
}

# --- the two kinds of WAN ---

# become KIND: the owner gives the WAN another type.
become() {
  touch $heal_lock
  mcfg stop_wan > /tmp/router.output 2>&1
  until_true 20 not isp_has_sessions
  sed "s/^vlan2 wan 1 [a-z]*/vlan2 wan 1 $1/" $interfaces > /tmp/interfaces
  cp /tmp/interfaces $interfaces
  mcfg set_config
  mcfg start_wan >> /tmp/router.output 2>&1
  rm $heal_lock
}

# What must be there of a link, and nothing else. Servers for names are left out: of a link that "mctl heal" has
# recorded, they are not known any more.
stand() {
  echo "--- store"
  sed 's/^ *//; s/"dns[12]": .*//' /var/run/state_link | tr -d '\n'
  echo
  echo "--- routes"
  ip route | sed 's/ *$//' | sort
  echo "--- jumps"
  iptables -t nat -S PREROUTING
  echo "--- locks"
  ls /var/lock
}

address_of() {
  case $1 in
  dhcp) wan_address ;;
  pppoe) ip -4 address show dev ppp1 | awk '$1 == "inet" { print $2 }' ;;
  esac
}

# stand_of KIND: without the address, which may differ from time to time.
stand_of() {
  stand | sed "s,$(address_of "$1" | sed 's/\./\\./g')\>,ADDRESS,g"
}

# --- losses: when one ends, the provider is there again, and nobody but the router has to do anything ---

isp_pppd() {
  for pid in $(ip netns pids isp); do
    grep -q '^pppd' "/proc/$pid/cmdline" 2> /dev/null && echo "$pid"
  done
}

isp_has_sessions() {
  [ -n "$(isp_pppd)" ]
}

cable() {
  ip -n switch link set "$1" "$2"
}

# The provider's DHCP server is away until the lease has run out, and $1 seconds more.
server_away() {
  stop_daemon isp-dhcp
  until_true 60 not is_linked wan
  sleep "$1"
  start_isp_short_leases
}

# The cable behind the switch is out likewise: the router does not see that.
cable_out() {
  cable to-isp down
  until_true 60 not is_linked wan
  sleep "$1"
  cable to-isp up
}

# The router's own end has no carrier for $1 seconds.
carrier_gone() {
  cable port down
  sleep "$1"
  cable port up
}

client_killed() {
  kill -9 "$(cat /var/run/udhcpc.vlan2.pid)"
}

# It gives its lease back.
client_ended() {
  kill "$(cat /var/run/udhcpc.vlan2.pid)"
  until_true 20 not is_linked wan
}

# Its address, too, is gone from the interface.
client_and_address_gone() {
  client_killed
  ip address flush dev vlan2
}

# Someone has taken the address away, which what runs does not know.
dhcp_address_gone() {
  ip address flush dev vlan2
}

pppoe_address_gone() {
  ip address flush dev ppp1
}

interface_down() {
  ip link set vlan2 down
}

# The provider's server forgets its leases and has other addresses.
renumbered() {
  stop_daemon isp-dhcp
  sleep 1
  : > /tmp/udhcpd.leases
  sed -i 's/^start .*/start 192.0.2.160/; s/^end .*/end 192.0.2.180/' /tmp/udhcpd.conf
  start_daemon isp-dhcp isp udhcpd -f /tmp/udhcpd.conf
  until_true 40 not has_old_address
}

has_old_address() {
  equal "$address" "$(address_of "$kind")"
}

# An event is killed with the store's lock in its hand, and then the link ends and comes back.
lock_left_dhcp() {
  echo 99999 > /var/lock/state_link.lock
  stop_daemon isp-dhcp
  until_true 60 has_no_address vlan2
  start_isp_short_leases
}

lock_left_renumbered() {
  echo 99999 > /var/lock/state_link.lock
  renumbered
}

lock_left_pppoe() {
  echo 99999 > /var/lock/state_link.lock
  hung_up
}

hung_up() {
  # shellcheck disable=SC2046 # a list of numbers
  kill $(isp_pppd)
}

# The concentrator ends its sessions and is away for $1 seconds.
concentrator_away() {
  stop_isp_pppoe
  hung_up
  until_true 30 not is_linked wan1
  sleep "$1"
  start_isp_pppoe
}

# The concentrator loses its power: no session is ended, and the router has to find out by itself.
power_lost() {
  cable to-isp down
  stop_isp_pppoe
  # shellcheck disable=SC2046 # lists of numbers
  kill -9 $(isp_pppd)
  sleep 2
  cable to-isp up
  until_true 150 not is_linked wan1
  sleep "$1"
  start_isp_pppoe
}

pppd_killed() {
  kill -9 "$(head -n 1 /var/run/ppp-pppoe-wan1.pid)"
}

pppd_ended() {
  kill "$(head -n 1 /var/run/ppp-pppoe-wan1.pid)"
  until_true 20 not is_linked wan1
}

# --- the rounds ---

# order_of KIND: as it stands after the first start, to compare with.
order_of() {
  step "in order, with $1"
  become "$1"
  soon "the host is out" host_is_out
  patience=90
  soon "the status is content" mctl status
  stand_of "$1" > "/tmp/order.$1"
  indented < "/tmp/order.$1"
}

# is_exact KIND: the store, routes and jumps are those of the first start, but for the address.
is_exact() {
  stand_of "$1" > /tmp/order.now
  diff "/tmp/order.$1" /tmp/order.now
}

round=0
# lose KIND LOSS [SECONDS]
lose() {
  local begin
  kind=$1
  round=$((round + 1))
  step "loss $round: $*"
  become "$kind"
  until_true 60 host_is_out
  until_true 130 mctl status
  address=$(address_of "$kind")
  "$2" "${3:-0}"
  begin=$(clock)
  until_true 240 host_is_out
  out=$(seconds_since "$begin")
  until_true 240 mctl status
  order=$(seconds_since "$begin")
  echo "$round $kind $2 ${3:-0} $out $order" >> $returns
  echo "LAB | round $round: $kind $2 ${3:-}: out after $out s, in order after $order s"
  check "loss $round, $kind $2: out within $limit s" test "${out%.*}" -lt $limit
  check "loss $round, $kind $2: store, routes and jumps are exact" is_exact "$kind"
}

# The distribution of a column of the returns, of one kind.
distribution() {
  awk -v kind="$1" -v column="$2" '$2 == kind || kind == "both" { print $column }' $returns | sort -n |
    awk '{ value[NR] = $1 } END { printf "%s/%s/%s s", value[1], value[int((NR + 1) / 2)], value[NR] }'
}

start_isp_short_leases
start_isp_pppoe
is_host host 192.168.1.20
router start
order_of dhcp
order_of pppoe
heal_each_minute &

lose dhcp server_away
lose pppoe hung_up
lose dhcp client_killed
lose pppoe pppd_killed
lose dhcp carrier_gone 5
lose pppoe concentrator_away
lose dhcp interface_down
lose pppoe interface_down
lose dhcp client_ended
lose pppoe pppd_ended
lose dhcp cable_out
lose pppoe carrier_gone 15
lose dhcp lock_left_dhcp
lose pppoe lock_left_pppoe
lose dhcp server_away 15
lose pppoe power_lost
lose dhcp client_and_address_gone
lose pppoe pppd_killed
lose dhcp carrier_gone 30
lose pppoe concentrator_away 30
lose dhcp renumbered
lose pppoe hung_up
lose dhcp lock_left_renumbered
lose pppoe pppoe_address_gone
lose dhcp dhcp_address_gone
lose pppoe carrier_gone 60
lose dhcp cable_out 30
lose pppoe power_lost 20
lose dhcp server_away 30
lose pppoe concentrator_away 60

step "thirty losses later"
for kind in dhcp pppoe both; do
  note "$kind: out after min/median/max $(distribution $kind 5), in order after $(distribution $kind 6)"
done
while read -r row; do
  note "$row"
done < $returns
check "thirty losses were made" equal 30 "$(wc -l < $returns)"
for kind in dhcp pppoe; do
  become $kind
  patience=90
  soon "the status is content with $kind" mctl status
  check "store, routes and jumps are exact with $kind" is_exact $kind
done
