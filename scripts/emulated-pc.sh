#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/emulated-pc.sh [COMMAND [ARGUMENT...]]
# Runs a command as root in an emulated PC, which executes the 32-bit programs that this system's kernel
# may refuse. The PC sees this system's files and keeps what it writes to itself; it has no network.
# The command's output and exit code come out here. Without a command only the packages are fetched.
set -euo pipefail
. "$(dirname "$0")/common.sh"

folder=$PWD/build/emulated-pc
unpacked=$folder/unpacked
seconds=1080 # for the command

# The kernel, and a first file system from which it mounts this system's.
make_kernel() {
  local first=$folder/first modules
  rm -rf "$first"
  modules=$(echo "$unpacked"/lib/modules/*)
  mkdir -p "$first/bin" "$first/lib/modules/${modules##*/}"
  cp "$unpacked/bin/busybox" "$first/bin/"
  (cd "$modules" && cp --parents -r -t "$first/lib/modules/${modules##*/}" modules.builtin modules.order \
    kernel/drivers/virtio kernel/net/9p kernel/fs/{9p,fscache,netfs,overlayfs})
  "$unpacked/bin/busybox" depmod -b "$first" "${modules##*/}"
  cat >"$first/init" <<'INIT'
#!/bin/busybox sh
/bin/busybox mkdir -p /proc /low /up /root
/bin/busybox --install -s /bin
mount -t proc proc /proc
modprobe -a virtio_pci 9pnet_virtio 9p overlay
options=trans=virtio,version=9p2000.L,msize=262144
mount -t 9p -o ro,cache=loose,$options system /low
mount -t tmpfs memory /up
mkdir /up/upper /up/work
mount -t overlay -o lowerdir=/low,upperdir=/up/upper,workdir=/up/work overlay /root
mount -t proc proc /root/proc
mount -t sysfs sys /root/sys
mount -t devtmpfs dev /root/dev
mount -t 9p -o cache=none,$options folder "/root$folder"
stty -F /root/dev/ttyS1 raw
# Through a pipe: on a terminal Wine would draw a console.
{
  chroot /root /bin/bash "$folder/command" </root/dev/null 2>&1
  echo $? >"/root$folder/status"
} | cat >/root/dev/ttyS1
poweroff -f
INIT
  chmod +x "$first/init"
  (cd "$first" && find . | "$unpacked/bin/busybox" cpio -o -H newc) >"$folder/initrd.new"
  cp "$unpacked"/boot/vmlinuz-* "$folder/kernel"
  rm -rf "$unpacked" "$first"
  mv "$folder/initrd.new" "$folder/initrd"
}

scripts/install.sh emulator
mkdir -p "$folder"
if [[ ! $folder/initrd -nt scripts/emulated-pc.sh && ! -d $unpacked ]]; then
  rm -rf "$unpacked.part"
  scripts/install.sh --unpack "$unpacked.part" emulated-kernel
  mv "$unpacked.part" "$unpacked"
fi
(($# > 0)) || exit 0
if [[ -d $unpacked ]]; then make_kernel; fi

printf 'export PATH=%q\ncd %q\n' "$PATH" "$PWD" >"$folder/command"
printf '%q ' "$@" >>"$folder/command"
rm -f "$folder/status" "$folder/console.log"
code=0
timeout --foreground -k 10 "$seconds" qemu-system-x86_64 -nodefaults -display none -no-reboot -nic none \
  -accel tcg,thread=multi -cpu qemu64 -smp "$(nproc)" -m 2048 \
  -kernel "$folder/kernel" -initrd "$folder/initrd" \
  -append "console=ttyS0 quiet panic=-1 mitigations=off folder=\"$folder\"" \
  -serial "file:$folder/console.log" -serial stdio \
  -virtfs local,path=/,mount_tag=system,security_model=none,readonly=on,multidevs=remap \
  -virtfs "local,path=$folder,mount_tag=folder,security_model=none" </dev/null || code=$?
if [[ ! -s $folder/status ]]; then
  why="ended by itself, with exit code $code, before the command did"
  ((code != 124 && code != 137)) || why="did not end the command within its time limit, $seconds s"
  fail "the emulated PC $why; see build/emulated-pc/console.log"
fi
exit "$(<"$folder/status")"
