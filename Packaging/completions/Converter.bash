# bash completion for Converter

_Converter() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  case $previous in
    -p) return ;;
    -key | -pf | -cert | -o) ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '-v -list -flat -unflat -sign -key -cert -p -pf -verify -o' -- "$current")
        return
      fi
      ;;
  esac
  compopt -o filenames
  mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -F _Converter Converter
