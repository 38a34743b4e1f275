#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/fuzz.sh SECONDS
# Lets each fuzzer search for so long, from the inputs of tests/fuzz/ on. What they find ends the search: it is kept in
# build/fuzz/, and belongs into a test.
set -euo pipefail
. "$(dirname "$0")/common.sh"

[[ ${1:-} =~ ^[1-9][0-9]*$ ]] || fail "how many SECONDS?"
build_preset clang-asan "build clang" fuzz_network fuzz_scene
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for name in network scene; do
  mkdir -p "build/fuzz/$name"
  step "$name" "build/clang-asan/tests/fuzz/fuzz_$name" -max_total_time="$1" -max_len=20000 -rss_limit_mb=4096 \
    -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" "build/fuzz/$name" "tests/fuzz/$name"
done
