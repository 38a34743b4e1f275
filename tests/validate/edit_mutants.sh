#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/edit_mutants.sh LIST FOLDER
# Writes for each mutant of the list the edited file to FOLDER/NUMBER/FILE, and a line to FOLDER/mutants.cmake.
set -euo pipefail
. "$(dirname "$0")/../../scripts/common.sh"
. scripts/edits.sh

folder=$2
read_list "$1" fails
for i in "${!titles[@]}"; do
  file=$folder/$i/${files[i]}
  mkdir -p "$(dirname "$file")"
  apply "$i" "$folder/edited"
  cmp -s "$folder/edited" "$file" || cp "$folder/edited" "$file"
  find "$folder/$i" -type f ! -path "$file" -delete
  printf 'add_mutant(%s %s %s [==[%s]==] %s)\n' "$i" "${files[i]}" "${remarks[i]%%: *}" "${remarks[i]#*: }" "${flags[i]}"
done >"$folder/mutants.cmake"
