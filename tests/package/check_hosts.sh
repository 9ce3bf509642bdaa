#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_hosts.sh HOSTS_SOURCE LINE CMAKE_OPTIONS...
# Builds the hosts of the documentation against the installed tree and runs them: all print the same line, which is
# left in the file LINE, and its checksum is the one that the documentation promises for every system.
set -euo pipefail
source=$1 line=$2
shift 2
build=$line-build
rm -rf "$build" "$line"

cmake -S "$source" -B "$build" "$@" >/dev/null
cmake --build "$build" >/dev/null
cmake --build "$build" --target run | tr -d '\r' | grep '^quorvel ' | tee "$line-all"
programs=$(find "$build" -maxdepth 1 -name 'host_*' -type f | wc -l)
if [ "$(wc -l <"$line-all")" -ne "$programs" ] || [ "$(sort -u "$line-all" | wc -l)" -ne 1 ]; then
  echo "$programs programs should have printed one and the same line"
  exit 1
fi
checksum=$(sed -n '1s/.*: //p' "$line-all")
grep -q ": $checksum\$" "$source/../windows.md" || { echo "docs/windows.md does not promise $checksum"; exit 1; }
head -n 1 "$line-all" >"$line"
