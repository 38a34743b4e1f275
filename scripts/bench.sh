#!/usr/bin/env bash
# usage: scripts/bench.sh [BENCHMARK-OPTION...]
# Installs what is missing, builds the benchmarks and runs them.
set -euo pipefail
. "$(dirname "$0")/common.sh"

step "packages" scripts/install.sh build
step "configure release" cmake --preset release
step "build the benchmarks" cmake --build --preset release --target samplerinfo samplerinfo-bench
step "benchmarks" build/release/bench/samplerinfo-bench "$@"
