#!/bin/sh
# Instructions a round of each path, beside its goal: the difference of two callgrind runs.
# instructions.sh <strata-l3-instructions>
set -eu
program=$1
few=1000
many=3000
count() { # path rounds
   valgrind --tool=callgrind --callgrind-out-file=/dev/null "$program" "$1" "$2" 2>&1 |
      sed -n 's/.*Collected : //p'
}
over=0
number=0
printf '%-34s %12s %6s\n' 'path' 'instructions' 'goal'
"$program" | {
   while IFS='|' read -r name goal; do
      rounds=$((many - few))
      each=$((($(count $number $many) - $(count $number $few) + rounds / 2) / rounds))
      mark=''
      if [ -n "$goal" ] && [ "$each" -gt "$goal" ]; then
         mark=' over'
         over=$((over + 1))
      fi
      printf '%-34s %12s %6s%s\n' "$name" "$each" "$goal" "$mark"
      number=$((number + 1))
   done
   [ $over -eq 0 ] || echo "$over over their goal"
}
