#!/bin/sh
# tutorial.sh <strata-l3>
# Checks that the tutorial's commands run in the shell and show what is below them on the page, and that the scenario
# at its end passes. On the page "..." stands for any lines.
set -eu
cd "$(dirname "$0")/.."
command=$1
page=docs/tutorial.md
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

sed -n 's/^    strata-l3> //p' "$page" | "$command" shell >"$scratch/output"
awk -v page="$page" '
   function complain( line, problem ) {
      print page ":" line ": " problem
      bad = 1
   }

   # Compares what is below the command number k with its output.
   function compare( k,    i, at, gap ) {
      at = 1
      gap = 0
      for( i = 1; i <= wanted; ++i ) {
         if( want[ i ] ~ /^ *\.\.\.$/ ) {
            gap = 1
            continue
         }
         while( gap && at <= lines[ k ] && output[ k, at ] != want[ i ] )
            ++at
         if( at > lines[ k ] || output[ k, at ] != want[ i ] ) {
            complain( first + i, "the command shows " \
               ( at > lines[ k ] ? "nothing like this" : "here: " output[ k, at ] ) )
            break
         }
         gap = 0
         ++at
      }
      if( wanted && i > wanted && !gap && at <= lines[ k ] )
         complain( first + wanted + 1, "the command also shows: " output[ k, at ] )
      wanted = 0
   }

   # The numbers of records change with every call more or less before them.
   { gsub( /record [0-9]+/, "record N" ) }

   FNR == NR && /^> / { commands[ ++shown ] = substr( $0, 3 ); next }
   FNR == NR { if( $0 != "" ) output[ shown, ++lines[ shown ] ] = $0; next }

   /^    strata-l3> / {
      compare( typed )
      if( commands[ ++typed ] != substr( $0, 16 ) )
         complain( FNR, "the shell ran: " commands[ typed ] )
      first = FNR
      below = 1
      next
   }
   below && /^    / { want[ ++wanted ] = substr( $0, 5 ); next }
   { compare( typed ); below = 0 }
   END { exit bad }
' "$scratch/output" "$page"

sed -n '/^    switch /,/^$/ s/^    //p' "$page" >"$scratch/my.scenario"
[ -s "$scratch/my.scenario" ]
"$command" run "$scratch/my.scenario" --quiet
