#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/test.sh [PRESET [CTEST-OPTION...]]
# Installs what is missing, builds a preset (release, if none is named) and runs its tests.
set -euo pipefail
. "$(dirname "$0")/common.sh"

preset=${1:-release}
sections=(build)
[[ $preset != clang-* ]] || sections+=(clang)

# Tests do without it if they must.
browser() {
  scripts/install.sh browser || echo "NO BROWSER CAN BE INSTALLED: the page of a render is not tested"
}

step "packages for $preset" scripts/install.sh "${sections[@]}"
step "browser" browser
step "configure $preset" cmake --preset "$preset"
step "build $preset" cmake --build --preset "$preset"
step "test $preset" ctest --preset "$preset" --parallel "$(nproc)" "${@:2}"
