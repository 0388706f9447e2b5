#!/bin/sh
# manual.sh <strata-l3>
# The manual page has every subcommand and option that the command has, and every tool that reads it is content;
# the completion for bash offers them.
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

text=$(sed 's/\\-/-/g' "$page")
for subcommand in '' $(asked ''); do
   for word in $subcommand $(asked $subcommand --); do
      case $text in
      *"$word"*) ;;
      *) complain "$page: '$word' of '$command $subcommand' is not explained" ;;
      esac
   done
done

if command -v man >/dev/null; then
   warnings=$(man --warnings -E UTF-8 -Tutf8 -Z -l "$page" 2>&1 >/dev/null)
   [ -z "$warnings" ] || complain "$warnings"
fi
if command -v mandoc >/dev/null; then
   mandoc -T lint -W warning "$page" || bad=1
fi

# What bash offers for the words of a line, the last of them being typed.
offered() {
   PATH=$(dirname "$command"):$PATH bash -c '
      source tool/cli/completion.bash
      COMP_WORDS=( "$@" )
      COMP_CWORD=$(( $# - 1 ))
      compopt() { :; }
      $(complete -p strata-l3 | sed "s/.*-F \([^ ]*\).*/\1/")
      echo "${COMPREPLY[*]}"' bash "$@"
}

# expected, words of the line
expect() {
   wanted=$1
   shift
   got=$(offered "$@")
   [ "$got" = "$wanted" ] || complain "completion of '$*': '$got'; expected '$wanted'"
}

expect 'attributes' strata-l3 at
expect '--transcript --trace' strata-l3 run some.scenario --tra
expect 'auto always never' strata-l3 shell --color ''
expect 'always' strata-l3 shell --color = al
expect 'ApiStrata=' strata-l3 run --quiet --trace Ap
expect 'miscConfig' strata-l3 attributes --json mi
expect '' strata-l3 run ''

exit $bad
