#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands in the blocks of shell code of README.md and scenes/README.md, as they are written there, up to the
# first that fails; except for scripts/test.sh, with which .ci/run begins.
set -euo pipefail
. "$(dirname "$0")/../scripts/common.sh"
PATH=$PWD/build/release/preview:$PATH

for document in README.md scenes/README.md; do
  mapfile -t commands < <(awk '/^```/ { inside = $0 == "```sh"; next } inside' "$document")
  ((${#commands[@]} > 0)) || fail "$document has no block of shell code"
  for command in "${commands[@]}"; do
    name=${command%%  *}
    [[ $name == scripts/test.sh ]] || step "$name" bash -eu -c "$command"
  done
done
