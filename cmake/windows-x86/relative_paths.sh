#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: relative_paths.sh COMPILER ARGUMENT...
# Compiles, in a build folder two below the root, with relative paths: clang writes its command line into the debug symbols.
root=$(cd ../.. && pwd)
exec "${@//"$root"/../..}"
