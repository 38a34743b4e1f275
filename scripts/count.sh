#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/count.sh
# Counts the lines of C and C++, without blanks and comments, and says how much of them are tests.
set -euo pipefail
. "$(dirname "$0")/common.sh"

product=(frame host math sampler colorops floatvectorops standin preview validate cmake)

# The lines of the files in these folders.
lines() {
  local patterns=() folder
  for folder in "$@"; do patterns+=("$folder/*.c" "$folder/*.cpp" "$folder/*.h"); done
  git ls-files -- "${patterns[@]}" |
    cloc --quiet --csv --skip-uniqueness --list-file=- | awk -F, '$2 == "SUM" { print $5 }'
}

step "packages" scripts/install.sh lint
for folder in "${product[@]}"; do printf '%-15s %6d\n' "$folder" "$(lines "$folder")"; done
of_product=$(lines "${product[@]}") of_bench=$(lines bench) of_tests=$(lines tests)
all=$((of_product + of_bench + of_tests))
printf '%-15s %6d\n' "product" "$of_product" "bench" "$of_bench" "tests" "$of_tests" "all" "$all"
echo "tests are $((of_tests * 1000 / all / 10)).$((of_tests * 1000 / all % 10)) % of the lines"
