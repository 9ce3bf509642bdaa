#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_host_csharp.sh HOST_CS LIBRARY_DIR LINE
# Compiles the host in C#, runs it on the library as built and holds its line against that of the compiled hosts.
set -euo pipefail
for tool in mcs mono; do
  command -v $tool >/dev/null || { echo "skipped: no C# ($tool of mono-mcs and mono-runtime)"; exit 77; }
done
program=$3-Host.exe
mcs -warn:4 -warnaserror -out:"$program" "$1"
LD_LIBRARY_PATH=$2 mono "$program" | diff "$3" -
