#!/usr/bin/env bash
# Builds the library and the kvsvg tool, then turns the bundled compressed
# example into plain SVG and prints what the tool knows about it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DKVSVG_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"$(nproc)" --target kvsvg_cli
mkdir -p out
./build/tools/kvsvg/kvsvg convert examples/badge.svgz out/badge.svg
./build/tools/kvsvg/kvsvg info out/badge.svg
