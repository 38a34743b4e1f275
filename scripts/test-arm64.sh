#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/test-arm64.sh [PRESET...]
# Installs what is missing, builds for 64-bit ARM Linux (linux-arm64, if no preset is named; there is clang-linux-arm64,
# too) and runs the tests by an emulator of the processor.
set -euo pipefail
. "$(dirname "$0")/common.sh"

for preset in "${@:-linux-arm64}"; do
  sections=arm64
  [[ $preset != clang-* ]] || sections+=" clang"
  build_preset "$preset" "$sections"
  step "test $preset" ctest --preset "$preset" --parallel "$(nproc)"
done
