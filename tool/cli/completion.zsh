#compdef strata-l3
# Completion of the command strata-l3 for zsh. The command itself knows what can stand where; where it knows
# nothing, zsh offers files.
local -a before found
local result=1
before=("${(@Q)words[2,CURRENT-1]}")
if [[ $PREFIX == --*=* ]]; then
   before+=("${PREFIX%%=*}")
   compset -P 1 '*='
fi
found=("${(@f)$("${(Q)words[1]}" complete -- "${(@)before}" "$PREFIX" 2>/dev/null)}")
found=("${(@)found:#}")
if ((! $#found)); then
   _files
   return
fi
compadd -S '' -- "${(@M)found:#*=}" && result=0
compadd -- "${(@)found:#*=}" && result=0
return result
