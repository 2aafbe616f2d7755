#!/usr/bin/env bash
# Screenshots of the particle editor on a real particle file: its tree, its context menu and
# its "Format" menu, each under a virtual X server:
#   tools/pcf_screenshots.sh [OUTDIR] [PARTICLES.pcf]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
particles="${2:-$root/../shared/samples/pcf/bliink_rocket_fx.pcf}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target pcfedit_shots -j2
shots="$(find "$build" -name pcfedit_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cd "$work"
for mode in editor context format; do
    xvfb-run -a -s "-screen 0 1280x960x24" "$shots" "$mode" "$(realpath "$particles")" "$outdir/pcf_$mode.png"
done
