#!/usr/bin/env bash
# tools/build.sh BUILDDIR [CMAKE OPTIONS...]: configures and builds with two jobs.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="$1"; shift
generator=()
command -v ninja >/dev/null 2>&1 && generator=(-G Ninja)
if [ ! -f "$dir/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=Release "$@"
else
    cmake -S "$root" -B "$dir" "$@" >/dev/null
fi
cmake --build "$dir" -j2
