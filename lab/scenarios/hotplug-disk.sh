# A disk with a file system is plugged in, used and taken out again. Its events are told to the program as
# the router's kernel does it.
# settings: examples/router

# event ACTION MAJOR MINOR [DRIVER]: what the kernel's hotplug helper is given for a partition.
event() {
  ACTION=$1 MAJOR=$2 MINOR=$3 PHYSDEVDRIVER=${4:-sd} hotplug block
}

# The disk is a RAM disk: partition 1 of the first disk has the number 1 in its driver, too.
major=$(sed 's/:.*//' /sys/block/ram1/dev)
mke2fs -q /dev/ram1 > /dev/null 2>&1
fill_disk() {
  mkdir /tmp/fill
  mount /dev/ram1 /tmp/fill
  echo "holiday pictures" > /tmp/fill/pictures
  umount /tmp/fill
}
fill_disk

step "plugged in"
check "the event is handled" event add "$major" 1
check "its node is there" test -b /dev/sda1
check "it is mounted" grep '^/dev/sda1 /media/sda1 ' /proc/mounts
check "what is on it can be read" contains /media/sda1/pictures "holiday pictures"
check "and written" sh -c "echo more > /media/sda1/more"
check "no lock is left" test ! -e /tmp/hotplug_lock

step "taken out"
check "the event is handled" event remove "$major" 1
check "it is not mounted" not grep sda1 /proc/mounts
check "its node is gone" test ! -e /dev/sda1
check "so is its directory" test ! -e /media/sda1

step "plugged in again"
check "the event is handled" event add "$major" 1
check "what was written is there" contains /media/sda1/more "more"
event remove "$major" 1

step "a disk without a file system"
check "the event is handled" event add "$major" 2
check "nothing is mounted" not grep sda2 /proc/mounts
check "no node is left" test ! -e /dev/sda2
check "no directory is left" test ! -e /media/sda2

step "disks that are not for this"
check "a fifth disk is handled" event add "$major" 65
check "but not taken in" test ! -e /dev/sde1
check "another driver is refused" not event add "$major" 1 usb-storage
check "nothing is mounted" not grep sda1 /proc/mounts

step "many events at once"
for count in 1 2 3 4 5 6; do
  mke2fs -q /dev/ram$count > /dev/null 2>&1
done
for count in 1 2 3 4 5 6; do
  event add "$major" $count &
done
wait
check "all six are mounted" equal 6 "$(grep -c /media/sda /proc/mounts)"
for count in 1 2 3 4 5 6; do
  event remove "$major" $count &
done
wait
check "all six are gone again" equal 0 "$(grep -c /media/sda /proc/mounts)"
check "without a trace" equal "" "$(ls /media)"
