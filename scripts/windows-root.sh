#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes a 32-bit Debian root that holds Wine, and prints where it is. The machine's own packages cannot serve: the 32-bit
# Wine does not install beside 64-bit ones whose security updates came at another time.
set -euo pipefail
cd "$(dirname "$0")"
. ./debian.sh

root=$quorvel_cache/wine32-root
if [ ! -e "$root/.complete" ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "windows-root: making a root needs root" >&2
    exit 1
  fi
  read -r address codename < <(debian_main_archive)
  echo "windows-root: making $root (about a minute and 1.1 GB)" >&2
  rm -rf "$root"
  mkdir -p "$root"
  log=$(mktemp)
  trap 'rm -f "$log"' EXIT
  if ! debootstrap --arch=i386 --variant=minbase --include=wine32,wine "$codename" "$root" "$address" >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "windows-root: debootstrap failed (its last lines are above)" >&2
    exit 1
  fi
  rm -rf "$root"/var/cache/apt/archives/*.deb "$root"/usr/share/doc
  if ! ./wine.sh cmd /c ver >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "windows-root: Wine does not start" >&2
    exit 1
  fi
  touch "$root/.complete"
fi
echo "$root"
