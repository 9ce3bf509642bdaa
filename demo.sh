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

echo "demo: correcting colours by the scene's chart"
# Its patches in the developed frame, and as paint of those reflectances should look.
"$quorvel" lut measure out/scene.pgm --rect 655,841,165,109 -o out/chart-measured.txt --force
cat >out/chart-reference.txt <<'PATCHES'
114 82 68
193 150 128
95 121 156
87 108 67
132 127 176
101 188 168
214 123 48
75 92 164
191 84 97
93 62 106
156 186 64
224 160 49
47 63 145
71 146 73
174 53 60
230 198 34
184 84 148
31 133 164
237 237 236
198 198 198
159 159 159
120 120 120
84 84 85
53 53 53
PATCHES
"$quorvel" lut chart out/chart-measured.txt out/chart-reference.txt -o out/chart.bin --force
"$quorvel" lut info out/chart.bin --plot out/chart.png --force

echo "demo: laying the methods side by side"
"$quorvel" contact-sheet out/scene.pgm --truth out/scene.truth.ppm --table out/chart.bin -o out --force
echo "demo: open out/index.html in a browser; out/overview.png is its summary in one picture"
