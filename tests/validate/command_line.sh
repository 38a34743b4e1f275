#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: command_line.sh VALIDATE MODULE
# What the validator does with its options, and with its process when it is killed.
set -euo pipefail

validate=$1 module=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() {
  echo "$1"
  exit 1
}

# refuses TEXT ARGUMENT...: with exit code 2 and a line that has the text, and no report of an earlier run is left.
refuses() {
  local code=0 said
  echo "an earlier run" >"$folder/report.xml"
  said=$("$validate" "${@:2}" --junit "$folder/report.xml" 2>&1) || code=$?
  [[ $code == 2 && $said == *"$1"* ]] || fail "exit code $code, expected 2 and \"$1\": $said"
  [[ -z $(ls "$folder") ]] || fail "$1: left $(ls "$folder")"
}
refuses 'no check matches "nothing"' "$module" --only nothing --only loading
refuses 'no check matches "load"' "$module" --only load
refuses '"x" is no number' "$module" --seed x
refuses "unrecognized option" "$module" --bogus
refuses "no such file" "$folder/missing.so"
refuses "cannot be loaded" "$0"
refuses "no check is \"loading\"" "$module" --debug loading

group=$("$validate" "$module" --only enumeration --junit "$folder/report.xml")
[[ $(grep -c '^passed    enumeration\.' <<<"$group") == 4 ]] || fail "--only enumeration: $group"
grep -q 'tests="4"' "$folder/report.xml" || fail "the report: $(cat "$folder/report.xml")"
[[ $("$validate" "$module" --debug enumeration.count) == *"#passed" ]] || fail "--debug"

# Nobody but linkers and debuggers needs the section headers: with their place and number 0 in the file's header there
# are none.
cp "$module" "$folder/stripped.so"
head -c 8 /dev/zero | dd of="$folder/stripped.so" bs=1 seek=40 conv=notrunc status=none
head -c 6 /dev/zero | dd of="$folder/stripped.so" bs=1 seek=58 conv=notrunc status=none
"$validate" "$folder/stripped.so" --only loading >"$folder/report" || fail "without sections: $(cat "$folder/report")"

"$validate" "$module" --only evaluation.again --seconds 60 >/dev/null &
parent=$!
for ((i = 0; i < 100; ++i)); do
  child=$(grep -ls "^PPid:[[:space:]]*$parent$" /proc/[0-9]*/status | tail -n 1) && [[ -n $child ]] && break
  sleep 0.1
done
kill -KILL $parent
for ((i = 0; i < 50; ++i)); do
  [[ -e $child ]] || exit 0
  sleep 0.1
done
kill -KILL "$(cut -d / -f 3 <<<"$child")"
fail "a killed validator leaves its child"
