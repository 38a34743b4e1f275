#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/docs-pictures.sh PREVIEW FOLDER [BROWSER]
# Renders the pictures that docs/plugins.md shows into FOLDER/gallery, all of them on one sheet for the README, and that
# of each recipe, which has the name of its scene, into FOLDER/recipes. With a browser, also the network of each recipe, as
# the page draws it, into FOLDER/networks, and the page that `view` serves into FOLDER/view.png.
set -euo pipefail
preview=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
browser=${3:-}
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
  cp "$rendered/$name/$name.png" "$folder/recipes"
done
if [[ -z $browser ]]; then exit; fi

open_page() { # NAME OPTION...
  "$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$rendered/profile" --hide-scrollbars \
    --virtual-time-budget=5000 "${@:2}" "file://$rendered/$1/network.html#/network" 2>"$rendered/log"
}
mkdir "$folder/networks"
for scene in scenes/recipes/*.json; do
  name=$(basename "$scene" .json)
  "$preview" render "$scene" -o "$rendered/$name"
  {
    cat "$rendered/$name/index.html"
    echo "<style>header, #legend { display: none !important; }</style>"
    echo "<script>zoomTo(1); document.title = [find('canvas').offsetWidth, find('canvas').offsetHeight];</script>"
  } >"$rendered/$name/network.html"
  size=$(open_page "$name" --dump-dom | sed -n 's|.*<title>\([0-9]*,[0-9]*\)</title>.*|\1|p')
  open_page "$name" --window-size="$size" --screenshot="$folder/networks/$name.png"
done

(
  picture=$folder/view.png scene=$PWD/scenes/recipes/rim_light.json
  . tests/support/browser.sh
  . tests/support/view.sh
  start_view "$scene"
  open_page "$address#rim_light"
  order Emulation.setDeviceMetricsOverride '"width":1200,"height":640,"deviceScaleFactor":1,"mobile":false'
  expect "picture" "find('large').naturalWidth === scene.width" true
  evaluate "document.activeElement.blur(), pixel = [Math.floor(scene.width / 2), Math.floor(scene.height / 3)], showPixel()"
  expect "answers" "find('answers').rows.length > 9" true
  order Page.captureScreenshot '"format":"png"'
  answered data | base64 -d >"$picture"
  close_browser
  stop_view TERM
)
