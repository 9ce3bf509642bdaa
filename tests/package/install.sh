#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# install.sh BUILD_DIR PREFIX
# Installs the build into a tree that holds nothing else.
set -euo pipefail
rm -rf "$2"
cmake --install "$1" --prefix "$2" >/dev/null
