#!/bin/sh
# config-vlan.sh 2 LAYOUT: tells the switch which of its ports belong together. "0" takes all of them
# off; LLLLW puts the first four on VLAN 1 and the last on VLAN 2. Here the switch lives in a network
# namespace, and its ports are bridged to the VLANs of the wire to the router.
set_vlans() {
  ip -n switch link set port.1 "$1"
  ip -n switch link set port.2 "$1"
}

case $2 in
0) set_vlans down ;;
LLLLW) set_vlans up ;;
*)
  echo "config-vlan.sh: unknown layout $2" >&2
  exit 1
  ;;
esac
