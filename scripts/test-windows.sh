#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/test-windows.sh
# Installs what is missing, builds the presets for 32-bit Windows and runs their tests under Wine; in an
# emulated PC where this system executes no 32-bit programs, or anywhere with EMULATED_PC=1.
# Where the packages for it cannot be had it looks at layouts and symbols only and fails, or, with
# ALLOW_NO_WINE=1, succeeds but says so, also in build/not-executed.txt.
set -euo pipefail
. "$(dirname "$0")/common.sh"

not_executed=build/not-executed.txt
rm -f "$not_executed"

# excuse TEXT: packages that cannot be had are no failure yet; any other is.
excuse() {
  local code=$?
  ((code == 100)) || exit "$code"
  why_not=$1
}

# The subshell outlives the program, so that what it says of a killed one is not seen, either.
executes_32_bit_programs() {
  (timeout -k 5 10 /lib/ld-linux.so.2 --version || exit) >/dev/null 2>&1
}

# Wine and the compilers in one go: choosing both at once, apt can take versions that the 32-bit
# architecture has too, even while one package index is out of step with the others.
echo "==> packages for Windows"
run=(scripts/test-wine.sh)
why_not=
if scripts/install.sh windows wine; then
  why_emulated=
  if [[ ${EMULATED_PC:-} == 1 ]]; then
    why_emulated="EMULATED_PC is set"
  elif ! executes_32_bit_programs; then
    why_emulated="this system executes no 32-bit programs"
  fi
  if [[ -n $why_emulated ]]; then
    echo "==> an emulated PC, as $why_emulated"
    run=(scripts/emulated-pc.sh "${run[@]}")
    scripts/emulated-pc.sh || excuse "$why_emulated, and the emulated PC's packages cannot be had"
  fi
else
  excuse "Wine for 32-bit programs cannot be installed"
  step "packages for Windows, without Wine" scripts/install.sh windows
fi

# The example, built with the installed sdk alone; Windows looks for the host's library beside it.
sdk_example() {
  cmake -G Ninja -B build/sdk -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release \
    -DSAMPLERINFO_PREVIEW=OFF -DBUILD_TESTING=OFF &&
    cmake --build build/sdk --target object_model quor &&
    cmake --install build/sdk --component sdk --prefix "$PWD/build/sdk/installed" &&
    cmake -G Ninja --toolchain "$PWD/build/sdk/installed/lib/cmake/Quor/windows-x86/toolchain.cmake" \
      -DCMAKE_BUILD_TYPE=Release -S examples/clamp -B build/sdk/clamp &&
    cmake --build build/sdk/clamp &&
    cp build/sdk/clamp/Clamp.dll build/windows-x86
}

# Mutants are there to be executed.
for preset in windows-x86 windows-x86-mingw; do
  step "configure $preset" cmake --preset "$preset" ${why_not:+-DSAMPLERINFO_MUTANTS=OFF --no-warn-unused-cli}
  step "build $preset" cmake --build --preset "$preset"
done
step "the example with the sdk" sdk_example
step "test windows-x86, what is not executed" ctest --preset windows-x86 --label-exclude emulated

if [[ -z $why_not ]]; then
  step "Windows" "${run[@]}"
else
  echo "NOTHING WAS EXECUTED ON WINDOWS: $why_not" >"$not_executed"
  [[ ${ALLOW_NO_WINE:-} == 1 ]] || fail "$(<"$not_executed")"
  cat "$not_executed"
fi
