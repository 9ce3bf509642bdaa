#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_dll.sh DLL DEFINITION_FILE VERSION OBJDUMP WINDRES
# The DLL's promises to a Windows host: it needs no DLL but the system's, its names are those of the definition file
# and undecorated, and its version resource says the project's version.
set -euo pipefail
dll=$1 definitions=$2 version=$3 objdump=$4 windres=$5
system='KERNEL32|USER32|ADVAPI32|msvcrt|ole32'
status=0
complain() { echo "$1"; sed 's/^/  /'; status=1; }

"$objdump" -p "$dll" >"$dll.headers"
imports=$(sed -n 's/.*DLL Name: //p' "$dll.headers")
strangers=$(grep -viE "^($system)\.dll\$" <<<"$imports" || true)
[ -n "$imports" ] && [ -z "$strangers" ] || complain "imports that are not the system's:" <<<"${strangers:-no list}"

names=$(sed -n '/Name Pointer\] Table/,/^$/s/^\s*\[ *[0-9]*\] //p' "$dll.headers" | sort)
listed=$(awk '/@[0-9]/ {print $1}' "$definitions" | sort)
[ -n "$names" ] && [ "$names" = "$listed" ] ||
  complain "names that the definition file and the DLL do not have in common:" \
    <<<"$(diff <(echo "$listed") <(echo "$names"))"
decorated=$(grep -v '^_Z' <<<"$names" | grep -E '^_|@' || true)
[ -z "$decorated" ] || complain "decorated names:" <<<"$decorated"

resource=$("$windres" "$dll")
for value in FileVersion ProductVersion; do
  grep -q "VALUE \"$value\", \"$version\"" <<<"$resource" || complain "$value is not $version:" <<<"$resource"
done
rm "$dll.headers"
echo "$(wc -l <<<"$names") names; imports" $imports
exit $status
