#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Unpacks Highway, of the version that libhwy-dev has, for the builds whose system has no package of it, and prints where.
set -euo pipefail
cd "$(dirname "$0")"
. ./debian.sh
tree=$quorvel_cache/sources/highway-1.0.3
if [ ! -e "$tree/.complete" ]; then
  tarball=$(debian_source highway highway_1.0.3.orig.tar.gz 566fc77315878473d9a6bd815f7de78c73734acdcb745c3dde8579560ac5440e)
  mkdir -p "$tree"
  tar -xf "$tarball" -C "$tree" --strip-components=1
  touch "$tree/.complete"
fi
echo "$tree"
