#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Sets up, builds and runs all tests. Ends with the test runner's own summary.
#   test.sh             this machine's system
#   test.sh --windows   the 32-bit Windows DLL, its program and all tests, run under Wine
#   test.sh --arm64     AArch64 Linux, run under qemu
# After either of these, --core leaves it at what can differ between systems: the digest over the results of all exported
# routines, the runtime, the solvers, the program's road, and hosts of the installed tree.
# Cross builds take their compilers from packages and keep what they fetch in ~/.cache/quorvel (QUORVEL_CACHE).
set -euo pipefail
cd "$(dirname "$0")"

core_targets=(quorvel quorvel_static quorvel-host test-digest test-runtime test-runtime-search test-numerics test-host)
core_tests='^(digest|runtime|numerics|package)\.|^host\.Road'

# build_and_test PRESET OPTIONS...
build_and_test() {
  local preset=$1
  shift
  local targets=() tests=()
  if [ "$extent" = --core ]; then
    targets=(--target "${core_targets[@]}")
    tests=(--tests-regex "$core_tests")
  fi
  echo "test: building in build/$preset"
  cmake --preset "$preset" -DQUORVEL_WERROR=ON "$@"
  cmake --build --preset "$preset" "${targets[@]}"
  echo "test: running"
  ctest --preset "$preset" --output-on-failure "${tests[@]}"
}

extent=${2:-}
if [ -n "$extent" ] && { [ "$extent" != --core ] || [ $# -gt 2 ]; }; then
  echo "test.sh: '${*:2}' is not --core" >&2
  exit 2
fi
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
