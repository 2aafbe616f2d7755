#!/usr/bin/env bash
# Screenshots of the material editor on a real sample material and of the Mass VMT Editor after a
# run, each under a virtual X server: tools/vmt_screenshots.sh [OUTDIR] [MATERIAL.vmt]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
material="${2:-$root/../shared/samples/vmt/l4d2cu_props_vehicles_boat_cabin35_glass_alarm.vmt}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target vmt_shots -j2
shots="$(find "$build" -name vmt_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cd "$work"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" editor "$(realpath "$material")" "$outdir/vmt_editor.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" mass "$outdir/vmt_mass.png"
