#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Sets up, builds and runs all tests. Ends with the test runner's own summary.
#   test.sh             this machine's system
#   test.sh --windows   the 32-bit Windows DLL, its program and all tests, run under Wine
#   test.sh --arm64     AArch64 Linux, run under qemu
# Cross builds take their compilers from packages and keep what they fetch in ~/.cache/quorvel (QUORVEL_CACHE).
set -euo pipefail
cd "$(dirname "$0")"

# build_and_test PRESET OPTIONS...
build_and_test() {
  local preset=$1
  shift
  echo "test: building in build/$preset"
  cmake --preset "$preset" -DQUORVEL_WERROR=ON "$@"
  cmake --build --preset "$preset"
  echo "test: running"
  ctest --preset "$preset" --output-on-failure
}

case ${1:-} in
  "")
    bash scripts/setup.sh
    lapack=$(bash scripts/lapack.sh)
    build_and_test release -DQUORVEL_LAPACK_SOURCE="$lapack"
    ;;
  --windows)
    bash scripts/setup.sh windows
    root=$(bash scripts/windows-root.sh)
    highway=$(bash scripts/highway.sh)
    lapack=$(bash scripts/lapack.sh)
    echo "test: programs will run under Wine in $root"
    build_and_test windows-x86 -DQUORVEL_HIGHWAY_SOURCE="$highway" -DQUORVEL_LAPACK_SOURCE="$lapack" \
      -DQUORVEL_GTEST_SOURCE=/usr/src/googletest -DQUORVEL_HEADERS=/usr/include
    ;;
  --arm64)
    bash scripts/setup.sh arm64
    root=$(bash scripts/arm64-root.sh)
    lapack=$(bash scripts/lapack.sh)
    build_and_test linux-arm64 -DQUORVEL_ARM64_ROOT="$root" -DQUORVEL_LAPACK_SOURCE="$lapack"
    ;;
  *)
    echo "test.sh: '$1' is neither --windows nor --arm64" >&2
    exit 2
    ;;
esac
