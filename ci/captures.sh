#!/bin/sh
# captures.sh PROGRAM
# Reads with tshark what 'capture' writes to a pcapng file: interfaces, times, and the comment of each frame.
set -eu
program=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

cat >"$dir/captures.scenario" <<SCENARIO
switch hsdk ports 4
bring-up
router 02:00:a1:00:00:01
interface Ethernet1-4 unit 0 port 1
route 10.2.0.1/32 via cpu
advance 2500ms
capture cpu $dir/cpu.pcapng
capture drops $dir/drops.pcapng
packet in Ethernet2 dmac router ipv4 src 10.1.0.5 dst 10.2.0.1
packet in Ethernet3 smac 01:00:00:00:00:01 ipv4
packet in Ethernet4 smac 01:00:00:00:00:01 ipv4
SCENARIO
"$program" run "$dir/captures.scenario" --quiet

# Prints the interface, the time and the comment of each frame.
fields() {
   tshark -r "$1" -T fields -e frame.interface_name -e frame.time_epoch -e frame.comment 2>"$dir/errors" || {
      cat "$dir/errors"
      exit 1
   }
}
fields "$dir/cpu.pcapng" >"$dir/cpu.txt"
fields "$dir/drops.pcapng" >"$dir/drops.txt"
tab=$(printf '\t')
wants() {
   grep -q "$2" "$1" || {
      echo "no '$2' in what tshark reads:"
      cat "$1"
      exit 1
   }
}
wants "$dir/cpu.txt" "^CPU of unit 0${tab}2\.500000000${tab}in Ethernet2: CPU queue "
wants "$dir/cpu.txt" '"NextHop to Cpu" wins: '
wants "$dir/cpu.txt" "installed by 'bring-up'"
wants "$dir/drops.txt" "^Ethernet3${tab}2\.500000000${tab}in Ethernet3: dropped: "
wants "$dir/drops.txt" "^Ethernet4${tab}2\.500000000${tab}in Ethernet4: dropped: "
