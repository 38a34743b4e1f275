#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/lint.sh
# Checks the format of every C++ file and analyses every one that is compiled on this system, and all
# scripts, and that each says its licence.
set -euo pipefail
. "$(dirname "$0")/common.sh"

build=build/lint

format() {
  git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
}

# The tracked files that the compile database knows: neither generated ones nor another system's.
compiled_files() {
  local file
  for file in $(git ls-files '*.cpp'); do
    ! grep -qF "\"file\": \"$PWD/$file\"" "$build/compile_commands.json" || echo "$file"
  done
}

# One file per process. What clang-tidy says is shown only on failure: it counts what it left out.
analyse() {
  # shellcheck disable=SC2016 # the arguments are the inner shell's
  compiled_files | xargs -n 1 -P "$(nproc)" bash -c '
    report=$(clang-tidy --quiet -p "$0" "$1" 2>&1) || { echo "$report"; exit 1; }' "$build"
}

scripts() {
  git ls-files -z '*.sh' '*.bash' .ci/run | xargs -0 shellcheck
}

# Prints the files that do not say under which licence they are, except for documents and formats without comments.
licences() {
  local missing
  missing=$(git grep -IL 'SPDX-License-Identifier: MIT' -- ':!*.md' ':!LICENSE' ':!CMakePresets.json' ':!tests/fuzz/*/[0-9]*' \
    ':!tests/host_calls.txt' ':!tests/contract/*.txt' ':!validate/samplerinfo/data') || true
  [[ -z $missing ]] || { echo "$missing" && return 1; }
}

step "packages" scripts/install.sh build bench clang lint
step "clang-format" format
step "shellcheck" scripts
step "licence lines" licences
step "configure" cmake --preset clang-release -B "$build" -DSAMPLERINFO_BENCH=ON -DCMAKE_UNITY_BUILD=OFF
step "clang-tidy" analyse
