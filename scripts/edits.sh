# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced after common.sh: reads a list of edits, each a fault to put into a file.
#
#   FILE: NAME of the fault
#   - what is replaced: a line or a part of one, which occurs once in the file
#   -several lines as they stand in the file, right after the sign
#   + what replaces it; an empty line takes it out
#   WORD: a remark
#   flags: options to compile all other files with

titles=() files=() olds=() news=() remarks=() flags=()

# Adds a line to a text of the last edit. The first one may stand anywhere in a line of the file, the others begin
# as the file has them.
add_line() {
  local -n texts=$1
  ((last >= 0)) || fail "$list:$number: no \"FILE: NAME\" before it"
  if [[ -n ${texts[last]} ]]; then
    texts[last]+=$'\n'$2
  else
    texts[last]=${2#"${2%%[! ]*}"}
  fi
}

# read_list LIST WORD: of the remarks what comes after the word.
read_list() {
  local list=$1 word=$2 number=0 line last=-1
  while IFS= read -r line; do
    number=$((number + 1))
    case $line in
      '' | '#'*) ;;
      '-'*) add_line olds "${line#-}" ;;
      '+'*) add_line news "${line#+}" ;;
      "$word: "*) remarks[last]=${line#*: } ;;
      'flags: '*) flags[last]=${line#*: } ;;
      *': '*)
        titles+=("$line") files+=("${line%%: *}") olds+=('') news+=('') remarks+=('') flags+=('')
        last=$((${#titles[@]} - 1))
        ;;
      *) fail "$list:$number: neither \"FILE: NAME\" nor a line of an edit" ;;
    esac
  done <"$list"
}

# Writes the file of edit $1, read from this tree, with the edit done to $2.
apply() {
  local text old=${olds[$1]} rest
  [[ -f ${files[$1]} ]] || fail "${titles[$1]}: there is no such file"
  [[ -n $old ]] || fail "${titles[$1]}: it has no line to replace"
  text=$(<"${files[$1]}")
  rest=${text#*"$old"}
  [[ $rest != "$text" ]] || fail "${titles[$1]}: the text to replace is not there"
  [[ ${rest#*"$old"} == "$rest" ]] || fail "${titles[$1]}: the text to replace occurs more than once"
  printf '%s\n' "${text%%"$old"*}${news[$1]}$rest" >"$2"
}
