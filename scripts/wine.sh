#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# wine.sh PROGRAM ARGUMENTS...: runs a Windows program in the root of windows-root.sh, in which this project stands under
# its own path. The mounts live in a name space of the run's own and go with it.
set -euo pipefail
. "$(dirname "$0")/debian.sh"
project=$(cd "$(dirname "$0")/.." && pwd)
root=$quorvel_cache/wine32-root
mkdir -p "$root$project"
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=' HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8
exec unshare --mount bash -c '
  set -e
  root=$1 project=$2 directory=$3
  shift 3
  mount -t proc proc "$root/proc"
  mount --bind "$project" "$root$project"
  exec chroot "$root" bash -c "cd \"\$0\" 2>/dev/null || cd /; exec wine \"\$@\"" "$directory" "$@"
' wine.sh "$root" "$project" "$PWD" "$@"
