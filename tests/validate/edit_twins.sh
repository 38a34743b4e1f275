#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/edit_twins.sh FOLDER
# Writes for each twin of twins.txt the edited file to FOLDER/NUMBER/FILE, and FOLDER/twins.cmake with a line for each.
set -euo pipefail
. "$(dirname "$0")/../../scripts/common.sh"
. scripts/edits.sh

read_list tests/validate/twins.txt fails
for i in "${!titles[@]}"; do
  file=$1/$i/${files[i]}
  mkdir -p "$(dirname "$file")"
  apply "$i" "$1/edited"
  cmp -s "$1/edited" "$file" || cp "$1/edited" "$file"
  find "$1/$i" -type f ! -path "$file" -delete
  printf 'add_twin(%s %s %s [==[%s]==])\n' "$i" "${files[i]}" "${remarks[i]%%: *}" "${remarks[i]#*: }"
done >"$1/twins.cmake"
