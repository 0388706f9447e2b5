#!/bin/sh
# completion.sh PROGRAM
# Completes lines of the command in zsh, as if they were typed, and in fish. A shell that is not installed is passed over.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
PATH=$(cd "$(dirname "$1")" && pwd):$PATH
export PATH
cp tool/cli/completion.zsh "$dir/_strata-l3"
echo content >"$dir/some.scenario"
cd "$dir"
failed=0

# wants SHELL LINE FOUND EXPECTED
wants() {
   [ "$3" = "$4" ] && return
   echo "$1: '$2' is completed to '$3' instead of '$4'"
   failed=1
}

# Types the line and the tabulator key in a terminal, and returns the line as it is then.
zsh_completes() {
   cat >"$dir/zshrc" <<ZSHRC
fpath=($dir \$fpath)
autoload -Uz compinit && compinit -u -d $dir/dump
show() { print -r -- "\$BUFFER|" >$dir/shown.new && mv $dir/shown.new $dir/shown; }
zle -N show
bindkey '^X' show
: >$dir/ready
ZSHRC
   rm -f "$dir/shown" "$dir/ready"
   LINE=$1 DIR=$dir zsh -f -c '
      zmodload zsh/zpty
      zpty typed "cd $DIR; zsh -f -i"
      zpty -w typed ". $DIR/zshrc"
      for i in {1..100}; do [[ -e $DIR/ready ]] && break; sleep 0.1; done
      zpty -w -n typed "$LINE"$'"'\\t\\x18'"'
      for i in {1..100}; do [[ -e $DIR/shown ]] && break; sleep 0.1; done
      zpty -d typed'
   cat "$dir/shown" 2>/dev/null
}

if command -v zsh >/dev/null; then
   for line in 'strata-l3 prof=strata-l3 profiles ' 'strata-l3 run --color a=strata-l3 run --color a' \
      'strata-l3 run --color ne=strata-l3 run --color never ' 'strata-l3 run so=strata-l3 run some.scenario ' \
      'strata-l3 run --trace ApiS=strata-l3 run --trace ApiStrata='; do
      wants zsh "${line%%=*}" "$(zsh_completes "${line%%=*}")" "${line#*=}|"
   done
   wants zsh 'strata-l3 run --color=ne' "$(zsh_completes 'strata-l3 run --color=ne')" 'strata-l3 run --color=never |'
fi

# Prints the completions, one a line.
fish_offers() {
   LINE=$1 fish --no-config --command "source $root/tool/cli/completion.fish; complete --do-complete \$LINE" |
      cut -f 1 | tr '\n' ' '
}
if command -v fish >/dev/null; then
   wants fish 'strata-l3 prof' "$(fish_offers 'strata-l3 prof')" 'profiles '
   wants fish 'strata-l3 run --color a' "$(fish_offers 'strata-l3 run --color a')" 'always auto '
   wants fish 'strata-l3 run --color=ne' "$(fish_offers 'strata-l3 run --color=ne')" '--color=never '
   wants fish 'strata-l3 s' "$(fish_offers 'strata-l3 s')" 'shell '
   wants fish 'strata-l3 run so' "$(fish_offers 'strata-l3 run so')" 'some.scenario '
   wants fish 'strata-l3 run --trace ApiS' "$(fish_offers 'strata-l3 run --trace ApiS')" 'ApiStrata= '
fi
exit $failed
