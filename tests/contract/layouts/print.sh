#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: print.sh CLANG++ [RECORD]
# Prints the layouts of the classes and records that the host meets as Microsoft's compiler lays them
# out on 32-bit x86; or compares them with a record of an earlier time.
set -euo pipefail
here=$(dirname "$0")

clang=("$1" --target=i686-pc-windows-msvc -std=c++20 -ffreestanding
  -I"$here" -I"$here/../../.." "$here/layouts.cpp")

# What clang prints comes in paragraphs.
print() {
  "${clang[@]}" -fsyntax-only -Xclang -fdump-record-layouts |
    awk -v RS= -v ORS='\n\n' '/ 0 \| / && !/Constructed/'
  "${clang[@]}" -c -o /dev/null -Xclang -fdump-vtable-layouts |
    awk -v RS= -v ORS='\n\n' '/^VFTable for/ && !/Constructed/'
}

if [[ $# -eq 1 ]]; then
  print
else
  print | diff -u "$2" -
fi
