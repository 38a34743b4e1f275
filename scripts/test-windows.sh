#!/usr/bin/env bash
# usage: scripts/test-windows.sh
# Installs what is missing, builds the presets for 32-bit Windows and runs their tests under Wine.
# Without Wine it looks at layouts and symbols only and fails, or, with ALLOW_NO_WINE=1, succeeds but
# says so, also in build/not-executed.txt.
set -euo pipefail
. "$(dirname "$0")/common.sh"

not_executed=build/not-executed.txt
rm -f "$not_executed"
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all # as in the presets

# Wine and the compilers in one go: choosing both at once, apt can take versions that the 32-bit
# architecture has too, even while one package index is out of step with the others.
echo "==> packages for Windows"
wine_installed=yes
if ! scripts/install.sh windows wine; then
  wine_installed=
  step "packages for Windows, without Wine" scripts/install.sh windows
fi
for preset in windows-x86 windows-x86-mingw; do
  step "configure $preset" cmake --preset "$preset"
  step "build $preset" cmake --build --preset "$preset"
done

# The server stays, or every test would wait for Windows to start.
start_wine() {
  echo "==> Wine"
  [[ -n $wine_installed ]] || return
  trap 'wineserver --kill' EXIT
  mkdir -p "$WINEPREFIX"
  wineserver --persistent || true # fails if there is one already
  wine wineboot --init
}

if ! start_wine; then
  step "test windows-x86, what is not executed" ctest --preset windows-x86 --label-exclude emulated
  echo "NOTHING WAS EXECUTED ON WINDOWS: there is no Wine for 32-bit programs" >"$not_executed"
  [[ ${ALLOW_NO_WINE:-} == 1 ]] || fail "$(<"$not_executed")"
  cat "$not_executed"
  exit
fi

step "test windows-x86" ctest --preset windows-x86
step "test windows-x86-mingw" ctest --preset windows-x86-mingw --parallel "$(nproc)"
echo "Executed under $(wine --version): the validator on the library with Microsoft's layout, and the"
echo "unit tests on the MinGW build."
