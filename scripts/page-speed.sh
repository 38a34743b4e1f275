#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/page-speed.sh
# How long the page of a render takes, in Chromium, to draw a network of 1,000 nodes with a picture each, and to scroll
# it by a step; fails above 2 s and 50 ms.
set -euo pipefail
. "$(dirname "$0")/common.sh"

build_preset release "build browser" samplerinfo samplerinfo-preview
preview=$PWD/build/release/preview/samplerinfo-preview
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
cd "$folder"

# Chains of 50 nodes. Each takes one input from the node before it, and the other from a sampler or another chain.
awk 'BEGIN {
  print "{\"image\": {\"width\": 32, \"height\": 24, \"samples\": 1}, \"objects\": {\"ball\": {\"shape\": {\"sphere\": {}}}},"
  print "\"nodes\": {\"sampler\": {\"plugin\": \"TexSampler\"}"
  for (i = 0; i < 999; ++i) {
    a = i % 50 ? "n" i - 1 ".sum" : "sampler.ray_time"
    b = i % 50 == 25 && i >= 50 ? "n" i - 50 ".product" : i % 3 ? 0.5 : "sampler.facing_ratio"
    if (b != 0.5) b = "\"" b "\""
    print ",\"n" i "\": {\"plugin\": \"TexFloatOp\", \"params\": {\"float_a\": \"" a "\", \"float_b\": " b "}}"
    pictures = pictures ",\n\"p" i "\": {\"from\": \"n" i ".sum\"}"
  }
  print "}, \"pictures\": {\"p\": {\"from\": \"sampler.normal\"}" pictures "}}"
}' >scene.json
"$preview" render scene.json -o out --quiet
cat >>out/index.html <<'EOS'
<script>
const nextFrame = () => new Promise(requestAnimationFrame);
addEventListener("load", async () => {
  const times = [];
  zoomTo(1);
  for (let i = 0; i < 10; ++i) await nextFrame();
  for (let i = 0; i < 100; ++i) {
    const begin = performance.now();
    network.scrollBy(i % 2 ? 120 : 0, i % 2 ? 0 : 120);
    await nextFrame();
    await nextFrame();
    times.push((performance.now() - begin) / 2);
  }
  const drawBegin = performance.now();
  show({...scene});
  await nextFrame();
  await nextFrame();
  const draw = performance.now() - drawBegin;
  times.sort((a, b) => a - b);
  console.log(`FIGURES drawing ${draw.toFixed(0)} ms, a scroll step ${times[50].toFixed(1)} ms, of 20 steps 19 within ${times[95].toFixed(1)} ms; ` +
              `${boxes.size} nodes, ${wires.length} wires${draw <= 2000 && times[95] <= 50 ? "" : ": TOO SLOW"}`);
});
</script>
EOS
chromium --headless --no-sandbox --disable-gpu --user-data-dir="$folder/profile" --window-size=1600,1000 --enable-logging=stderr \
  "file://$folder/out/index.html#/network" 2>log &
browser=$!
for _ in {1..600}; do
  if grep -q FIGURES log; then break; fi
  sleep 0.1
done
kill $browser
wait $browser || true
figures=$(grep -o 'FIGURES[^"]*' log) || fail "nothing came within a minute"
echo "${figures#FIGURES }"
[[ $figures != *SLOW* ]]
