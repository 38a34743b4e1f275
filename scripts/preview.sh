#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/preview.sh [SCENE] [RENDER-OPTION...]
# Installs what is missing, builds the preview and renders the gallery into out/, or the named scene
# into a folder of its name in it.
set -euo pipefail

scene=scenes/gallery.json
out=out
if [[ $# -gt 0 && $1 != -* ]]; then
  scene=$(realpath -m -- "$1")
  out=out/$(basename "$scene" .json)
  shift
fi

. "$(dirname "$0")/common.sh"

build_preset release build samplerinfo samplerinfo-preview
step "render $scene" build/release/preview/samplerinfo-preview render "$scene" -o "$out" "$@"
echo "The pictures are in $PWD/$out; open index.html there"
