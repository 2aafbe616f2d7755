#!/usr/bin/env bash
# Screenshots of the detail type editor and the game data viewer on real sample files, each
# under a virtual X server:
#   tools/detail_fgd_screenshots.sh [OUTDIR] [LISTING.vbsp] [GAMEDATA.fgd]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
listing="${2:-$root/../shared/samples/vbsp/bliink_detail.vbsp}"
gamedata="${3:-$root/../shared/samples/fgd/sourcepp_portal.fgd}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target editor_shots -j2
shots="$(find "$build" -name editor_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cd "$work"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" vbsp "$(realpath "$listing")" "$outdir/vbsp_editor.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" fgd "$(realpath "$gamedata")" "$outdir/fgd_editor.png"
