#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Unpacks the sources of the reference LAPACK, of the version that liblapack-dev has, and prints where. Builds take them
# where the system has no package of LAPACK, and where results are to be the same on every processor.
set -euo pipefail
cd "$(dirname "$0")"
. ./debian.sh
tree=$quorvel_cache/sources/lapack-3.11.0
if [ ! -e "$tree/.complete" ]; then
  tarball=$(debian_source lapack lapack_3.11.0.orig.tar.gz 4b9ba79bfd4921ca820e83979db76ab3363155709444a787979e81c22285ffa9)
  mkdir -p "$tree"
  tar -xf "$tarball" -C "$tree" --strip-components=1 lapack-3.11.0/{LICENSE,SRC,INSTALL,BLAS/SRC}
  touch "$tree/.complete"
fi
echo "$tree"
