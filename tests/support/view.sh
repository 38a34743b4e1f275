# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by tests of `view`: goes to a folder of its own, which is gone at the end, and so are the viewers.

# shellcheck disable=SC2154 # the test's
preview=$(realpath "$preview")
folder=$(mktemp -d)
viewer=
clean_up() {
  if ((BASHPID != $$)); then return; fi # a child that ends before it becomes a program
  if [[ -n $viewer ]]; then
    kill -KILL "$viewer"
    wait "$viewer" || true
  fi 2>/dev/null
  rm -rf "$folder"
}
trap clean_up EXIT
cd "$folder" || exit

wrong() {
  echo "$1"
  exit 1
}
# A shell lets what runs in the background ignore Ctrl+C.
start_view() { # SCENE [PORT [OPTION...]]
  : >out
  env --default-signal=INT "$preview" view "$1" --port "${2:-0}" "${@:3}" >out 2>errors &
  viewer=$!
  until [[ -s out ]]; do
    kill -0 $viewer 2>/dev/null || wrong "no viewer: $(cat errors)"
    sleep 0.02
  done
  address=$(sed 's|/ .*||' out)
}
stop_view() { # SIGNAL: it ends with exit code 0 within half a second
  local begin=${EPOCHREALTIME/./} end
  kill -"$1" "$viewer"
  wait "$viewer" || wrong "$1: exit code $?"
  end=${EPOCHREALTIME/./}
  viewer=
  ((end - begin < ${VIEW_ENDS_WITHIN:-500} * 1000)) || wrong "$1: ended after $(((end - begin) / 1000)) ms"
}
save() { sed "$1" good.json >scene.json; }  # SED-SCRIPT

# What the viewer says, from its start on.
listen() {
  : >said
  curl -sN "$address/events" >>said &
  # shellcheck disable=SC2034 # the tests end it
  listener=$!
  marked=0
}
# The viewer serves 16.
fill_streams() { # COUNT
  rm -f stream*
  streams=()
  for ((n = 1; n <= $1; ++n)); do
    curl -sfN --retry 20 --retry-delay 1 "$address/events" >"stream$n" &
    streams+=($!)
  done
  until [[ $(find . -name 'stream*' -size +0 | wc -l) == "$1" ]]; do sleep 0.05; done
}
until_events_are() { # STATUS
  for _ in {1..20}; do
    if [[ $(curl -s -m 0.3 -o answer -w '%{http_code}' "$address/events") == "$1" ]]; then return; fi
    sleep 0.1
  done
  wrong "streams: never $1"
}
mark() { marked=$(wc -c <said); }
said() { tail -c "+$((marked + 1))" said; }
until_said() { # WHAT TEXT: since the mark
  for _ in {1..400}; do
    if grep -qF -- "$2" <(said); then return; fi
    sleep 0.025
  done
  wrong "$1: it never said $2, but $(said | grep -A1 errors | tail -2)"
}
# The pictures that were rendered since the mark, each once; with anything behind it only those that are final.
rendered() { said | sed -n "s/^data: {\"frame\":[0-9]*,\"name\":\"\([^\"]*\)\",\"version\":[0-9]*${1:+,\"numbers\"}.*/\1/p" | sort -u | paste -sd,; }
