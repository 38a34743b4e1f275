#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/docs.sh
# Writes the tables of docs/plugins.md anew, from what the library registers, and the pictures in docs/pictures.
set -euo pipefail
. "$(dirname "$0")/common.sh"

document=docs/plugins.md
marker='## Parameters as registered'

grep -qxF "$marker" "$document" || fail "no line \"$marker\" in $document"
build_preset release "build browser" samplerinfo samplerinfo-preview
preview=build/release/preview/samplerinfo-preview
pictures=build/pictures
rm -rf "$pictures"
step "pictures" scripts/docs-pictures.sh "$preview" "$pictures" chromium
rm -rf docs/pictures
mv "$pictures" docs/pictures
tables=$("$preview" list --markdown)
text=$(sed "/^$marker\$/q" "$document")
printf '%s\n\n%s\n' "$text" "$tables" >"$document"
