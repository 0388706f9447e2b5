#!/bin/sh
# manual.sh <strata-l3>
# Checks that the manual pages of the command and of strata-l3-conformance beside it explain every subcommand and option,
# that man and mandoc read the pages without a warning, and that the completion for bash offers the command's options.
set -eu
command=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
cd "$(dirname "$0")/.."
page=docs/strata-l3.1
bad=0

complain() {
   echo "$*" >&2
   bad=1
}

asked() {
   "$command" complete -- "$@"
}

# The text of a page with plain hyphens.
text_of() {
   sed 's/\\-/-/g' "$1"
}

text=$(text_of "$page")
for subcommand in '' $(asked ''); do
   for word in $subcommand $(asked $subcommand --); do
      case $text in
      *"$word"*) ;;
      *) complain "$page: '$word' of '$command $subcommand' is not explained" ;;
      esac
   done
done

kit_page=docs/strata-l3-conformance.1
text=$(text_of "$kit_page")
for option in $("$(dirname "$command")/strata-l3-conformance" --help | grep -oE -e '--[a-z]+'); do
   case $text in
   *"$option"*) ;;
   *) complain "$kit_page: '$option' is not explained" ;;
   esac
done

for each in "$page" "$kit_page"; do
   if command -v man >/dev/null; then
      warnings=$(man --warnings -E UTF-8 -Tutf8 -Z -l "$each" 2>&1 >/dev/null)
      [ -z "$warnings" ] || complain "$warnings"
   fi
   if command -v mandoc >/dev/null; then
      mandoc -T lint -W warning "$each" || bad=1
   fi
done

# What bash offers for the words of a line, of which the last one is being typed.
offered() {
   PATH=$(dirname "$command"):$PATH bash -c '
      source tool/cli/completion.bash
      COMP_WORDS=( "$@" )
      COMP_CWORD=$(( $# - 1 ))
      compopt() { :; }
      $(complete -p strata-l3 | sed "s/.*-F \([^ ]*\).*/\1/")
      echo "${COMPREPLY[*]}"' bash "$@"
}

# offers EXPECTED WORD...: the words of the line
expect() {
   wanted=$1
   shift
   got=$(offered "$@")
   [ "$got" = "$wanted" ] || complain "completion of '$*': '$got'; expected '$wanted'"
}

expect 'attributes' strata-l3 at
expect '--transcript --trace' strata-l3 run some.scenario --tra
expect 'fabric-vfi' strata-l3 run some.scenario --profile fa
expect 'auto always never' strata-l3 shell --color ''
expect 'always' strata-l3 shell --color = al
expect 'ApiStrata=' strata-l3 run --quiet --trace Ap
expect 'miscConfig' strata-l3 attributes --json mi
expect '' strata-l3 run ''

exit $bad
