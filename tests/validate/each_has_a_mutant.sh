#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: each_has_a_mutant.sh LIST...
# Reads what --list prints; names the checks that no broken module of these lists is there for.
set -euo pipefail

without=(identifiers.descriptors life_cycle.parts loading.exports notes.{bounds,gradients,inputs} # the notes fail nothing
  samplerinfo.clip_planes.{instances,log} samplerinfo.interfaces.many
  samplerinfo.life_cycle.made
  samplerinfo.{copies,descriptors,interface_list,objects,throwing_input})
missing=$(awk '{ print $1 }' | grep -vxF "$(sed -n 's/^fails: \([a-z0-9_.]*\): .*/\1/p' "$@")" |
  grep -vxF "$(printf '%s\n' "${without[@]}")") || true
[[ -z $missing ]] || { printf 'no mutant: %s\n' "$missing" && exit 1; }
