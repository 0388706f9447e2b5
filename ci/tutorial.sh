#!/bin/sh
# tutorial.sh <strata-l3>
# What the tutorial has typed works: its commands in the shell, and the scenario at its end.
set -eu
cd "$(dirname "$0")/.."
command=$1
page=docs/tutorial.md
scenario=$(mktemp)
trap 'rm -f "$scenario"' EXIT
sed -n 's/^    strata-l3> //p' "$page" | "$command" shell --quiet
sed -n '/^    switch /,/^$/ s/^    //p' "$page" >"$scenario"
[ -s "$scenario" ]
"$command" run "$scenario" --quiet
