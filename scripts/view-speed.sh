#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/view-speed.sh
# How soon after a save the pages that `view` serves show it, in Chromium, how long a probe takes, and whether memory
# grows over 1,000 saves; fails above the limits. Wants a quiet machine.
set -euo pipefail
. "$(dirname "$0")/common.sh"

build_preset release "build browser" samplerinfo samplerinfo-preview
preview=build/release/preview/samplerinfo-preview scenes=$PWD/scenes
tests/view_saves_test.sh "$preview" "$scenes" 1000 5
. tests/support/browser.sh
. tests/support/view.sh

cp -r "$scenes" scenes
mv scenes/gallery.json good.json
edit() { sed "$1" good.json >scenes/gallery.json; } # SED-SCRIPT
cp good.json scenes/gallery.json
start_view scenes/gallery.json
listen
open_page "$address"
expect "pictures" "Array.from(document.images).filter(image => image.naturalWidth === 320).length >= 75" true
until_said "start" "event: done"
# All pictures are in the window, and the time of each that is shown is noted.
evaluate "document.querySelector('main').style.gridTemplateColumns = 'repeat(15, 1fr)'"
evaluate "shownAt = [], document.addEventListener('load', ({target}) => shownAt.push([Date.now(), target.naturalWidth]), true)"

sleep 2
failed=0
# figure WHAT MILLISECONDS LIMIT
figure() {
  echo "$1: $2 ms (at most $3)"
  if [[ ! $2 =~ ^[0-9]+$ ]] || (($2 > $3)); then failed=1; fi
}
# wait_for PICTURES: in their last rendition
wait_for() { expect "all shown" "shownAt.filter(([, width]) => width === 320).length >= $1" true; }
# since BEGIN FILTER WHICH
since() {
  evaluate "Math.$3(...shownAt.filter(([, width]) => $2).map(([at]) => at)) - $1"
  echo "$value"
}
for i in 1 2 3; do
  evaluate "shownAt.length = 0"
  begin=$(date +%s%3N)
  edit "s/\"fov\": 38/\"fov\": 4$i/"
  wait_for 75
  figure "camera: first picture" "$(since "$begin" true min)" 350
  figure "camera: all quick ones" "$(since "$begin" "width < 320" max)" 600
  figure "camera: all final ones" "$(since "$begin" true max)" 2000
  sleep 1
  evaluate "shownAt.length = 0"
  begin=$(date +%s%3N)
  edit "s/\"fov\": 38/\"fov\": 4$i/; s/\"float3\": 0.05}/\"float3\": 0.0$i}/"
  wait_for 2
  figure "node: final" "$(since "$begin" true max)" 500
  sleep 1
done

# probes X Y: the slowest of 20, in milliseconds
probes() {
  for _ in {1..20}; do
    curl -s -o /dev/null -w '%{time_total}\n' "$address/probe?x=$1&y=$2"
  done | sort -n | awk 'END { printf "%.0f", $1 * 1000 }'
}
figure "probe" "$(probes 160 120)" 30
close_browser
kill $listener
stop_view TERM
start_view scenes/gallery.json 0 --size 1600x1200 --samples 64
sleep 1
listen
until_said "a page" "event: scene"
milliseconds=$(probes 800 600)
if said | grep '^event: done'; then wrong "the render ended before the probes"; fi
figure "probe while rendering" "$milliseconds" 60
kill $listener
stop_view TERM
exit $failed
