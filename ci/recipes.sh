#!/bin/sh
# recipes.sh
# The page of recipes and the scenarios are the same: each recipe's scenario is on the page, line by line, and short;
# every other block of the page is a part of what the recipe before it shows.
set -eu
cd "$(dirname "$0")/.."
page=docs/recipes.md
longest=25
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
bad=0

complain() {
   echo "$*" >&2
   bad=1
}

# Writes each block of the page to a file: the scenarios by their names, the others by those names and a number.
awk -v into="$scratch" '
   /^`scenarios\/recipe-.*\.scenario`:$/ { name = substr( $0, 12, length( $0 ) - 22 ); blocks = 0 }
   /^```/ { inside = !inside; if( inside ) file = into "/" name "." blocks++; next }
   inside { print > file }
' "$page"

for scenario in scenarios/recipe-*.scenario; do
   name=$(basename "$scenario" .scenario)
   if [ ! -e "$scratch/$name.0" ]; then
      complain "$page: $scenario is missing"
      continue
   fi
   diff -u "$scenario" "$scratch/$name.0" || complain "$page differs from $scenario"
   count=$(grep -cv '^#' "$scenario")
   [ "$count" -le $longest ] || complain "$scenario has $count lines; a recipe has at most $longest"
   for part in "$scratch/$name".[1-9]*; do
      [ -e "$part" ] || continue
      awk '
         FNR == NR { part[ ++wanted ] = $0; next }
         { line[ ++count ] = $0 }
         END {
            for( at = 1; at + wanted - 1 <= count; ++at ) {
               for( i = 1; i <= wanted && line[ at + i - 1 ] == part[ i ]; ++i );
               if( i > wanted )
                  exit 0
            }
            exit 1
         }' "$part" "scenarios/golden/$name.txt" || {
         cat "$part"
         complain "$page: scenarios/golden/$name.txt does not have these lines"
      }
   done
done
exit $bad
