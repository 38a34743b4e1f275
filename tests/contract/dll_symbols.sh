#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: dll_symbols.sh DLL [RECORD DEFINITIONS]
# Prints what the DLL exports, which libraries it needs, and the names that it takes from the host's; or
# compares that with a record of an earlier time and what the host's library is said to export.
set -euo pipefail

print() {
  llvm-readobj --coff-exports "$1" | awk '/^ *Name: ./ { print "exports", $2 }'
  llvm-readobj --coff-imports "$1" | awk '
    /^ *Name: / { library = $2; print "needs", library }
    /^ *Symbol: / && library == "quor.dll" { print "needs", library, $2 }' | LC_ALL=C sort
}

if [[ $# -eq 1 ]]; then
  print "$1"
else
  names=$(sed '1,/^EXPORTS/d; s/^/needs quor.dll /' "$3")
  diff -u <(LC_ALL=C sort "$2" - <<<"$names") <(print "$1" | LC_ALL=C sort)
fi
