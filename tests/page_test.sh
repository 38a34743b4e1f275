#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/page_test.sh PREVIEW
# Tries the page of a render in a browser; exit code 77 without one.
set -euo pipefail

preview=$1
script=$(dirname "$(realpath "$0")")/page_test.js
if ! command -v chromium >/dev/null; then
  echo "THE PAGE IS NOT TESTED: there is no chromium here"
  exit 77
fi

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
cd "$folder"
cat >scene.json <<'EOS'
{
  "image": {"width": 16, "height": 12, "samples": 1},
  "frames": {"first": 1, "last": 2001},
  "objects": {"wall": {"shape": {"plane": {"width": 9, "depth": 9}}, "transform": {"rotate": [90, 0, 0]}}},
  "nodes": {
    "n": {"plugin": "constant", "params": {"value": -1}},
    "v": {"plugin": "constant", "params": {"value": [4, -2, 0]}},
    "inverted": {"plugin": "Float3ToAColor", "params": {"float1": 3, "invert": true}},
    "tint": {"plugin": "TexFloatOp", "params": {"float_a": "n"}},
    "side": {"plugin": "TexVectorOp", "params": {"vector_a": "v", "mult_a": "tint.sum"}},
    "shade": {"plugin": "TexAColorOp", "params": {"color_a": "inverted", "mult_a": "side.x", "mult_b": "tint.sum"}}
  },
  "pictures": {
    "a": {"from": "n"},
    "b": {"from": "v", "range": [-1, 3], "coding": "linear", "caption": "</script> \u2264"},
    "i": {"from": "inverted.color"},
    "sum": {"from": "tint.sum"},
    "lower": {"from": "tint.sum", "show": "lower"},
    "root": {"from": "tint.power"}
  }
}
EOS
# A cycle is refused, and nothing is written.
sed 's/"float_a": "n"/"float_a": "side.x"/' scene.json >cycle.json
if "$preview" render cycle.json -o cycle 2>errors || [[ $? != 2 || -e cycle ]]; then exit 1; fi
grep -q 'a cycle: tint <- side <- tint$' errors

for frame in 2 4; do "$preview" render scene.json -o out --frames $frame --set tint.float_b=0.5; done
{
  cat out/index.html
  echo "<script>"
  cat "$script"
  echo "</script>"
} >out/test.html

# The console, where errors come, is on the error stream. Virtual time waits for what is loaded.
timeout 120 chromium --headless --no-sandbox --disable-gpu --user-data-dir="$folder/profile" --enable-logging=stderr \
  --virtual-time-budget=10000 --dump-dom "file://$folder/out/test.html" >dom 2>log
if grep CONSOLE log; then exit 1; fi
grep -o '<title>.*</title>' dom
grep -q '<title>All is as expected</title>' dom

# Keys as a keyboard gives them.
. "$(dirname "$script")/support/browser.sh"
open_page "file://$folder/out/index.html#/network"
expect "boxes" "document.querySelectorAll('.box').length" 6
evaluate "boxes.get('n').link.focus()"
for name in tint side shade; do
  key ArrowRight 39
  expect "from source to sink" "document.activeElement.textContent" "$name"
done
evaluate "thumbs.get('sum').parentElement.focus()"
key Enter 13 '\r'
expect "Enter on a small picture" "[location.hash, dialog.hidden]" "#/network/tint.sum/sum,false"
key Escape 27
expect "back" "[location.hash, dialog.hidden, document.activeElement === thumbs.get('sum').parentElement]" "#/network/tint.sum,true,true"

# Frames that come late, and those of another render: of another scene, or of the one before.
evaluate "location.hash = 'a', showFrame(5)"
frame="[find('frameNumber').textContent, find('large').src.slice(-10), tiles.get('a').image.src.slice(-10), find('bars').textContent]"
expect "not here" "$frame" "frame 5 is not here,,,01"
"$preview" render scene.json -o late --frames 5 --set tint.float_b=0.5
"$preview" render scene.json -o other --frames 5
cp other/*.0005.* out
evaluate "showFrame(4), showFrame(5)"
expect "of another render" "$frame" "frame 5 is of another render,,,01"
evaluate "closeDialog()"
expect "nothing in the network" "thumbs.get('sum').hasAttribute('src')" false
cp late/*.0005.* out
evaluate "location.hash = 'a', showFrame(4), showFrame(5)"
expect "it came" "$frame" "frame 5,a.0005.png,a.0005.png,01from \u22121 to \u22121"

# Play goes through what is here.
evaluate "played = new Set, load = (load => number => (played.add(number), load(number)))(load), tiles.get('a').image.onload = () => played.add(frame), play()"
expect "played" "[...played].sort()" "2,4,5"
close_browser
