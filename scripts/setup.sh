#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# setup.sh [windows|arm64]: installs the packages of scripts/packages.txt, and of that system's list, which this machine
# does not have yet.
set -euo pipefail
cd "$(dirname "$0")/.."

lists=(scripts/packages.txt)
if [ $# -gt 0 ]; then lists+=("scripts/packages-$1.txt"); fi
wanted=$(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "${lists[@]}")

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "setup: not a Debian system; make sure that the equivalents of these are installed:" $wanted >&2
  exit 0
fi

missing=()
for package in $wanted; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: every package is there"
  exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "setup: needs root or sudo to install: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "setup: the installation failed (its last lines are above)" >&2
  exit 1
fi
