#!/usr/bin/env bash
# usage: scripts/install.sh SECTION...
# Installs the packages of these sections of scripts/packages.txt, if any of them is missing.
set -euo pipefail
. "$(dirname "$0")/common.sh"

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
    [[ $status == installed ]] || missing+=("$package")
  done
done

if ((${#missing[@]} == 0)); then
  echo "Nothing to install."
  exit
fi

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || fail "run as root or with sudo to install: ${missing[*]}"
  as_root=(sudo)
fi

apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q "$@"
}

echo "Installing ${missing[*]}"
for package in "${missing[@]}"; do
  [[ $package != *:* ]] || "${as_root[@]}" dpkg --add-architecture "${package#*:}"
done
apt update || echo "Not every package index could be read; trying all the same."

# With a second architecture enabled apt may refuse while one index is out of step with the others.
# Naming the release settles which versions are meant; nothing is ever downgraded.
apt install -y --no-install-recommends "${missing[@]}" ||
  apt install -y --no-install-recommends -t bookworm "${missing[@]}"
