#!/usr/bin/env bash
# Builds the benchmarks (Release) and runs them all, or those named.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="${ZIRK_BUILD_DIR:-$root/build-bench}"
bash "$root/tools/build.sh" "$dir" -DZIRK_BUILD_BENCH=ON -DZIRK_BUILD_TESTS=OFF
for b in "$dir"/bench/*; do
    [ -x "$b" ] || continue
    if [ $# -gt 0 ]; then
        case " $* " in *" $(basename "$b") "*) ;; *) continue ;; esac
    fi
    echo "== $(basename "$b")"
    "$b" --benchmark_counters_tabular=true
done
