#!/bin/sh
# compare-scenario.sh check|update TOOL NAME OUTPUT
# compare-scenario.sh update-all TOOL DIRECTORY
# Runs scenarios/NAME.scenario. `check` compares its transcript with the golden one, `update` makes it the golden one.
# `update-all` updates all scenarios with outputs in the directory; one that fails does not keep the others from it.
set -u
mode=$1 tool=$2
if [ "$mode" = update-all ]; then
   failed=0
   for scenario in scenarios/*.scenario; do
      name=$(basename "$scenario" .scenario)
      sh "$0" update "$tool" "$name" "$3/$name.txt" || failed=1
   done
   exit $failed
fi
name=$3 output=$4
scenario=scenarios/$name.scenario
golden=scenarios/golden/$name.txt

mkdir -p "$(dirname "$output")"
rm -f "$output"
"$tool" run "$scenario" --transcript "$output" >"$output.log" 2>&1
status=$?
if [ $status -ne 0 ]; then
   tail -n 50 "$output.log"
   echo "$scenario: ended with status $status; expected 0"
   exit 1
fi

if [ "$mode" = update ]; then
   mkdir -p "$(dirname "$golden")"
   cmp -s "$output" "$golden" && exit 0
   cp "$output" "$golden" && echo "rewritten: $golden"
   exit
fi

if [ ! -f "$golden" ]; then
   echo "$scenario: there is no $golden; make it with 'make update-golden' and read it"
   exit 1
fi
diff -u "$golden" "$output" && exit 0
echo "$scenario: the transcript differs from $golden (- golden, + now); 'make update-golden' accepts it"
exit 1
