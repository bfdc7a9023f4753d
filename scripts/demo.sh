#!/usr/bin/env bash
# Builds the library and the kvsvg tool, renders the bundled example to PNG,
# and prints what the tool knows about it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DKVSVG_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"$(nproc)" --target kvsvg_cli
mkdir -p out
./build/tools/kvsvg/kvsvg render examples/badge.svgz out/badge.png --width 480 --background white
./build/tools/kvsvg/kvsvg info examples/badge.svg
./build/tools/kvsvg/kvsvg bounds examples/badge.svg
echo "wrote out/badge.png"
