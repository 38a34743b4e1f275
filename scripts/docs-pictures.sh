#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/docs-pictures.sh PREVIEW FOLDER
# Renders the pictures that docs/plugins.md shows into FOLDER/gallery, all of them on one sheet for the README, and that
# of each recipe, which has the name of its scene, into FOLDER/recipes.
set -euo pipefail
preview=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
. "$(dirname "$0")/common.sh"

rendered=$(mktemp -d)
trap 'rm -r "$rendered"' EXIT
mkdir "$folder/gallery" "$folder/recipes"

shown=$(grep -o 'pictures/gallery/[A-Za-z0-9_]*' docs/plugins.md | sort -u | sed 's|.*/||')
"$preview" render scenes/gallery.json -o "$rendered/gallery" --size 160x120 --samples 16 --only "${shown//$'\n'/,}"
mv "$rendered/gallery/contact_sheet.png" "$folder/gallery.png"
for name in $shown; do mv "$rendered/gallery/$name.png" "$folder/gallery"; done

for scene in scenes/recipes/*.json; do
  name=$(basename "$scene" .json)
  "$preview" render "$scene" -o "$rendered/$name" --only "$name"
  mv "$rendered/$name/$name.png" "$folder/recipes"
done
