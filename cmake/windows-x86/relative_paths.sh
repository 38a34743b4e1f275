#!/usr/bin/env bash
# usage: relative_paths.sh COMPILER ARGUMENT...
# Compiles, in a build folder two below the root, with relative paths: clang writes its command line into the debug symbols.
root=$(cd ../.. && pwd)
exec "${@//"$root"/../..}"
