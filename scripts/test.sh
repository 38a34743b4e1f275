#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/test.sh [PRESET [CTEST-OPTION...]]
# Installs what is missing, builds a preset (release, if none is named) and runs its tests.
set -euo pipefail
. "$(dirname "$0")/common.sh"

preset=${1:-release}
sections=build
[[ $preset != clang-* ]] || sections+=" clang"

# Tests do without it if they must.
browser() {
  scripts/install.sh browser || echo "NO BROWSER CAN BE INSTALLED: the page of a render is not tested"
}

step "browser" browser
build_preset "$preset" "$sections"
step "test $preset" ctest --preset "$preset" --parallel "$(nproc)" "${@:2}"
