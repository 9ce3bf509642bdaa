#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_consumer.sh CONSUMER_SOURCE PREFIX COMPILER CMAKE_OPTIONS...
# Builds and runs a project against the installed tree alone, once through the CMake package and once, where COMPILER is
# not empty, through pkg-config.
set -euo pipefail
source=$1 prefix=$2 compiler=$3
shift 3
build=$prefix-consumer
rm -rf "$build"

cmake -S "$source" -B "$build" "$@" >/dev/null
cmake --build "$build" --target consumer >/dev/null
cmake --build "$build" --target run
[ -n "$compiler" ] || exit 0

pc=$(dirname "$(find "$prefix" -name quorvel.pc)")
library=$(dirname "$pc")
flags=$(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$prefix" --cflags --libs quorvel)
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$source/consumer.cc" $flags -Wl,-rpath,"$library" -o "$build/consumer-pkg-config"
"$build/consumer-pkg-config"

if [ -e "$prefix/bin/quorvel" ]; then "$prefix/bin/quorvel" info >/dev/null; fi
