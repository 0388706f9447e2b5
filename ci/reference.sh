#!/bin/sh
# reference.sh <strata-l3> [--update]
# The reference pages are generated from the tables of the code: compares docs/reference with the command's output, or
# rewrites it.
set -eu
cd "$(dirname "$0")/.."
command=$1
update=${2:-}
pages=docs/reference
new=$(mktemp -d)
trap 'rm -rf "$new"' EXIT

page() { # file, title, introduction; the rest from standard input
   {
      printf '# %s\n\n' "$2"
      echo "$3" | fold --spaces --width 100 | sed 's/ $//'
      echo
      cat
   } >"$new/$1"
}

attributes() {
   for object in $("$command" complete -- attributes ""); do
      printf '## `%s`\n\n' "$object"
      "$command" attributes "$object" --markdown
      echo
   done
}

# Each trace of the slice: handle, level, and text. Values in the text are shown as expressions of the code.
traces() {
   echo '| File | Handle | Level | Text |'
   echo '|---|---|---:|---|'
   for file in routing/*.cpp routing/*/*.cpp; do
      sed ':a; N; $!ba; s/\n */ /g' "$file" |
         grep -oE '(VORMEL_TRACE(_AS)?|\.traceAllocated)\([^;]*;' |
         sed -nE \
            -e 's/^VORMEL_TRACE\( (routingTrace|apiTrace), ([0-9]), (.*) \);$/\1|\2|\3/' \
            -e 's/^VORMEL_TRACE_AS\( (routingTrace|apiTrace), ([0-9]), [^,]*, (.*) \);$/\1|\2|\3/' \
            -e 's/^\.traceAllocated\( __func__, (.*) \);$/routingTrace|2|\1 << id/' \
            -e '/^(routingTrace|apiTrace)\|/p' |
         sed -E -e 's/^routingTrace/StrataRoutingStatus/' -e 's/^apiTrace/ApiStrata/' |
         while IFS='|' read -r handle level text; do
            printf '| %s | %s | %s | `%s` |\n' "$file" "$handle" "$level" "$text"
         done
   done
}

# The entries of the main range, from its table.
entries() {
   echo '| Offset | Name | In the range of a fabric unit |'
   echo '|---:|---|---|'
   sed -nE \
      -e 's/^STRATA_ENTRY\( (.*), (.*) \).*/| \2 | \1 | no |/p' \
      -e 's/^STRATA_FABRIC_ENTRY\( (.*), (.*) \).*/| \2 | \1 | yes |/p' routing/EntryIds.def
}

attributes | page attributes.md 'Attributes' \
   'The attributes of the helper and the input objects, by number. An attribute with number 0 is fixed and publishes nothing.'
"$command" operations --markdown | page operations.md 'Operations' \
   'The operations of the helper that can be called by name.'
"$command" messages --markdown | page messages.md 'System log messages' \
   'In order of declaration, with the severities of syslog(3).'
"$command" commands --markdown | page commands.md 'Commands of scenarios' \
   'In the order of [scenarios.md](../scenarios.md), which explains them.'
entries | page entries.md 'Entries' \
   'The entries of the main range by offset. The lowest that matches a packet wins. `vlanFloodingDrop` takes two offsets for each traffic class. Offsets that are not here have no entry.'
traces | page traces.md 'Traces' \
   'The traces of the slice, with their levels. Parts outside quotes are values. SDK calls trace their own text at level 4 of `ApiStrata`.'

if [ "$update" = --update ]; then
   mkdir -p "$pages"
   cp "$new"/*.md "$pages"
elif ! diff -ru "$pages" "$new"; then
   echo "$pages differs from the code; run make update-reference" >&2
   exit 1
fi
