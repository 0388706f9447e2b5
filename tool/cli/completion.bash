# Completion of the command strata-l3 for bash. The command itself knows what can stand where; where it knows
# nothing, bash offers files.
_strata_l3() {
   local words
   words=$("${COMP_WORDS[0]}" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null) || return
   mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]#=}")
   if [ ${#COMPREPLY[@]} -eq 1 ] && [[ ${COMPREPLY[0]} == *= ]]; then
      compopt -o nospace
   fi
}
complete -o default -F _strata_l3 strata-l3
