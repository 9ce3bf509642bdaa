#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Unpacks an AArch64 Debian tree to build against and to run from with qemu, and prints where it is. Nothing in it is
# configured or run.
set -euo pipefail
cd "$(dirname "$0")"
. ./debian.sh

root=$quorvel_cache/arm64-root
packages=libc6-dev,libstdc++-12-dev,libhwy-dev,libgtest-dev,libcli11-dev,libfmt-dev,nlohmann-json3-dev,libpng-dev,libraw-dev,libtiff-dev
if [ ! -e "$root/.complete" ] || [ "$(cat "$root/.complete")" != "$packages" ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "arm64-root: making a root needs root" >&2
    exit 1
  fi
  read -r address codename < <(debian_main_archive)
  echo "arm64-root: making $root" >&2
  rm -rf "$root"
  mkdir -p "$root"
  log=$(mktemp)
  trap 'rm -f "$log"' EXIT
  if ! debootstrap --foreign --arch=arm64 --variant=minbase --include="$packages" "$codename" "$root" "$address" \
      >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "arm64-root: debootstrap failed (its last lines are above)" >&2
    exit 1
  fi
  for package in "$root"/var/cache/apt/archives/*.deb; do dpkg-deb -x "$package" "$root"; done
  # Links that begin at / would lead out of the tree.
  find "$root/usr/lib" -type l -lname '/*' -printf '%p %l\n' | while read -r link target; do
    ln -snf "$(realpath -m --relative-to="$(dirname "$link")" "$root$target")" "$link"
  done
  rm -rf "$root/var/cache/apt" "$root/debootstrap" "$root/usr/share/doc"
  echo "$packages" >"$root/.complete"
fi
echo "$root"
