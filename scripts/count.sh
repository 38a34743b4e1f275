#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/count.sh
# Counts the lines of C++, without blanks and comments, and says how much of them are tests: by
# themselves, and with the validator's checks, which test a module through the contract.
set -euo pipefail
. "$(dirname "$0")/common.sh"

product=(frame host math sampler colorops floatvectorops standin preview validate cmake examples)

# The lines of the files in these folders.
lines() {
  local patterns=() folder
  for folder in "$@"; do patterns+=("$folder/*.cpp" "$folder/*.h"); done
  git ls-files -- "${patterns[@]}" |
    cloc --quiet --csv --skip-uniqueness --list-file=- | awk -F, '$2 == "SUM" { print $5 }'
}

step "packages" scripts/install.sh lint
for folder in "${product[@]}"; do printf '%-15s %6d\n' "$folder" "$(lines "$folder")"; done
of_product=$(lines "${product[@]}") of_bench=$(lines bench) of_tests=$(lines tests)
of_checks=$(lines validate/checks validate/samplerinfo)
all=$((of_product + of_bench + of_tests))
printf '%-15s %6d\n' "product" "$of_product" "bench" "$of_bench" "tests" "$of_tests" "all" "$all"

# percent COUNT: its share of all lines.
percent() {
  echo "$(($1 * 1000 / all / 10)).$(($1 * 1000 / all % 10)) %"
}
echo "tests are $(percent "$of_tests") of the lines, with the validator's checks $(percent $((of_tests + of_checks)))"
