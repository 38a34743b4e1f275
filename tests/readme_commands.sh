#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands in README.md's blocks of shell code, as they are written there, up to the first that fails; except for
# scripts/test.sh, with which .ci/run begins.
set -euo pipefail
. "$(dirname "$0")/../scripts/common.sh"

mapfile -t commands < <(awk '/^```/ { inside = $0 == "```sh"; next } inside' README.md)
((${#commands[@]} > 0)) || fail "README.md has no block of shell code"
for command in "${commands[@]}"; do
  name=${command%%  *}
  [[ $name == scripts/test.sh ]] || step "$name" bash -eu -c "$command"
done
