#!/usr/bin/env bash
# usage: scripts/preview.sh [SCENE] [RENDER-OPTION...]
# Installs what is missing, builds the preview and renders a scene (the gallery, if none is named)
# into out/.
set -euo pipefail

scene=scenes/gallery.json
if [[ $# -gt 0 && $1 != -* ]]; then
  scene=$(realpath -m -- "$1")
  shift
fi

. "$(dirname "$0")/common.sh"

step "packages" scripts/install.sh build
step "configure release" cmake --preset release
step "build the preview" cmake --build --preset release --target samplerinfo samplerinfo-preview
step "render $scene" build/release/preview/samplerinfo-preview render "$scene" -o out "$@"
echo "The pictures are in $PWD/out"
