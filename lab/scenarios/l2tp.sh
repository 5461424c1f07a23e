# L2TP over a WAN by DHCP, whose lease brings the route to the L2TP server: without it, the tunnel's
# packets would be led into the tunnel.
# settings: examples/router lab/settings/l2tp

gone_or_explained() {
  not is_linked "$1" || grep "mcfg-set_lock_on_file: Can't lock file" /var/log/messages
}

start_isp_dhcp --dhcp-option=option:classless-static-route,198.51.100.10/32,192.0.2.1
start_far_web
start_work
router start

step "up"
soon "the DHCP link is recorded" is_linked wan
patience=90 soon "the tunnel is recorded" is_linked work
check "as L2TP" linked_with work type l2tp
check "ppp1 has an address from work" sh -c "ip -4 address show dev ppp1 | grep 'inet 10.8.0.1[0-9] peer 10.8.0.1/32'"
check "the tunnel's default route comes first" has_route "default dev ppp1 scope link metric 3"
check "the DHCP link's is still there" has_route "default via 192.0.2.1 dev vlan2 metric 101"
check "the server itself is reached outside the tunnel" sh -c "ip route get 198.51.100.10 | grep 'dev vlan2'"
check "work's name server is known" contains /tmp/resolv.conf "nameserver 10.8.0.1"
check "the link is in the list of PPP links" contains /var/run/ppp_info "ppp1 work "
check "the peer file is only root's" equal "-rw-------" "$(ls -l /etc/ppp/peers/work | cut -c1-10)"

step "traffic"
check "the host gets a lease" lease host
check "the host pings work through the tunnel" pings host 10.8.0.1

step "its daemon is killed"
check "mctl status is content before" mctl status
kill -9 "$(cat /var/run/xl2tpd.pid)"
patience=60 soon "mctl status says that it is down" tells daemon-down
mctl heal > /tmp/healed 2>&1
patience=90 soon "mctl heal has it dialled, and the status is content" mctl status
soon "the host pings work through the tunnel" pings host 10.8.0.1
check "the pppd of the daemon before is gone" equal 1 "$(ps | grep -c 'pppd.*/etc/ppp/peers/[w]ork')"

step "stop"
check "the daemon runs" runs "xl2tpd"
check "stop_wan succeeds" mcfg stop_wan
soon "the daemon is gone" not runs "xl2tpd"
soon "the tunnel is gone" test ! -e /sys/class/net/ppp1
# The DHCP link goes down at the same moment. Whoever meets the other at the store's lock gives up.
soon "its record is gone, or the log says why not" gone_or_explained work
check "work's daemon still runs" runs "lns -D"
# The router's stop ends xl2tpd only; its pppd has "persist" and goes on looking for its terminal.
note "left over: $(ps | grep -c 'pppd.*/etc/ppp/peers/[w]ork') pppd"

step "start again"
check "start_wan succeeds" mcfg start_wan
patience=60 soon "the tunnel has an address again" sh -c "ip -4 address | grep 'inet 10.8.0.1[0-9] peer 10.8.0.1/32'"
soon "the host pings work through the tunnel" pings host 10.8.0.1
