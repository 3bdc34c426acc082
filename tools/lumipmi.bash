# bash completion for lumipmi: the tool itself tells what can come next.

_lumipmi() {
  mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}

complete -o bashdefault -o default -F _lumipmi lumipmi
