#!/bin/sh
# tutorial.sh <strata-l3>
# Checks that the tutorial's commands run in the shell, and that the scenario at its end passes.
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
