#!/bin/sh
# mknetifaces.sh: the firmware's settings may come from elsewhere than from /etc/default, and then this
# writes the files there. Here they are in place: the board's port is all that is looked for.
[ -e /sys/class/net/eth2 ] || {
  echo "mknetifaces.sh: no eth2" >&2
  exit 1
}
