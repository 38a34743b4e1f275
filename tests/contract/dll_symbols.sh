#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: dll_symbols.sh DLL
# Checks that the DLL exports `getLibDesc` alone, and that it needs nothing but the host's library and
# what ships with Windows.
set -euo pipefail

names() { llvm-readobj "$@" | awk '/^ *Name: ./ { print $2 }'; }

exports=$(names --coff-exports "$1")
[[ $exports == getLibDesc ]] || { echo "exports $exports" && exit 1; }

for library in $(names --coff-imports "$1"); do
  case $library in
    quor.dll | msvcrt.dll | kernel32.dll | ntdll.dll) ;;
    *) echo "needs $library" && exit 1 ;;
  esac
done
