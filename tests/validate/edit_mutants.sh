#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/edit_mutants.sh FOLDER
# Writes for each mutant of mutants.txt the edited file to FOLDER/NUMBER/FILE, and a line to FOLDER/mutants.cmake.
set -euo pipefail
. "$(dirname "$0")/../../scripts/common.sh"
. scripts/edits.sh

read_list tests/validate/mutants.txt fails
for i in "${!titles[@]}"; do
  file=$1/$i/${files[i]}
  mkdir -p "$(dirname "$file")"
  apply "$i" "$1/edited"
  cmp -s "$1/edited" "$file" || cp "$1/edited" "$file"
  find "$1/$i" -type f ! -path "$file" -delete
  printf 'add_mutant(%s %s %s [==[%s]==])\n' "$i" "${files[i]}" "${remarks[i]%%: *}" "${remarks[i]#*: }"
done >"$1/mutants.cmake"
