# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by the scripts: goes to the project's root, compiles through a cache where there is one, gives `fail`,
# `version`, `step` and `build_preset`.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
fi

# fail TEXT [CODE]: ends the script with one line that says why.
fail() {
  echo "$(basename "$0"): $1" >&2
  exit "${2:-1}"
}

# version: that of CMakeLists.txt.
version() { sed -n 's/^project(.* VERSION \([^ ]*\).*/\1/p' CMakeLists.txt; }

# step NAME COMMAND...: runs the command, saying what and how long; names the step if it fails.
step() {
  local name=$1 start=$SECONDS status=0 why
  shift
  echo "==> $name"
  "$@" || status=$?
  if ((status != 0)); then
    why="exit code $status"
    ((status != 124)) || why="time limit"
    echo "==> FAILED: $name ($why after $((SECONDS - start)) s)" >&2
    exit "$status"
  fi
  echo "==> $name: done in $((SECONDS - start)) s"
}

# build_preset PRESET "SECTION..." [TARGET...]: builds it, or these targets, after installing what is missing.
build_preset() {
  # shellcheck disable=SC2086 # several words
  step "packages" scripts/install.sh $2
  step "configure $1" cmake --preset "$1"
  step "build $1" cmake --build --preset "$1" ${3:+--target "${@:3}"}
}
