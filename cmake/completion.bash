# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completes the commands and options that a tool's own --help names, and otherwise files.
_samplerinfo() {
  local tool=${1/#\~/$HOME} help commands word command='' words=''
  help=$("$tool" --help 2>/dev/null)
  commands=$(sed -nE '/^Subcommands:/,/^$/s/^ +([a-z]+) .*/\1/p' <<<"$help")
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if grep -qxF -- "$word" <<<"$commands"; then
      command=$word
      help=$("$tool" "$command" --help 2>/dev/null)
      break
    fi
  done
  if [[ $2 == -* ]]; then
    words=$(grep -E '^ +-' <<<"$help" | grep -oE -- '--[a-z][a-z-]*' | awk '!seen[$0]++')
  elif [[ -z $command && $3 != = && ! ($3 == -* && $help == *" $3 "[!\ -]*) ]]; then # not the value of an option
    words=$commands
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
}
complete -o default -F _samplerinfo samplerinfo-preview samplerinfo-validate
