# How much memory each kind of invocation takes at most.
# settings: examples/router

# fits NAME COMMAND...: runs it, tells its peak and holds it to 4 MB.
fits() {
  local name="$1" peak
  shift
  "$@" > /dev/null 2> /tmp/peak.output
  peak=$(sed -n 's/^peak: \([0-9]*\) kB.*/\1/p' /tmp/peak.output)
  note "$name: ${peak:-unknown} kB"
  check "$name takes less than 4 MB" test "${peak:-9999}" -lt 4096
}

ln -s /sbin/mcfg /tmp/udhcpc
mkdir -p /tmp/ppp
ln -s /sbin/mcfg /tmp/ppp/ip-up
ln -s /sbin/mcfg /tmp/ppp/ip-down

fits "mcfg start" peak mcfg start
fits "mcfg set_device_params" peak mcfg set_device_params
fits "mcfg get_wan_type" peak mcfg get_wan_type
fits "mcfg set_config" peak mcfg set_config
fits "mcfg netbase_start" peak mcfg netbase_start
fits "mcfg start_wan" peak mcfg start_wan
fits "update_time" peak update_time
fits "firewall_update" peak firewall_update br0 vlan2 none
fits "udhcpc bound" env interface=vlan2 ip=192.0.2.9 subnet=255.255.255.0 router=192.0.2.1 dns=192.0.2.1 \
  peak /tmp/udhcpc bound
fits "udhcpc renew" env interface=vlan2 peak /tmp/udhcpc renew
fits "udhcpc deconfig" env interface=vlan2 peak /tmp/udhcpc deconfig
fits "ip-up" env IFNAME=ppp1 LINKNAME=pppoe-wan1 IPLOCAL=10.9.0.10 IPREMOTE=10.9.0.1 peak /tmp/ppp/ip-up
fits "ip-down" env IFNAME=ppp1 peak /tmp/ppp/ip-down
fits "hotplug block" env ACTION=change MAJOR=8 MINOR=1 PHYSDEVDRIVER=sd peak hotplug block
fits "mcfg stop_wan" peak mcfg stop_wan
fits "mcfg netbase_stop" peak mcfg netbase_stop
fits "mmac get wan" peak mmac get wan
