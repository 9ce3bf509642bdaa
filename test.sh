#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Sets up, builds and runs all tests. Ends with the test runner's own summary.
set -euo pipefail
cd "$(dirname "$0")"

bash scripts/setup.sh
echo "test: building in build/release"
cmake --preset release -DQUORVEL_WERROR=ON
cmake --build --preset release
echo "test: running"
ctest --preset release --output-on-failure
