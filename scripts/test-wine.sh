#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/test-wine.sh [CTEST-OPTION...]
# The part of scripts/test-windows.sh that executes 32-bit programs: runs the tests of the two builds
# under Wine, or those that the options choose, such as -R validate.abi.
set -euo pipefail
. "$(dirname "$0")/common.sh"

export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all # as in the presets

# A console program needs no more of a prefix than Wine's own DLLs. Wine would take minutes to make a
# whole one in an emulated PC.
make_prefix() {
  local wine=/usr/lib/i386-linux-gnu/wine/i386-windows windows=$WINEPREFIX/drive_c/windows
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX/dosdevices" "$windows/system32" "$windows/temp"
  ln -s ../drive_c "$WINEPREFIX/dosdevices/c:"
  ln -s / "$WINEPREFIX/dosdevices/z:"
  ln -s "$wine"/* "$windows/system32/"
  ln -s "$wine/explorer.exe" "$windows/"
  echo disable >"$WINEPREFIX/.update-timestamp" # keeps Wine from completing it
}

# The server stays, or every test would wait for Windows to start.
start_wine() {
  timeout 30 wineserver --persistent || true # fails if there is one already
  timeout 120 wine cmd /c ver
}

make_prefix
trap 'timeout 30 wineserver --kill || true' EXIT
step "Wine" start_wine
step "test windows-x86" timeout 900 \
  ctest --preset windows-x86 --label-regex emulated --parallel "$(nproc)" ${1:+--no-tests=ignore} "$@"
step "test windows-x86-mingw" timeout 900 \
  ctest --preset windows-x86-mingw --parallel "$(nproc)" ${1:+--no-tests=ignore} "$@"
(($# == 0)) || exit 0
step "the example with the sdk" timeout 900 \
  wine build/windows-x86-mingw/samplerinfo-validate.exe build/windows-x86/Clamp.dll --only abi
echo "Executed under $(timeout 30 wine --version): the validator on the library with Microsoft's layout and on broken"
echo "modules, and the unit tests on the MinGW build."
