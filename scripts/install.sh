#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/install.sh SECTION...
#        scripts/install.sh --unpack FOLDER SECTION...
# Installs the packages of these sections of scripts/packages.txt, if any of them is missing; or only
# unpacks them into a folder, with what they directly depend on. What apt says goes to
# build/install.log and is shown if it fails; the exit code is 100 then, as apt's.
set -euo pipefail
. "$(dirname "$0")/common.sh"

folder=
if [[ ${1:-} == --unpack ]]; then
  folder=$2
  shift 2
fi

packages_of() {
  local found='' line
  while read -r line; do
    line=${line%%#*}
    line=${line// /}
    case $line in
      '') ;;
      "[$1]") found=yes ;;
      '['*) [[ -z $found ]] || return 0 ;;
      *) [[ -z $found ]] || echo "$line" ;;
    esac
  done <scripts/packages.txt
  [[ -n $found ]] || fail "no section [$1] in scripts/packages.txt"
}

missing=()
for section in "$@"; do
  packages=$(packages_of "$section")
  for package in $packages; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) || true
    [[ -z $folder && $status == installed ]] || missing+=("$package")
  done
done

if ((${#missing[@]} == 0)); then
  echo "Nothing to install."
  exit
fi
command -v apt-get >/dev/null || fail "no apt-get here to install: ${missing[*]}"

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || fail "run as root or with sudo to install: ${missing[*]}"
  as_root=(sudo)
fi

mkdir -p build
log=$PWD/build/install.log
: >"$log"

# Waits up to two minutes while another apt is at work.
apt() {
  local end=$((SECONDS + 120))
  until "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C \
    apt-get -q -o APT::Update::Error-Mode=any "$@" </dev/null >>"$log" 2>&1; do
    tail -n 3 "$log" | grep -q '^E: Could not get lock' || return
    ((SECONDS < end)) || fail "another apt still holds its lock, after two minutes"
    sleep 3
  done
}

add_architecture() {
  ! dpkg --print-foreign-architectures | grep -qx "$1" || return 0
  echo "Adding the architecture $1 to this system's packages; it stays."
  "${as_root[@]}" dpkg --add-architecture "$1"
}

# With a second architecture enabled apt may refuse while one index is out of step with the others.
# Naming the release settles which versions are meant; nothing is ever downgraded.
install() {
  local codename
  codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
  apt install -y --no-install-recommends "${missing[@]}" ||
    apt install -y --no-install-recommends -t "$codename" "${missing[@]}"
}

unpack() {
  local downloads dependencies package
  downloads=$(mktemp -d)
  mapfile -t dependencies < <(apt-cache depends "${missing[@]}" 2>>"$log" | sed -n 's/^  Depends: //p')
  (cd "$downloads" && apt download "${missing[@]}" "${dependencies[@]}") || return
  for package in "$downloads"/*.deb; do dpkg-deb --extract "$package" "$folder" || return; done
  rm -r "$downloads"
}

for package in "${missing[@]}"; do
  [[ $package != *:* ]] || add_architecture "${package#*:}"
done
if [[ -z $folder ]]; then
  echo "Installing ${missing[*]}"
  get=install
else
  echo "Unpacking ${missing[*]}"
  get=unpack
fi
index_read=yes
apt update || index_read=
if ! "$get"; then
  [[ -n $index_read ]] ||
    fail "apt could not get ${missing[*]}: not every index could be read; is there a network? See build/install.log" 100
  cat "$log" >&2
  fail "apt could not get ${missing[*]}" 100
fi
