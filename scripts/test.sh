#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs every
# suite (the Python binding's among them), then builds a plain Release tree,
# installs it to a staging prefix and checks the install as a user meets it
# (scripts/check_install.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
build=${KVSVG_TEST_BUILD:-build-asan}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKVSVG_SANITIZE=ON -DKVSVG_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j"$(nproc)"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
ctest --test-dir "$build" -j"$(nproc)" --output-on-failure --timeout 600
bash scripts/check_install.sh
