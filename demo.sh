#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Renders the built-in scene, develops it by three demosaicing methods, measures each against the scene without noise, and
# leaves the pictures and a page that shows them side by side in out/.
set -euo pipefail
cd "$(dirname "$0")"

bash scripts/setup.sh
echo "demo: building the program in build/release"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
lapack=$(bash scripts/lapack.sh)
if ! { cmake --preset release -DQUORVEL_LAPACK_SOURCE="$lapack" && cmake --build --preset release --target quorvel-host; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "demo: the build failed (its last lines are above)" >&2
  exit 1
fi
quorvel=build/release/bin/quorvel

mkdir -p out
if [ ! -e out/scene.pgm ] || [ "$quorvel" -nt out/scene.pgm ]; then
  echo "demo: rendering the scene"
  "$quorvel" scene out/scene.pgm --force
else
  echo "demo: the scene is there (out/scene.pgm)"
fi

echo "demo: developing it"
for method in bilinear gradient vng; do
  "$quorvel" develop out/scene.pgm -o "out/$method.png" --method "$method" --truth out/scene.truth.ppm --time --force
done

echo "demo: laying the methods side by side"
"$quorvel" contact-sheet out/scene.pgm --truth out/scene.truth.ppm -o out --force
echo "demo: open out/index.html in a browser; out/overview.png is its summary in one picture"
