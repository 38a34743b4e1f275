#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/mutate.sh [--check] [PATTERN]
# Shows what the tests are worth: applies each edit of tests/mutants.txt, a fault that somebody could make, to a copy
# of the tree, builds it and runs the tests up to the first failure. Fails if the tests let a fault pass.
# PATTERN, a regular expression, chooses by "FILE: NAME"; --check looks only whether the edits still apply.
set -euo pipefail
. "$(dirname "$0")/common.sh"
. scripts/edits.sh

list=tests/mutants.txt
work=build/mutate
pattern=.
check_only=
for argument in "$@"; do
  case $argument in
    --check) check_only=yes ;;
    -*) fail "no option $argument" ;;
    *) pattern=$argument ;;
  esac
done

# build COPY [TARGET...] and tests COPY [CTEST-OPTION...] write a log into the copy.
build() {
  nice cmake --build "$1/build/release" --parallel 1 ${2:+--target "${@:2}"} >"$1/log" 2>&1
}
tests() {
  TEST_TMPDIR=$PWD/$1/tmp nice ctest --test-dir "$1/build/release" --stop-on-failure --timeout 60 --output-on-failure \
    "${@:2}" >"$1/log" 2>&1
}

# Prints what notices the edit in a copy, or nothing. The validator comes first: it needs the fewest rebuilt files
# and sees most faults of the library.
killer() {
  if ! build "$1" samplerinfo samplerinfo-validate; then
    compiler "$1"
  elif ! tests "$1" -R '^validate\.'; then
    failed_test "$1"
  elif ! build "$1"; then
    compiler "$1"
  elif ! tests "$1" -E '^validate\.'; then
    failed_test "$1"
  fi
}
compiler() { echo "the build: $(grep -m 1 -E 'error|Error|FAILED' "$1/log" || tail -n 1 "$1/log")"; }
failed_test() { sed -n 's/^[[:space:]]*[0-9]* - //p' "$1/log" | tail -n 1; }

make_copy() {
  mkdir -p "$1/tmp"
  git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$1"
  cmake -S "$1" --preset release -DSAMPLERINFO_BENCH=OFF -DSAMPLERINFO_MUTANTS=OFF >"$1/log" 2>&1
  if ! { build "$1" && tests "$1"; }; then
    cat "$1/log"
    fail "without any edit it does not build or does not pass"
  fi
}

# Tries edits in a copy until none is left that no other copy has taken.
work_in() {
  local copy=$1 i killed
  for i in "${chosen[@]}"; do
    mkdir "$work/taken-$i" 2>/dev/null || continue
    apply "$i" "$copy/${files[i]}"
    killed=$(killer "$copy")
    cp "${files[i]}" "$copy/${files[i]}"
    echo "$killed" >"$work/taken-$i/killer"
    cp "$copy/log" "$work/taken-$i/log"
    echo "${titles[i]} -- ${killed:-SURVIVES}"
  done
}

read_list "$list" equivalent
chosen=()
for i in "${!titles[@]}"; do
  [[ ${titles[i]} =~ $pattern ]] || continue
  apply "$i" /dev/null
  [[ ${olds[i]} != "${news[i]}" ]] || fail "${titles[i]}: it changes nothing"
  chosen+=("$i")
done
((${#chosen[@]} > 0)) || fail "no edit matches $pattern"
if [[ -n $check_only ]]; then
  echo "${#chosen[@]} edits apply"
  exit
fi

step "packages" scripts/install.sh build
rm -rf "$work"
each_copy() { # each_copy COMMAND: runs it for one copy per core, all at once
  local n pids=() pid
  for ((n = 1; n <= $(nproc); ++n)); do
    "$1" "$work/$n" &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do wait "$pid" || return; done
}
step "copies without any edit" each_copy make_copy
step "${#chosen[@]} edits" each_copy work_in

survivors=0 equivalents=0
for i in "${chosen[@]}"; do
  killed=$(<"$work/taken-$i/killer")
  if [[ -z $killed && -n ${remarks[i]} ]]; then
    equivalents=$((equivalents + 1))
    echo "equivalent: ${titles[i]} (${remarks[i]})"
  elif [[ -z $killed ]]; then
    survivors=$((survivors + 1))
    echo "SURVIVES: ${titles[i]}"
  elif [[ -n ${remarks[i]} ]]; then
    echo "not equivalent, as $killed shows: ${titles[i]}"
  fi
done
echo "${#chosen[@]} edits: $((${#chosen[@]} - survivors - equivalents)) killed, $equivalents equivalent, $survivors survive"
((survivors == 0))
