# Completes the command line of brindlex in bash: source it, or put it as "brindlex" into
# /usr/share/bash-completion/completions. Commands and options are those that the program's own help
# shows, so that they are never other ones than it has.

# _brindlex_help SECTION [COMMAND...]: the first words of a section of a command's help.
_brindlex_help() {
  local section=$1
  shift
  "${_brindlex_program:-brindlex}" "$@" --help 2>/dev/null | tr -d '\r' |
    awk -v "section=$section:" '
      /^[^ ]/ { inside = ($0 == section) }
      inside && /^  [^ ]/ { gsub(",", " ", $1); print $1 }'
}

# _brindlex_names KIND FROM: the names of the collections or columns of the first file on the command line from
# word FROM on, as the shell has to write them.
_brindlex_names() {
  local at file name
  for ((at = $2; at < COMP_CWORD; ++at)); do
    # Quotation marks and backslashes are all that is removed: nothing of a command line is run.
    file=${COMP_WORDS[at]//[\\\"\']/}
    [[ $file != '~/'* ]] || file=$HOME/${file#'~/'}
    [[ -f $file ]] || continue
    while IFS= read -r name; do
      [[ $name != "${word//[\\\"\']/}"* ]] || printf '%q\n' "$name"
    done < <("$_brindlex_program" info "--$1-names" -- "$file" 2>/dev/null | tr -d '\r')
    return
  done
}

_brindlex() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local _brindlex_program=${COMP_WORDS[0]} commands=() at candidate
  COMPREPLY=()
  for ((at = 1; at < COMP_CWORD; ++at)); do
    candidate=${COMP_WORDS[at]}
    [[ $candidate != -- ]] || return 0 # files, by bash itself
    [[ $candidate == -* ]] && continue
    # A command, or a command of a command; else the files begin.
    [[ " $(_brindlex_help Subcommands "${commands[@]}" | tr '\n' ' ') " == *" $candidate "* ]] || break
    commands+=("$candidate")
  done

  case $previous in
    --encoding)
      mapfile -t COMPREPLY < <(compgen -W "windows-1252 utf-8 utf-16 utf-16be windows-1250 windows-1251 \
        windows-1253 windows-1254 windows-1255 windows-1256 windows-1257 windows-1258 windows-874" -- "$word")
      return 0
      ;;
    -o | --output | --like) return 0 ;;
    --columns | --key)
      mapfile -t COMPREPLY < <(_brindlex_names column "$at")
      return 0
      ;;
    --collection)
      mapfile -t COMPREPLY < <(_brindlex_names collection "$at")
      return 0
      ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_brindlex_help Options "${commands[@]}")" -- "$word")
  elif [[ $at -eq $COMP_CWORD ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_brindlex_help Subcommands "${commands[@]}")" -- "$word")
  elif [[ " ${commands[*]} " =~ \ (view|to-json|to-csv|to-html|extract|remove|rename|add)\  ]]; then
    mapfile -t COMPREPLY < <(_brindlex_names collection "$at")
  fi
}

# With nothing of its own to offer, bash offers files.
complete -o default -F _brindlex brindlex
