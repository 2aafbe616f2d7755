#!/usr/bin/env bash
# Screenshots of the entity lump editor and of the lump inspector on a real sample map, each
# under a virtual X server: tools/map_screenshots.sh [OUTDIR] [MAP.bsp]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
map="${2:-$root/../shared/samples/bsp/portalelc_servers.bsp}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target mapwindow_shots -j2
shots="$(find "$build" -name mapwindow_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory; the map is copied, so
# nothing touches the original.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cp "$(realpath "$map")" "$work/map.bsp"
cd "$work"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" entity "$work/map.bsp" "$outdir/entity_editor.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" bspinfo "$work/map.bsp" "$outdir/bsp_info.png"
