#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/view_saves_test.sh PREVIEW SCENES SAVES [MORE-MEMORY]
# Saves the gallery every 70 ms while two pages listen, look at pictures and probe; at the end there are the pictures of
# the last save. The memory may be greater by MORE-MEMORY per cent than after save 100, and at
# most three times as great after 200 frames of a sequence as after 50.
set -euo pipefail

preview=$1 scenes=$(realpath "$2") saves=$3 more=${4:-}
. "$(dirname "$(realpath "$0")")/support/view.sh"

cp -r "$scenes" scenes
mv scenes/gallery.json good.json
edit() { # NUMBER: now the camera, now one node
  sed "s/\"fov\": 38/\"fov\": $((38 + $1 / 2 % 20))/; s/\"float3\": 0.05}/\"float3\": 0.0$((1 + $1 % 9))}/" good.json >scenes/gallery.json
}
# Of the viewer at rest, in kB.
memory() {
  until_said "the last save" "event: done"
  awk '/^VmRSS/ { print $2 }' "/proc/$viewer/status"
}

edit 0
start_view scenes/gallery.json 0 --size 160x120 ${VIEW_THREADS:+--threads "$VIEW_THREADS"}
# The HTTP library fills its tables at the first request; the thread sanitizer sees that only if it comes to an end.
curl -s "$address/scene.json" -o answer
listen
pages=()
for _ in 1 2; do
  (
    curl -sN "$address/events" -o /dev/null & # ends with the viewer
    while kill -0 "$viewer"; do
      curl -s "$address/normal.png" "$address/shaded.png" "$address/probe?x=80&y=60" -o /dev/null -o /dev/null -o /dev/null || true
      sleep 0.03
    done 2>/dev/null
  ) &
  pages+=($!)
done
before=0
for ((i = 1; i <= saves; ++i)); do
  mark
  edit "$i"
  sleep 0.07
  if ((i == 100)); then before=$(memory); fi
done
after=$(memory)
kill "${pages[@]}"
echo "resident after save 100: $before kB, after save $saves: $after kB"
"$preview" render scenes/gallery.json -o rendered --quiet --size 160x120 ${VIEW_THREADS:+--threads "$VIEW_THREADS"}
for file in rendered/*.png; do
  name=$(basename "$file" .png)
  if [[ $name == contact_sheet ]]; then continue; fi
  curl -s "$address/$name.png" | cmp - "$file" || wrong "$name"
done
kill $listener
stop_view INT
if [[ -s errors ]]; then wrong "$(head -500 errors)"; fi
if [[ -n $more ]] && ((after * 100 > before * (100 + more))); then wrong "more memory"; fi
if [[ -z $more ]]; then exit; fi

sed 's/"last": [0-9]*/"last": 200/' scenes/moving_camera.json >scenes/long.json
start_view scenes/long.json 0 --size 40x30 --samples 1
listen
for frame in {1..200}; do
  if ((frame % 50 == 0)); then mark; fi
  curl -s "$address/shaded.png?frame=$frame" -o /dev/null
  if ((frame == 50)); then before=$(memory); fi
done
after=$(memory)
echo "resident after frame 50: $before kB, after frame 200: $after kB"
kill $listener
stop_view INT
# Some 80 kB are kept of each frame.
if ((after > before * 3)); then wrong "more memory for frames"; fi
