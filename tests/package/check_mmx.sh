#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_mmx.sh LIBRARY OBJDUMP
# No routine but isExtMMX may touch MMX registers: they are those of x87, and whoever uses them leaves it unusable.
set -euo pipefail
found=$("$2" -d --no-show-raw-insn "$1" |
  awk '/^[0-9a-f]+ </ {name = $2} /%mm[0-7]/ && name !~ /^<_?isExtMMX/ {print name, $0}')
[ -z "$found" ] || { echo "MMX registers are used:"; echo "$found"; exit 1; }
