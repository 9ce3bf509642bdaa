#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# wine.sh PROGRAM ARGUMENTS...: runs a Windows program in the root of windows-root.sh, in which this project stands under
# its own path. The mounts live in a name space of the run's own and go with it. Wine's settings lie in the build
# directory: each project then has a Wine server of its own, which is the process that opens files and must see them.
set -euo pipefail
. "$(dirname "$0")/debian.sh"
project=$(cd "$(dirname "$0")/.." && pwd)
root=$quorvel_cache/wine32-root
mkdir -p "$root$project" "$project/build"
export WINEPREFIX=$project/build/wine
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=' HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8
run() {
  unshare --mount bash -c '
    set -e
    root=$1 project=$2 directory=$3
    shift 3
    mount -t proc proc "$root/proc"
    mount --bind "$project" "$root$project"
    exec chroot "$root" bash -c "cd \"\$0\" 2>/dev/null || cd /; exec wine \"\$@\"" "$directory" "$@"
  ' wine.sh "$root" "$project" "$PWD" "$@"
}

# The first start makes the settings, which takes seconds and is one process's business.
made=$WINEPREFIX/made
if [ ! -e "$made" ]; then
  (flock 9 && { [ -e "$made" ] || { run wineboot --init >/dev/null 2>&1 && touch "$made"; }; }) 9>"$project/build/wine.lock"
fi
run "$@"
