#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/release.sh [FOLDER]
# Builds the packages of what is committed, in a clone, and puts them with their checksums into the new folder FOLDER
# (dist, if none is named). The same commit gives the same bytes, wherever it is built.
set -euo pipefail
umask 022
dist=${1:+$(realpath -m -- "$1")}
. "$(dirname "$0")/common.sh"
dist=${dist:-$PWD/dist}

[[ ! -e $dist ]] || fail "$dist: there is something already"
step "packages" scripts/install.sh build windows arm64 release
work=$PWD/build/packages
rm -rf "$work"
mkdir -p "$work"
step "clone" git clone --quiet . "$work/samplerinfo"
# Nothing of the caller's environment gets in: neither flags nor caches of compilers, nor a language.
mapfile -t variables < <(compgen -e | grep -vxE 'HOME|SHELLOPTS|BASHOPTS')
unset "${variables[@]}"
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
cd "$work/samplerinfo"
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8

step "configure package" cmake --preset package
step "build package" cmake --build --preset package
step "configure package-windows" cmake --preset package-windows
step "build package-windows" cmake --build --preset package-windows --target samplerinfo
step "configure package-arm64" cmake --preset package-arm64
step "build package-arm64" cmake --build --preset package-arm64
step "pack for Linux" cpack --config build/package/CPackConfig.cmake -B "$work/dist" -G "DEB;TGZ"
step "pack for ARM" cpack --config build/package-arm64/CPackConfig.cmake -B "$work/dist" -G TGZ
step "pack for ARM, Debian" cpack --config build/package-arm64/CPackConfig.cmake -B "$work/dist" -G DEB \
  -D "CPACK_COMPONENTS_ALL=plugin;tools;sdk" # the documents are those of any processor
step "pack for Windows" cpack --config build/package-windows/CPackConfig.cmake -B "$work/dist" -G ZIP
rm -r "$work/dist/_CPack_Packages"

# Where debuggers look for them: by the build id of what they belong to.
echo "==> debug symbols"
debug_symbols() {
  local file id
  for file in "${@:2}"; do
    id=$(readelf -n "$file" | sed -n 's/ *Build ID: //p')
    mkdir -p "debug/.build-id/${id:0:2}"
    "$1" --only-keep-debug "$file" "debug/.build-id/${id:0:2}/${id:2}.debug"
  done
}
debug_symbols objcopy build/package/{SamplerInfo.so,libquor.so,preview/samplerinfo-preview,validate/samplerinfo-validate}
debug_symbols aarch64-linux-gnu-objcopy build/package-arm64/{SamplerInfo.so,libquor.so,validate/samplerinfo-validate}
cp build/package-windows/SamplerInfo.pdb debug
tar --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" -c -C debug . |
  gzip -9n >"$work/dist/samplerinfo-$(version)-debug.tar.gz"

# Without control flow protection: the start-up code of Debian 12 has none.
step "hardening" hardening-check --nocfprotection build/package/{preview/samplerinfo-preview,validate/samplerinfo-validate}
cd "$work/dist"
step "lintian" lintian --allow-root --fail-on error ./*.deb
sums=$(sha256sum -- *)
tee SHA256SUMS <<<"$sums"
mkdir -p "$(dirname "$dist")"
mv -T "$work/dist" "$dist"
echo "The packages are in $dist"
