#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: manual_page.sh FILE PROGRAM VERSION WHAT [COMMAND]
# Writes the manual page of a program, or of one of its commands, whose title is the first line of its help.
set -euo pipefail
program=$2 version=$3 what=$4 command=${5-}
name=${program##*/}
page=$name${command:+-$command}
[[ -z $command ]] || what=$("$program" "$command" --help | sed -n '1s/./\l&/p')
cd "${program%/*}" # help2man calls it in a shell: no blank in the name
help2man --no-info --name "$what" --version-string "$version" --help-option "$command --help" "./$name" |
  sed -e "s/^[.]TH [^ ]*/.TH $page/" -e "s/^$name /$page /" | gzip -9n >"$1"
