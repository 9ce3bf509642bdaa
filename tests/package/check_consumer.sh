#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_consumer.sh CONSUMER_SOURCE BUILD_DIR PREFIX COMPILER GENERATOR
# Installs the build into PREFIX and builds and runs a project against that tree alone, once through the CMake package
# and once through pkg-config.
set -euo pipefail
source=$1 build=$2 prefix=$3 compiler=$4 generator=$5
rm -rf "$prefix" "$prefix-build"

cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -G "$generator" -S "$source" -B "$prefix-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$prefix-build" >/dev/null
"$prefix-build/consumer"

pc=$(dirname "$(find "$prefix" -name quorvel.pc)")
library=$(dirname "$pc")
flags=$(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$prefix" --cflags --libs quorvel)
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$source/consumer.cc" $flags -Wl,-rpath,"$library" -o "$prefix-build/consumer-pkg-config"
"$prefix-build/consumer-pkg-config"

if [ -e "$prefix/bin/quorvel" ]; then "$prefix/bin/quorvel" info >/dev/null; fi
