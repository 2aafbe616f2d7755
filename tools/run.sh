#!/usr/bin/env bash
# Installs what is missing, builds the workbench (Release) and starts it; the
# arguments are handed to it as files to open.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bash "$root/tools/deps.sh"
bash "$root/tools/build.sh" "$root/build" -DZIRK_BUILD_TESTS=OFF -DZIRK_BUILD_BENCH=OFF
# Relative paths are resolved by the workbench against its own folder, so
# make them absolute here.
args=()
for a in "$@"; do
    if [ -e "$a" ]; then args+=("$(realpath "$a")"); else args+=("$a"); fi
done
exec "$root/build/bin/zirk" "${args[@]}"
