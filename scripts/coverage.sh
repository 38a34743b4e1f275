#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/coverage.sh [FOLDER]
# Runs the tests of a build that counts, and says how many lines and branches of each folder they enter; build/coverage/report
# shows which. FOLDER (such as frame) lists the lines of its files that no test enters.
set -euo pipefail
. "$(dirname "$0")/common.sh"

build=build/coverage
build_preset coverage "build coverage"
find "$build" -name '*.gcda' -delete
step "test coverage" ctest --preset coverage --parallel "$(nproc)"
# Where a disk is full the counters cannot be written, either.
step "test coverage of the preview" "$build/tests/preview_cases" --gtest_filter='-*/refuses_*:*full_disk*'

mkdir -p "$build/report"
gcovr() {
  command gcovr --root . --object-directory "$build" --exclude '(bench|examples|tests)/' \
    --exclude-directories '.*/CMakeFiles/[0-9]' --exclude-throw-branches "$@"
}
step "collect" gcovr --json "$build/coverage.json" --html-details "$build/report/index.html"
if [[ $# -gt 0 ]]; then
  gcovr --add-tracefile "$build/coverage.json" --filter "$1/"
fi
# From the sums of each file to those of each folder.
gcovr --add-tracefile "$build/coverage.json" --csv | awk -F, '
  NR > 1 {
    folder = $1; sub("/.*", "", folder)
    lines[folder] += $2; entered[folder] += $3; branches[folder] += $5; taken[folder] += $6
  }
  END {
    for (folder in lines)
      printf "%-15s lines %5d of %5d  branches %5d of %5d\n", folder, entered[folder], lines[folder], taken[folder], branches[folder]
  }' | sort
