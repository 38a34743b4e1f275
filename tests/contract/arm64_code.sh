#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: arm64_code.sh MODULE
# What an emulator cannot show of a module for 64-bit ARM, read from its code: no product and sum share a rounding, and
# the flag of the clipping planes is read and written in order with what it guards.
set -euo pipefail

code=$(aarch64-linux-gnu-objdump -dC --no-show-raw-insn "$1")
functions=$(grep -c '^[0-9a-f]* <' <<<"$code")
((functions > 300)) || { echo "only $functions functions are disassembled" && exit 1; }

# lists MNEMONICS: the functions with such an instruction.
lists() {
  awk -v mnemonics="^($1)\$" '/^[0-9a-f]+ </ { name = $0 } $2 ~ mnemonics { print name; print }' <<<"$code"
}

contracted=$(lists 'fn?m(add|sub)|fml[as]|fml[as]l2?|fcmla')
[[ -z $contracted ]] || { echo "$contracted" && exit 1; }
for plane in nearPlane farPlane; do
  [[ $(lists 'lda[p]?r') == *"ClipPlaneCache::$plane>::getFloat"* ]] || { echo "$plane: no acquire" && exit 1; }
done
[[ $(lists stlr) == *ClipPlaneCache::computeOnce* ]] || { echo "computeOnce: no release" && exit 1; }
