#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_host_python.sh HOST_PY LIBRARY LINE
# Runs the host in Python on the library as built and holds its line against that of the compiled hosts.
set -euo pipefail
python3 -c 'import ctypes' 2>/dev/null || { echo "skipped: no python3 with ctypes"; exit 77; }
python3 "$1" "$2" | diff "$3" -
