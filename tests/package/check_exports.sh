#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_exports.sh INCLUDE_DIR LIBRARY COMPILER
# Holds the shared library's dynamic symbols, or the names in a DLL's definition file, against the headers: every
# function marked QUORVEL_API is exported under its own name, every class so marked has its members exported, and nothing
# else is.
set -euo pipefail
include=$1 library=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One declaration a line, comments gone.
"$compiler" -x c++ -std=c++20 -fpreprocessed -dD -E -P "$include"/*.h 2>/dev/null | grep -v '^ *#' | tr '\n' ' ' | sed 's/;/;\n/g; s/{/{\n/g' \
  >"$work/declarations"
# Functions: the name before the first parenthesis.
grep -oE 'QUORVEL_API [^(;{]*\(' "$work/declarations" | sed -E 's/.*[ *&]([A-Za-z_0-9]+)\($/\1/' |
  sort -u >"$work/functions"
# Classes, among them explicitly instantiated templates, whose arguments are left to the demangled names.
grep -oE '(class|struct) QUORVEL_API [A-Za-z_0-9]+' "$work/declarations" | awk '{print $3}' | sort -u >"$work/classes"
[ "$(wc -l <"$work/functions")" -gt 20 ] || { echo "no list of functions could be read from $include"; exit 1; }

case $library in
  *.def) awk '/@[0-9]/ {print $1}' "$library" ;;
  *) nm -D --defined-only "$library" | awk '{print $3}' | sed 's/@.*//' ;;
esac | sort -u >"$work/symbols"
grep -v '^_Z' "$work/symbols" >"$work/plain" || true
grep '^_Z' "$work/symbols" >"$work/mangled" || true

status=0
if ! diff "$work/functions" "$work/plain" >"$work/difference"; then
  echo "functions that the headers (<) and the library (>) do not have in common:"
  cat "$work/difference"
  status=1
fi
owner='(vtable for |typeinfo for |typeinfo name for )?([A-Za-z_0-9]+)(<[^>]*>)?(::.*)?$'
c++filt <"$work/mangled" >"$work/members"
while read -r symbol; do
  name=$(sed -E "s/^$owner/\2/" <<<"$symbol")
  grep -qx "$name" "$work/classes" || echo "$symbol"
done <"$work/members" >"$work/strangers"
if [ -s "$work/strangers" ]; then
  echo "exported, but a member of no exported class:"
  cat "$work/strangers"
  status=1
fi
while read -r class; do
  grep -qE "\\b$class(<|::)" "$work/members" || { echo "no member of $class is exported"; status=1; }
done <"$work/classes"
echo "$(wc -l <"$work/functions") functions and $(wc -l <"$work/classes") classes compared"
exit $status
