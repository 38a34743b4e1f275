# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completes the commands and options that a tool's own --help names, and otherwise files.
_samplerinfo() {
  local word command='' help words=''
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word == [a-z]* ]]; then
      command=$word
      break
    fi
  done
  help=$("$1" ${command:+"$command"} --help 2>/dev/null || "$1" --help 2>/dev/null)
  if [[ $2 == -* ]]; then
    words=$(grep -E '^ +-' <<<"$help" | grep -oE -- '--[a-z]+' | awk '!seen[$0]++')
  elif [[ -z $command ]]; then
    words=$(sed -nE '/^Subcommands:/,/^$/s/^ +([a-z]+) .*/\1/p' <<<"$help")
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
}
complete -o default -F _samplerinfo samplerinfo-preview samplerinfo-validate
