#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/view_page_test.sh PREVIEW THROWING-MODULE
# Tries the page that `view` serves in a browser: saves the scene and looks; exit code 77 without a browser.
set -euo pipefail

preview=$1 throwing=$(realpath "$2")
here=$(dirname "$(realpath "$0")")
if ! command -v chromium >/dev/null; then
  echo "THE PAGE IS NOT TESTED: there is no chromium here"
  exit 77
fi
. "$here/support/browser.sh"
. "$here/support/view.sh"

cat >scene.json <<'EOS'
{
  "image": {"width": 16, "height": 12, "samples": 4},
  "objects": {"wall": {"shape": {"plane": {"width": 9, "depth": 9}}, "transform": {"rotate": [90, 0, 0]}}},
  "nodes": {
    "n": {"plugin": "constant", "params": {"value": 4}},
    "root": {"plugin": "TexFloatOp", "params": {"float_a": "n", "float_b": 0.5}},
    "both": {"plugin": "TexFloatOp", "params": {"float_a": "root.power", "float_b": 1}},
    "uv": {"plugin": "ramp", "params": {"from": 0, "to": 16}}
  },
  "pictures": {
    "root": {"from": "root.power", "range": [0, 4]},
    "sum": {"from": "both.sum", "range": [0, 4]},
    "ramp": {"from": "uv", "range": [0, 16]},
    "lower": {"from": "root.sum", "show": "lower"}
  }
}
EOS
cp scene.json good.json
start_view scene.json 0 --set uv.to=16
open_page "$address"

expect "pictures" "[...tiles.keys()].map(name => tiles.get(name).image.naturalWidth)" "16,16,16,16"
# A pixel of a picture in the list, as the browser has it.
order Runtime.evaluate '"expression":"function grey(name) { const c = new OffscreenCanvas(16, 12).getContext(\"2d\"); c.drawImage(tiles.get(name).image, 0, 0); return c.getImageData(8, 6, 1, 1).data[0]; }; scene.mark = 1"'
expect "grey" "[grey('root'), grey('sum')]" "188,225"
expect "no report" "find('report').hidden" true

# A save: what changed is shown, and the page stays as it is.
evaluate "find('search').value = 'r', narrow(), sessionStorage.setItem('stays', 1)"
expect "found" "shown.map(({name}) => name)" "root,ramp,lower"
save 's/"value": 4/"value": 9/'
expect "pictures of another value" "[grey('root'), grey('sum')]" "225,255"
expect "the page is the same" "[sessionStorage.getItem('stays'), find('search').value, shown.length]" "1,r,3"
evaluate "find('search').value = '', narrow()"

# A mistake, and its end.
save 's/"n"}/"n"}}}/; s/0.5/-0.5,,/'
expect "a mistake" "find('mistakes').textContent" "$("$preview" check scene.json | head -1)"
expect "old" "[document.documentElement.className, getComputedStyle(tiles.get('root').image).opacity]" "old,0.45"
save 's/x/x/'
expect "mended" "[find('report').hidden, document.documentElement.className]" "true,"
expect "pictures again" "[grey('root'), grey('sum')]" "188,225"

# What `check` warns of.
save 's/"value": 4/"value": -4/'
expect "warnings" "[find('warnings').hidden, find('warnings').firstChild.textContent]" "false,2 warnings"
expect "NaN in the list" "[tiles.get('sum').warnings.textContent, find('mistakes').textContent]" "192 NaN,"

# Pointing and clicking.
evaluate "location.hash = 'ramp'"
expect "large" "[find('name').textContent, find('large').complete && find('large').naturalWidth]" "ramp,16"
at() { # X Y: the middle of that pixel of the large picture
  evaluate "(({scale, left, top}) => [left + ($1 + 0.5) * scale, top + ($2 + 0.5) * scale].map(Math.round).join(' '))(placeOfLarge())"
  echo "$value"
}
read -r x y < <(at 3 6)
mouse mouseMoved "$x" "$y"
at_3_6=$(curl -s "$address/probe?x=3&y=6" | sed -n '/"uv"/,/value/s/.*"value": \([0-9.]*\).*/\1/p')
expect "value under the pointer" "find('value').textContent" "3,6: $(printf %.5g "$at_3_6")"
mouse mouseMoved -9 -9
expect "no pointer" "[find('value').hidden, pointedAt]" "true,"
mouse mouseMoved "$x" "$y"
expect "the pointer again" "find('value').hidden" false
mouse mousePressed "$x" "$y"
mouse mouseReleased "$x" "$y"
expect "pixel" "find('pixel').textContent" "Pixel 3,6"
expect "answers" "[find('answers').rows.length, find('answers').querySelector('b').textContent]" "20,uv"
marked=$("$preview" probe scene.json --pixel 3,6 | sed -n 's/ .*  ! .*//p' | paste -sd,)
expect "command" "find('probe').firstChild.textContent" "samplerinfo-preview probe scene.json --pixel 3,6 --size 16x12 --set uv.to=16 uv"
expect "marks" "[...find('answers').rows].filter(row => row.querySelector('.warning')).map(row => row.querySelector('b').textContent)" "$marked"
key ArrowRight 39
key ArrowDown 40
expect "by arrows" "[find('pixel').textContent, find('name').textContent]" "Pixel 4,7,ramp"
evaluate "find('toNode').click()"
expect "no value where no picture is" "find('value').hidden" true
expect "warnings above the legend" "!find('report').hidden && find('report').getBoundingClientRect().bottom <= find('legend').getBoundingClientRect().top" true
expect "numbers in the network" "[...network.querySelectorAll('.number')].map(one => one.closest('li').dataset.texture + ' ' + one.textContent + (one.matches('.warning') ? '!' : ''))" \
  "n \u22124,root.sum \u22123.5,root.power NaN!,both.sum NaN!,uv $(curl -s "$address/probe?x=4&y=7" | sed -n '/"uv"/,/value/s/.*"value": \([0-9.]*\).*/\1/p' | xargs printf %.5g)"
evaluate "zoomTo(1.2), network.scrollTo(9, 3), boxes.get('both').link.focus()"
evaluate "[zoom, network.scrollLeft, network.scrollTop, location.hash, document.activeElement.textContent]"
before=$value
save 's/"value": 4/"value": 16/'
expect "numbers after a save" "[...network.querySelectorAll('.number')].slice(0, 4).map(one => one.textContent)" "16,16.5,4,5"
expect "the network is as it was" "[zoom, network.scrollLeft, network.scrollTop, location.hash, document.activeElement.textContent]" "$before"
expect "pixel after a save" "[find('probed').textContent, find('probed').hidden]" "Pixel 4,7,false"
key Escape 27
expect "forgotten" "[pixel, find('probed').hidden, find('canvas').className, boxes.get('root').outputs[0].number.textContent]" ",true,,"

# A sequence: the page stays at its frame, or goes to the last one when its own is gone.
frames() { save 's/"nodes"/"frames": {"first": '"$1"', "last": '"$2"'}, &/'; } # FIRST LAST
frame="[frame, find('frame').min, find('frame').value, find('frame').max, find('frameNumber').textContent, ...(({image}) => [image.getAttribute('src').split('&')[0], image.complete && image.naturalWidth])(tiles.get('root'))]"
frames 8 19
expect "a sequence" "$frame" "8,8,8,19,frame 8,root.png?frame=8,16"
evaluate "showFrame(18)"
expect "a frame" "$frame" "18,8,18,19,frame 18,root.png?frame=18,16"
evaluate "showFrame(17)"
expect "another frame" "$frame" "17,8,17,19,frame 17,root.png?frame=17,16"
frames 8 12
expect "the last frame" "$frame" "12,8,12,12,frame 12,root.png?frame=12,16"
frames 3 13
expect "its frame stays" "$frame" "12,3,12,13,frame 12,root.png?frame=12,16"

# Too many pages: it waits until one goes.
evaluate "stream.close()"
fill_streams 16
until_events_are 503
evaluate "listen()"
expect "waiting" "find('mistakes').textContent" "Waiting: as many pages are open as the viewer serves."
kill "${streams[@]}"
expect "its turn" "[find('report').hidden, stream.readyState]" "true,1"

# The viewer ends.
stop_view TERM
expect "its end" "find('mistakes').textContent" "The viewer has ended, or cannot be reached."
start_view scene.json "${address##*:}"
expect "its return" "find('report').hidden" true
stop_view INT

# A page that cannot be made yet comes by itself.
save 's/"uv":/"bad": {"plugin": "Broken"}, &/'
start_view scene.json "${address##*:}" --plugin "$throwing"
evaluate "location.reload()"
expect "no page" "document.body.textContent.trim()" "scene.json: error: bad: no frame"
save 's/x/x/'
expect "a page" "document.title" scene
stop_view INT
close_browser
