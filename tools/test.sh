#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole test suite
# headless. Extra arguments go to cmake (for example -DZIRK_SANITIZE=ON with a
# separate build folder: ZIRK_BUILD_DIR=build-asan tools/test.sh -DZIRK_SANITIZE=ON).
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="${ZIRK_BUILD_DIR:-$root/build-test}"
bash "$root/tools/deps.sh"
bash "$root/tools/build.sh" "$dir" -DZIRK_BUILD_TESTS=ON "$@"
cd "$dir"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j2 --timeout 600
