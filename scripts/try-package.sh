#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/try-package.sh [FOLDER]
# Tries, as root, what scripts/release.sh has put into FOLDER (dist, if none is named) on a bare Debian 12 in build/bare:
# uses what the .debs install and the .tar.gz unpacks, and looks for what stays when the .debs are purged.
set -euo pipefail
dist=${1:+$(realpath -m -- "$1")}
. "$(dirname "$0")/common.sh"
dist=${dist:-$PWD/dist}

root=$PWD/build/bare
log=$PWD/build/try-package.log

# bare COMMAND...: runs it there, with processes and an environment of its own.
bare() {
  unshare --mount --pid --fork --root="$root" --mount-proc \
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@" </dev/null
}
# logged COMMAND...: shows what it says only if it fails.
logged() { "$@" >"$log" 2>&1 || { cat "$log" && return 1; }; }

# The files, except for what apt and dpkg keep of any package.
files() {
  (cd "$root" && find . -path ./tmp -prune -o -path ./var/cache -prune -o -path ./var/lib/apt -prune -o \
    -path ./var/log -prune -o -print | sort)
}

# use PREFIX: renders a scene and validates the plugin with what is installed there.
use() {
  local scenes=$1/share/samplerinfo/scenes
  bare "$1/bin/samplerinfo-preview" render "$scenes/gallery.json" -o /tmp/out --size 160x120 --samples 1 &&
    [[ -s $root/tmp/out/contact_sheet.png ]] && rm -r "$root/tmp/out" &&
    logged bare "$1/bin/samplerinfo-validate" "$1/lib/quor/plugins/SamplerInfo.so" && tail -n 1 "$log"
}

# Each page has a title and can be read.
manual() {
  local page
  for page in "$root"/usr/share/man/man1/samplerinfo-*; do
    page=$(basename "$page" .1.gz)
    bare whatis "$page" && bare man "$page" | grep '^SYNOPSIS' >/dev/null || return
  done
}

# The shell finds the completion by the program's name.
completion() {
  # shellcheck disable=SC2016 # the inner shell's
  bare bash -c '. /usr/share/bash-completion/bash_completion
    _completion_loader samplerinfo-preview
    COMP_WORDS=(samplerinfo-preview ch) COMP_CWORD=1
    _samplerinfo samplerinfo-preview ch samplerinfo-preview
    echo "${COMPREPLY[*]}"' | grep -x check
}

((EUID == 0)) || fail "only root can make a system of its own"
packages=("$dist"/*_{amd64,all}.deb) archive=$(echo "$dist"/samplerinfo-*-Linux-x86_64.tar.gz)
[[ ${#packages[@]} == 4 && -f $archive ]] || fail "$dist: there are not four .debs and one .tar.gz for Linux"
step "packages" scripts/install.sh bare
mkdir -p build
rm -rf "$root"
step "a bare Debian 12" logged debootstrap --variant=minbase --include=bash-completion,man-db bookworm "$root"
step "what there is to install" logged bare apt-get update
before=$(files)

cp "${packages[@]}" "$root/tmp"
step "install" logged bare apt-get install -y --no-install-recommends "${packages[@]/#"$dist"/\/tmp}"
step "use" use /usr
step "manual pages" manual
step "completion" completion
step "purge" logged bare apt-get purge -y samplerinfo samplerinfo-{tools,dev,doc}
mkdir "$root/opt/samplerinfo"
tar -xzf "$archive" --strip-components=1 -C "$root/opt/samplerinfo"
step "use the archive" use /opt/samplerinfo
rm -r "$root/opt/samplerinfo"
step "purge what the package needed" logged bare apt-get autoremove -y --purge
diff <(echo "$before") <(files) || fail "the package leaves something"
echo "Nothing of the package stays"
