#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/bench.sh [OPTION...]
# Installs what is missing, builds the benchmarks and measures every output against its twin; or, with
# --check, only compares their answers. PRESET chooses another build than release.
set -euo pipefail
. "$(dirname "$0")/common.sh"

preset=${PRESET:-release}
step "packages" scripts/install.sh build bench
step "configure $preset" cmake --preset "$preset" -DSAMPLERINFO_BENCH=ON
step "build the benchmarks" cmake --build --preset "$preset" --target samplerinfo samplerinfo-bench
step "benchmarks" "build/$preset/bench/samplerinfo-bench" "$@"
