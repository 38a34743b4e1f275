#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/view_test.sh PREVIEW MODULE THROWING-MODULE SCENES
# Tries `view` by its addresses and by what it says: what it answers and refuses, what it renders again, how it ends.
set -euo pipefail

preview=$1 module=$(realpath "$2") throwing=$(realpath "$3") scenes=$(realpath "$4")
. "$(dirname "$(realpath "$0")")/support/view.sh"

is() { # WHAT GOT EXPECTED
  [[ $2 == "$3" ]] || wrong "$1: expected $3, got $2"
}
status() { curl -s -m "${2:-5}" -o answer -w '%{http_code}' "$address/$1"; } # ADDRESS [SECONDS]
same_pictures() { # SCENE FRAME OPTION...: those of `render`
  rm -rf rendered
  "$preview" render "$1" -o rendered --quiet --frames "$2" "${@:3}"
  local file name
  for file in rendered/*.png; do
    name=$(basename "$file" .png)
    name=${name%.*[0-9]}
    if [[ $name == contact_sheet ]]; then continue; fi
    curl -s "$address/$name.png?frame=$2" | cmp - "$file" || wrong "$1: frame $2: $name"
  done
}

# Pictures and answers are those of `render` and `probe`; one node is two pictures.
cp -r "$scenes" scenes
start_view scenes/gallery.json 0 --size 64x48
listen
until_said "gallery" "event: done"
same_pictures scenes/gallery.json 7 --size 64x48
for pixel in 32,24 0,0; do
  "$preview" probe scenes/gallery.json --size 64x48 --pixel $pixel --json |
    cmp - <(curl -s "$address/probe?x=${pixel%,*}&y=${pixel#*,}") || wrong "probe $pixel"
done
mark
sed -i 's/"float3": 0.05}/"float3": 0.06}/' scenes/gallery.json
until_said "an edited node" "event: done"
is "an edited node" "$(rendered)" "facing_red,shaded"
is "an edited node, finally" "$(rendered final)" "facing_red,shaded"
mark
sed -i 's/"fov": 38/"fov": 39/' scenes/gallery.json
until_said "an edited camera" "event: done"
is "an edited camera" "$(rendered final | tr , '\n' | wc -l)" 75
same_pictures scenes/gallery.json 7 --size 64x48

# What is answered and refused.
port=${address##*:}
while read -r status options; do
  # shellcheck disable=SC2086 # several words
  is "$options" "$(curl -s -m 5 -o answer -w '%{http_code}' $options)" "$status"
done <<EOS
200 $address/
200 $address/scene.json
200 $address/normal.png
200 $address/normal.png?frame=7
200 http://localhost:$port/normal.png
404 $address/normal.png?frame=8
416 -H Range:bytes=0-4000 $address/normal.png
416 -H Range:bytes=900000- $address/
404 $address/normal
404 $address/nothing.png
404 $address/contact_sheet.png
404 $address/.png
404 --path-as-is $address/../scenes/gallery.json
404 $address/scenes/gallery.json
404 $address/%2e%2e%2f%2e%2e%2fetc%2fpasswd
200 $address/probe?x=0&y=0&frame=7
404 $address/probe?x=64&y=0
404 $address/probe?x=0&y=-1
404 $address/probe?x=0&y=0&frame=6
400 $address/probe?x=0
400 $address/probe?x=0&y=1e1
400 $address/probe?x=0&y=99999999999
400 $address/normal.png?frame=
405 -X POST -d x $address/
405 -X PUT $address/scene.json
405 -X DELETE $address/normal.png
405 -X OPTIONS $address/
405 -I $address/events
403 -H Host:example.org $address/
403 -H Host:127.0.0.1 $address/
403 -H Host:127.0.0.1:1 $address/events
403 -H Sec-Fetch-Site:cross-site $address/probe?x=0&y=0
403 -H Sec-Fetch-Site:same-site $address/normal.png
200 -H Sec-Fetch-Site:same-origin $address/normal.png
403 -H Origin:http://example.org $address/events
200 -H Origin:$address $address/normal.png
414 $address/$(printf 'a%.0s' {1..1100})
400 -H X:$(printf 'a%.0s' {1..9000}) $address/
EOS
curl -sI -X GET "$address/" >answer
grep -q "^Content-Security-Policy: default-src 'none';" answer || wrong "no policy"
if grep -o 'https\?://[^"<` ]*' <(curl -s "$address/") | grep -v '^http://www.w3.org/2000/svg$'; then wrong "something from outside"; fi
if curl -s -m 2 "http://$(hostname -I | cut -d' ' -f1):$port/" -o answer; then wrong "other addresses"; fi

# A second viewer finds the port in use.
if "$preview" view scenes/gallery.json --port "$port" >out2 2>errors2 || [[ $? != 2 ]]; then wrong "two viewers"; fi
is "two viewers" "$(cat out2 errors2)" "samplerinfo-preview: --port: $port is in use, or may not be used; 0 takes any"

# A connection that asks for nothing holds a thread: not for long.
exec {idle}<>"/dev/tcp/127.0.0.1/$port"
timeout 3 cat <&"$idle" || wrong "an idle connection stays"
exec {idle}>&-

# Streams: so many, and more when one of them goes.
fill_streams 15 # beside what listens
until_events_are 503
is "beside the streams" "$(curl -s -o answer -w '%{http_code}' "$address/normal.png")" 200
kill "${streams[@]}"
until_events_are 200
kill $listener
stop_view INT

# What goes wrong, and is mended. An error stands for a moment before it shows.
cat >good.json <<'EOS'
{"image": {"width": 16, "height": 12, "samples": 2},
 "frames": {"first": 1, "last": 3},
 "objects": {"sheet": {"shape": {"obj": "mesh.obj"}}},
 "nodes": {"uv": {"plugin": "ramp", "params": {"from": 0, "to": 1}},
           "op": {"plugin": "TexFloatOp", "params": {"float_a": "uv", "float_b": 2}}},
 "pictures": {"a": {"from": "uv"}, "b": {"from": "op.product"}}}
EOS
square='v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n'
printf '%bf 1/1 2/2 3/3 4/4\n' "$square" >mesh.obj
cp good.json scene.json
cp "$module" module.so
start_view scene.json 0 --plugin module.so
listen
until_said "start" "event: done"
breaks() { # WHAT LINE: says it, and goes on with the former pictures
  until_said "$1" "$2"
  said | sed -n '/"of":"files"/{s/.*"lines":\["//; s/"\]}$//; s/","/\n/g; s/\\"/"/g; p}' >lines
  tail -n "$(wc -l <lines)" errors | cmp - lines || wrong "$1: not on the terminal"
  curl -s "$address/b.png" | cmp - former || wrong "$1: another picture"
  mark
}
mended() { # WHAT PICTURES: those that are rendered then
  until_said "$1" '","lines":[]'
  if [[ -n $2 ]]; then until_said "$1" "event: done"; fi
  is "$1" "$(rendered final)" "$2"
  mark
}
curl -s "$address/b.png" >former
mark
: >scene.json
sleep 0.08
cp good.json scene.json
sleep 0.5
is "empty for a moment" "$(said | grep -E '^event: (errors|picture)')$(cat errors)" ""
rm scene.json
breaks "no scene" "scene.json: there is no file"
cp good.json scene.json
mended "the scene is there again" ""
save 's/op.product/op.produkt/; s/"to": 1/"to": 1, "two": 2/'
breaks "a mistake" "scene.json:4:68: error: nodes.uv.params.two: ramp has no parameter"
save 's/op.product/op.produkt/; s/float_b/float_c/'
breaks "two mistakes" 'float_a\"?","scene.json:6:42: error: pictures.b.from: TexFloatOp has no output'
save 's/x/x/'
mended "no mistakes" ""
for _ in {1..10}; do
  save 's/op.product/op.produkt/'
  sleep 0.07
done
said | grep -q 'no output \\"produkt' || wrong "a mistake that is saved again and again does not show"
cp good.json scene.json
mended "no mistakes again" ""
mkfifo fifo
mv fifo scene.json
breaks "a FIFO" "scene.json: there is no file"
rm scene.json
save 's/"float_b": 2/"float_b": 3/'
mended "another value" "b"
curl -s "$address/b.png" >former
rm mesh.obj
breaks "no mesh" 'error: objects.sheet.shape.obj: no file \"mesh.obj\"'
printf '%bf 1/1 2/2 3/3\n' "$square" >mesh.obj
mended "another mesh" "a,b"
curl -s "$address/b.png" >former
printf '%bf 1/1 2/2 9/3\n' "$square" >mesh.obj
breaks "a broken mesh" "error: objects.sheet.shape: mesh.obj: line 9: there is no v 9"
printf '%bf 1/1 2/2 3/3\n' "$square" >mesh.obj
mended "the mesh again" "a,b"
save 's/mesh.obj/other.obj/'
breaks "a mesh that is still to be made" 'no file \"other.obj\"'
mv mesh.obj other.obj
mended "the other mesh" "a,b"
curl -s "$address/b.png" >former

# The module, written as a linker may: in its place, while it is loaded.
head -c 3000 "$module" >module.so
breaks "half a module" 'the plugin library \"module.so\" cannot be used: it is cut off'
cat "$module" >module.so
mended "the module" "a,b"
curl -s "$address/b.png" | cmp - former || wrong "the module: another picture"

# Another frame is rendered when it is asked for.
curl -s "$address/b.png?frame=2" -o answer
until_said "another frame" '"frame":2,"warnings"'
same_pictures scene.json 2
same_pictures scene.json 1
is "the last frame" "$(status "a.png?frame=3")" 200
is "the frame before it" "$(status "a.png?frame=2")" 200
mark
save 's/mesh.obj/other.obj/; s/"last": 3/"last": 1/'
until_said "a shorter sequence" "event: done"
kill $listener
stop_view TERM
if [[ -n $(find "${TMPDIR:-/tmp}" -maxdepth 1 -name 'samplerinfo-??????' -newer good.json) ]]; then wrong "copies are left"; fi

# Frames that are left at once hold up nobody: pages are served, and any frame is probed.
cp other.obj mesh.obj
save 's/"last": 3/"last": 60/'
start_view scene.json 0 --size 1600x1200 --samples 64
asking=()
for number in {1..60}; do
  curl -s -m 0.3 "$address/b.png?frame=$number" -o /dev/null &
  asking+=($!)
done
wait "${asking[@]}" || true
listen
is "a page behind many frames" "$(status "" 2)" 200
is "a probe behind many frames" "$(status "probe?x=800&y=600&frame=30")" 200
kill $listener
stop_view INT

# Two pages that probe a frame each, all the time, get their answers and all their pictures.
start_view scene.json 0 --size 320x240 --samples 16
listen
for number in 1 2; do
  while [[ ! -e enough ]] && kill -0 "$viewer" 2>/dev/null; do
    status "probe?x=160&y=120&frame=$number"
    echo
  done >statuses$number &
  asking[number]=$!
done
until_said "a frame beside another" '"frame":1,"warnings"'
until_said "another beside it" '"frame":2,"warnings"'
touch enough
wait "${asking[1]}" "${asking[2]}"
is "probes of two frames" "$(sort -u statuses1 statuses2)" 200
kill $listener
stop_view TERM

# A plugin that throws when a frame begins and ends; without it there is a page.
save 's/"op":/"bad": {"plugin": "Broken"}, &/'
start_view scene.json 0 --plugin "$throwing"
listen
thrown='scene.json: error: bad: no frame'
until_said "a plugin that throws" "\"of\":\"render\",\"lines\":[\"$thrown\"]"
is "no page yet" "$(status "") $(cat answer)" "503 $thrown"
is "no picture" "$(status a.png)" 503
save 's/x/x/'
mended "the plugin is gone" "a,b"
is "a page" "$(status "")" 200
is "on the terminal, of its beginning and end" "$(cat errors)" "$thrown"$'\n'"$thrown"
kill $listener
stop_view INT

# A module that needs a library beside it.
mkdir beside
for file in SamplerInfo libquor; do
  sed 's/libquor[.]so/libquux.so/g' "$(dirname "$module")/$file.so" >"beside/${file/quor/quux}.so"
done
start_view scene.json 0 --plugin beside/SamplerInfo.so
stop_view INT
if TMPDIR=$PWD/nowhere "$preview" view scene.json >out 2>errors || [[ $? != 1 ]]; then wrong "no TMPDIR: no exit code 1"; fi
is "no TMPDIR" "$(cat out errors)" "samplerinfo-preview: no plugin library can be copied to $PWD/nowhere and loaded from there; TMPDIR names another folder"

# What a picture is rendered again for: what is seen there, as the command line has it.
cp rendered/a.*png one.png
cp rendered/b.*png two.png
cat >good.json <<'EOS'
{"image": {"width": 16, "height": 12, "samples": 2},
 "objects": {"sheet": {"shape": {"obj": "other.obj"}}},
 "nodes": {"uv": {"plugin": "ramp", "params": {"from": 0, "to": 1}},
           "op": {"plugin": "TexFloatOp", "params": {"float_a": "uv", "float_b": 2}},
           "photo": {"plugin": "image", "params": {"file": "one.png"}}},
 "pictures": {"a": {"from": "uv"}, "b": {"from": "op.product", "caption": "twice"}, "c": {"from": "photo"}}}
EOS
cp good.json scene.json
start_view scene.json 0 --only c
listen
until_said "--only" 'event: done'
is "--only" "$(said | sed -n 's/.*"warnings"://p')" "[]}"
kill $listener
stop_view TERM
start_view scene.json 0 --set photo.file=two.png --set op.float_b=4
listen
until_said "start" "event: done"
while IFS='|' read -r what pictures command; do
  mark
  eval "$command"
  until_said "$what" "event: done"
  is "$what" "$(rendered final)" "$pictures"
done <<'EOS'
a value|a,b|save 's/"to": 1/"to": 2/'
a value that the command line has|| save 's/"to": 1/"to": 2/; s/"float_b": 2/"float_b": 3/'
another caption|| save 's/"to": 1/"to": 2/; s/twice/four times/'
another range|b|save 's/"to": 1/"to": 2/; s/"twice"/"four times", "range": [0, 2]/'
the image|c|cp one.png two.png
an image that is not used|| cp two.png one.png; touch scene.json
the mesh|a,b,c|printf '%bf 1/1 2/2 3/3\n' "${square//1/0.5}" >other.obj
an object|a,b,c|save 's/"four/"for/; s/"other.obj"}/"other.obj"}, "transform": {"rotate": [0, 0, 30]}/; s/twice/four times/'
EOS
same_pictures scene.json 1 --set photo.file=two.png --set op.float_b=4
curl -s "$address/scene.json" | grep -q '"caption": *"four times"' || wrong "the former caption"
kill $listener
stop_view TERM

# The end, in the middle of a long render with a page that listens.
for signal in INT TERM; do
  start_view scenes/gallery.json 0 --size 3000x2000 --samples 256
  listen
  until grep -q '"picture\|event: picture' said; do sleep 0.05; done
  stop_view $signal
  wait $listener || true
done

# Browsers leave the default port out, which not everybody may use.
: >out
"$preview" view good.json --port 80 >out 2>errors &
viewer=$!
until [[ -s out ]] || ! kill -0 $viewer 2>/dev/null; do sleep 0.02; done
if [[ -s out ]]; then
  address=http://localhost
  is "the default port" "$(status a.png)" 200
  stop_view TERM
fi
viewer=

# And while a large mesh is loaded, at first and again.
printf '%b' "$square" >large.obj
yes 'f 1/1 2/2 3/3' | head -n 1000000 >>large.obj || true
save 's/other.obj/large.obj/'
env --default-signal=INT "$preview" view scene.json --port 0 >out 2>errors &
viewer=$!
catches_int() { [[ /proc/$viewer/exe -ef $preview ]] && ((0x$(sed -n 's/^SigCgt:\t//p' /proc/$viewer/status) & 1 << (2 - 1))); }
until catches_int; do sleep 0.02; done
sleep 0.2
stop_view INT
is "the first load" "$(cat out errors)" ""
cp good.json scene.json
start_view scene.json
listen
until_said "start" "event: done"
save 's/other.obj/large.obj/'
sleep 0.3
stop_view TERM
wait $listener || true

# What cannot be viewed at all.
refuses() { # LINE OPTION...
  if "$preview" view "${@:2}" >out 2>errors || [[ $? != 2 ]]; then wrong "$1: no exit code 2"; fi
  is "$1" "$(cat out errors)" "$1"
}
save 's/"to"/to/'
refuses "$("$preview" render scene.json -o never 2>&1)" scene.json
refuses 'samplerinfo-preview: --only: no picture "xyz"' good.json --only xyz
