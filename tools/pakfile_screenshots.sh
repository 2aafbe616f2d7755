#!/usr/bin/env bash
# Screenshots of the pakfile lump editor on a copy of a real sample map, with files deleted,
# replaced and added, and of its scan page after a scan against a content folder made for the
# map, and of the model data window on a sample model, each under a virtual X server:
# tools/pakfile_screenshots.sh [OUTDIR] [MAP.bsp] [MODEL.mdl]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
map="${2:-$root/../shared/samples/bsp/portalelc_servers.bsp}"
model="${3:-$root/../shared/samples/mdl/gmod8_goldbar.mdl}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target pakfile_shots -j2
shots="$(find "$build" -name pakfile_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cd "$work"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" editor "$(realpath "$map")" "$outdir/pakfile_editor.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" scan "$(realpath "$map")" "$outdir/pakfile_scan.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" model "$(realpath "$model")" "$outdir/model_data.png"
