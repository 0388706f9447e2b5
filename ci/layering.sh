#!/bin/sh
# Checks which room (top-level directory) includes which. Arrows run downwards only:
#    tool -> agent, cover, report; report -> desk; cover -> sim; agent -> recording, sim; desk -> recording, sim; recording -> routing -> messages -> platform;
#    sim, conformance -> platform
# Prints one line for each include that runs another way, and for each macro that an installed header should not
# define, and fails.
set -u
cd "$(dirname "$0")/.." || exit

rooms=
for room in platform messages routing recording sim conformance agent cover desk report tool tests fuzz bench examples; do
   [ -d $room ] && rooms="$rooms $room"
done

# An example in its own directory is a separate project.
# shellcheck disable=SC2086 # a list of words
find $rooms -path 'examples/*/*' -prune -o -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.def' \) -print | LC_ALL=C sort | xargs -r awk '
BEGIN {
   # may[place] is the list of prefixes that a place, a room or a part of platform/, may include.
   may["platform/runtime"] = "platform/runtime/"
   may["platform/types"] = "platform/runtime/ platform/types/"
   may["platform/sdk"] = "platform/runtime/ platform/types/ platform/sdk/"
   may["platform"] = "platform/"
   may["messages"] = "platform/ messages/"
   may["routing"] = "platform/ messages/ routing/"
   may["recording"] = "platform/ messages/ routing/ recording/"
   may["sim"] = "platform/ sim/"
   may["conformance"] = "platform/ conformance/"
   may["conformance/sim"] = "platform/ sim/ conformance/"
   may["agent"] = "platform/ messages/ routing/ recording/ sim/ agent/"
   may["desk"] = "platform/ messages/ routing/ recording/ sim/ desk/"
   may["report"] = "platform/ sim/ desk/ report/"
   may["cover"] = "platform/ sim/ cover/"
   may["tool"] = "platform/ messages/ routing/ recording/ sim/ agent/ cover/ desk/ report/ tool/"
   everything = "platform/ messages/ routing/ recording/ sim/ conformance/ agent/ cover/ desk/ report/ tool/ tests/ fuzz/ bench/ examples/"
   may["tests"] = may["fuzz"] = may["bench"] = may["examples"] = everything
}

function complain( text ) {
   printf "%s:%d: %s\n", FILENAME, FNR, text
   bad = 1
}

function hasPrefixOf( path, list,    prefixes, n, i ) {
   n = split( list, prefixes, " " )
   for( i = 1; i <= n; ++i )
      if( index( path, prefixes[i] ) == 1 )
         return 1
   return 0
}

FNR == 1 {
   split( FILENAME, part, "/" )
   place = part[1] "/" part[2]
   if( !( place in may ) )
      place = part[1]
   isHeader = FILENAME ~ /\.(h|def)$/
   isLibrary = FILENAME ~ /^(platform|messages|routing|recording)\//
   isInstalled = isLibrary && isHeader && FILENAME !~ /^routing\/tcam\// \
      && FILENAME != "platform/sdk/SdkNames.h" && ( FILENAME !~ /^recording\// || FILENAME ~ /Recorder.h$/ )
   isShipped = isInstalled || isHeader && FILENAME ~ /^(sim|conformance)\//
   mayNameTheSdk = FILENAME ~ /^routing\/.*\.cpp$/ || FILENAME ~ /^routing\/tcam\//
}

# An SDK may define a macro with any other name.
isShipped && /^[ \t]*#[ \t]*(define|undef)[ \t]/ {
   name = $0
   sub( /^[ \t]*#[ \t]*(define|undef)[ \t]+/, "", name )
   sub( /[^A-Za-z0-9_].*$/, "", name )
   if( name !~ /^(STRATA|VORMEL)_/ )
      complain( "macro " name " of an installed header: its name must begin with STRATA_ or VORMEL_" )
}

/^[ \t]*#[ \t]*include[ \t]*[<"]/ {
   quoted = $0 ~ /include[ \t]*"/
   path = $0
   sub( /^[^<"]*[<"]/, "", path )
   sub( /[>"].*$/, "", path )

   if( !quoted ) {
      if( hasPrefixOf( path, everything ) )
         complain( "write \"" path "\" with quotes: it is a file of this project" )
      else if( isLibrary && path ~ /\/|\.hpp$/ && path !~ /^sys\// )
         complain( "<" path ">: the library depends on the C++ standard library alone" )
      next
   }
   if( !hasPrefixOf( path, everything ) ) {
      complain( "\"" path "\": include paths start at the project root" )
      next
   }
   if( !hasPrefixOf( path, may[place] ) )
      complain( place "/ may not include \"" path "\"; it may include " may[place] )
   if( path == "platform/sdk/SdkNames.h" && !mayNameTheSdk )
      complain( "\"" path "\" is for the sources of routing/ and the headers of routing/tcam/ only" )
   if( isInstalled && path ~ /^routing\/tcam\// )
      complain( "\"" path "\" is not installed, so an installed header may not include it" )
}

END { exit bad }
' || {
   echo "ci/layering.sh: includes or macros that the rooms do not allow, see above"
   exit 1
}
