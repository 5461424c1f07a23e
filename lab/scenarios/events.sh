# Many link events at once, on this slow processor: links come up together and go down together. The store
# may lose an update when two of them meet at its lock, and then the log says so; it must never be
# torn, and the next event must find it usable.
# settings: examples/router

count=12

# lease_event EVENT N: what the DHCP client says of an interface lan N of its own.
lease_event() {
  interface=event$2 ip=10.50.$2.2 subnet=255.255.255.0 router=10.50.$2.1 dns=10.50.$2.1 \
    /tmp/udhcpc "$1" > /dev/null 2>&1
}

# ppp_event up|down N: what the PPP daemon says of a link; its interface is one of the same kind.
ppp_event() {
  IFNAME=event$2 LINKNAME=pppoe-link$2 IPLOCAL=10.60.$2.2 IPREMOTE=10.60.$2.1 DNS1=10.60.$2.1 \
    "/tmp/ppp/ip-$1" event"$2" none 0 10.60."$2".2 10.60."$2".1 "pppoe/link$2" > /dev/null 2>&1
}

# is_sound: the store is one whole document, as far as its braces and brackets tell.
is_sound() {
  awk '{ last = $0; open += gsub(/[{[]/, "") - gsub(/[]}]/, "") } END { exit !(open == 0 && last == "}") }' \
    /var/run/state_link || {
    cat /var/run/state_link
    return 1
  }
}

records() {
  grep -c '"name": "link' /var/run/state_link
}

refusals() {
  grep -c "mcfg-set_lock_on_file: Can't lock file" /var/log/messages
}

all_at_once() {
  local number=1
  while [ $number -le $count ]; do
    "$@" $number &
    number=$((number + 1))
  done
  wait
}

mcfg netbase_start > /dev/null 2>&1
mcfg start_wan > /dev/null 2>&1
kill "$(cat /var/run/udhcpc.vlan2.pid)"
sleep 2
number=1
while [ $number -le $count ]; do
  ip link add event$number type dummy
  ip link set event$number up
  number=$((number + 1))
done
rm -f /var/run/state_link

step "$count PPP links come up at once"
round=1
while [ $round -le 5 ]; do
  before=$(refusals)
  start=$(clock)
  all_at_once ppp_event up
  note "round $round: $(records) of $count recorded, $(($(refusals) - before)) said that the lock was taken, \
$(echo "$start $(clock)" | awk '{ printf "%.1f", $2 - $1 }') s"
  check "the store is whole" is_sound
  check "no lock is left" test ! -e /var/lock/state_link.lock
  round=$((round + 1))
done
check "every link has its jump into the forwards" equal $((5 * count)) "$(iptables-save -t nat | grep -c -- '-i event.* -j VSERVER')"

step "one after the other, the rest is recorded"
number=1
while [ $number -le $count ]; do
  ppp_event up $number
  number=$((number + 1))
done
check "all links are there" equal $count "$(records)"

step "leases arrive while PPP links go down"
number=1
while [ $number -le $count ]; do
  ppp_event down $number &
  lease_event bound $number &
  number=$((number + 1))
done
wait
check "the store is whole" is_sound
check "no lock is left" test ! -e /var/lock/state_link.lock
note "$(records) of $count still recorded"

step "one after the other, they are gone"
number=1
while [ $number -le $count ]; do
  ppp_event down $number
  number=$((number + 1))
done
check "no PPP link is left" equal 0 "$(records)"
check "the store is whole" is_sound
