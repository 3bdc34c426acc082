# bash completion for lumipmi

_lumipmi() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words="" i
  case $previous in
    -o | --output) words="table json csv" ;;
    --color) words="auto always never" ;;
    --driver) words="dev dev:/dev/ipmi0 vm:127.0.0.1:9002" ;;
    --timeout | --lun | --last) return ;;
    --file) mapfile -t COMPREPLY < <(compgen -f -- "$current") && return ;;
  esac
  if [[ -z $words ]]; then
    local -a path=()
    for ((i = 1; i < COMP_CWORD; i++)); do
      case ${COMP_WORDS[i]} in
        -o | --output | --color | --driver | --timeout | --lun | --last | --file) ((i++)) ;;
        -*) ;;
        *) path+=("${COMP_WORDS[i]}") ;;
      esac
    done
    case "${path[*]}" in
      "") words="info sensors sdr sel fru raw status" ;;
      sdr) words="list show" ;;
      sel) words="list info get add delete clear time" ;;
      "sel time") words="set" ;;
      "sel time set") words="now" ;;
      "sel get" | "sel delete") words="first last" ;;
      fru) words="list print dump" ;;
      "fru dump "*) mapfile -t COMPREPLY < <(compgen -f -- "$current") && return ;;
    esac
    if [[ $current == -* ]]; then
      words="--driver --timeout --output --verbose --yes --color --help"
      case "${path[*]}" in
        "") words+=" --version" ;;
        sel | "sel list") words+=" --last" ;;
        "sel add") words+=" --file" ;;
        "fru print"*) words+=" --file --lenient --details" ;;
        "fru dump"*) words+=" --force" ;;
        raw*) words+=" --lun" ;;
      esac
    fi
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _lumipmi lumipmi
