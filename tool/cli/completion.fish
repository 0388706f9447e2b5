# Completion of the command strata-l3 for fish. The command itself knows what can stand where; where it knows
# nothing, fish offers files.
function __strata_l3_words
    set -l before (commandline --tokenize --cut-at-cursor --current-process)
    set -l last (commandline --cut-at-cursor --current-token)
    set -l option
    if string match --quiet -- '--*=*' "$last"
        set -l parts (string split --max 1 = -- "$last")
        set option $parts[1]
        set last $parts[2]
    end
    for word in (command $before[1] complete -- $before[2..-1] $option "$last" 2>/dev/null)
        echo -- (string join = -- $option $word)
    end
end
complete --command strata-l3 --no-files --condition 'count (__strata_l3_words) >/dev/null' \
    --arguments '(__strata_l3_words)'
