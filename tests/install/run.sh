#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/install/run.sh
# Goes the whole way of a person who installs build/release and writes a plugin of their own with it.
set -euo pipefail
. "$(dirname "$0")/../../scripts/common.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
version=$(version)

# says TEXT COMMAND...: the command's output has this text.
says() {
  local output
  output=$("${@:2}") || fail "${*:2} fails"
  [[ $output == *"$1"* ]] || fail "no \"$1\" in what ${*:2} says"
}

# completes EXPECTED WORD...: what is offered for the last word.
completes() {
  local COMP_WORDS=("$tree/bin/$2" "${@:3}") COMP_CWORD=$(($# - 2)) COMPREPLY
  # shellcheck source=/dev/null
  . "$tree/share/bash-completion/completions/$2"
  _samplerinfo "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  [[ ${COMPREPLY[*]} == "$1" ]] || fail "${*:2} is completed to ${COMPREPLY[*]}"
}

echo "==> install into a folder and move it"
cmake --install build/release --prefix "$work/first" >/dev/null
mv "$work/first" "$tree"
[[ $(ls "$tree/lib/quor/plugins") == SamplerInfo.so ]] || fail "more than the plugin in its folder"
[[ $(readelf -d "$tree/lib/quor/plugins/SamplerInfo.so") != *PATH* ]] || fail "the plugin has a run path"
says "SamplerInfo $version" strings "$tree/lib/quor/plugins/SamplerInfo.so"
[[ ! -e $tree/lib/libquor.so ]] || fail "a loader finds the stand-in in the place of the host's library"
if grep -rlF "$PWD" "$tree"; then fail "these files name the folder of the build"; fi

echo "==> each part alone"
for part in plugin tools sdk documents; do
  cmake --install build/release --prefix "$work/$part" --component "$part" >/dev/null
done
diff <(cd "$tree" && find . -type f -printf '%P\n' | sort) \
  <(cd "$work" && find plugin tools sdk documents -type f -printf '%P\n' | sort -u) || fail "the parts are not the whole"
[[ $(find "$work/plugin" -type f -printf '%f\n' | sort | xargs) == "LICENSE SamplerInfo.so" ]] ||
  fail "the plugin is not alone"

echo "==> the documents' links"
documents=$work/documents/share/doc/samplerinfo
links=$(grep -roP --include='*.md' '\]\(\K(?!https?:)[^) ]+(?=\))' "$documents")
while IFS=: read -r file link; do
  [[ -e ${file%/*}/${link%#*} ]] || fail "${file#"$documents/"}: there is no $link"
done <<<"$links"

echo "==> the tools, their manual pages, completion"
for tool in samplerinfo-preview samplerinfo-validate; do
  says "[\$ORIGIN/../lib/quor/standin]" readelf -d "$tree/bin/$tool"
  says "$tool $version (" "$tree/bin/$tool" --version
  for page in "$tree/share/man/man1/$tool"*.1.gz; do says "\"$tool $version\"" zcat "$page"; done
done
completes "render view check probe list" samplerinfo-preview ""
completes "--set --size --samples" samplerinfo-preview render --s
completes "--seed --seconds" samplerinfo-validate --se
completes "--set --strict" samplerinfo-preview --plugin other.so check --s
completes "--no-default-plugin" samplerinfo-preview list --no
completes "" samplerinfo-preview --plugin ""
completes "" samplerinfo-preview --plugin = ""
completes "--seed --seconds" samplerinfo-validate other.so --only tables --se
[[ $(sed -n 's/^## //p;T;q' CHANGELOG.md) == "$version" ]] || fail "CHANGELOG.md does not begin with $version"

echo "==> the commands of docs/writing-a-plugin.md"
mkdir "$work/empty"
awk '/^```/ { inside = $0 == "```sh"; next } inside' docs/writing-a-plugin.md >"$work/commands.sh"
(cd "$work/empty" && P=$tree bash -eux "$work/commands.sh" >"$work/log" 2>&1) ||
  { cat "$work/log" && fail "a command of docs/writing-a-plugin.md fails"; }
"$work/tools/bin/samplerinfo-validate" "$work/empty/Clamp.so" --only 'loading.*'

echo "==> build a plugin with the sdk, validate and render it"
cmake --install build/release --prefix "$work/sdk" --component tools >/dev/null
cmake -G Ninja -S "$documents/examples/clamp" -B "$work/clamp" -DCMAKE_PREFIX_PATH="$work/sdk" >/dev/null
cmake --build "$work/clamp"
plugin=$work/clamp/Clamp.so
"$work/tools/bin/samplerinfo-validate" "$plugin"
"$tree/bin/samplerinfo-validate" "$tree/lib/quor/plugins/SamplerInfo.so"
"$tree/bin/samplerinfo-preview" check "$tree/share/samplerinfo/scenes/gallery.json"
"$work/tools/bin/samplerinfo-preview" --plugin "$plugin" render tests/install/scene.json -o "$work/out"
cmp "$work/out/clamped.png" "$work/out/expected.png"
! cmp -s "$work/out/clamped.png" "$work/out/before.png" || fail "nothing was clamped"
