#!/usr/bin/env bash
# Screenshots of the texture editor on a real sample texture and of the batch window after a
# run, each under a virtual X server: tools/vtf_screenshots.sh [OUTDIR] [TEXTURE.vtf]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
outdir="$(realpath -m "${1:-$PWD/screenshots}")"
texture="${2:-$root/../shared/samples/vtf/bliink_dev_testgrid.vtf}"
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
build="${ZIRK_BUILD_DIR:-$root/build}"
[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target vtfedit_shots -j2
shots="$(find "$build" -name vtfedit_shots -type f -perm -u+x | head -n1)"
mkdir -p "$outdir"
# The workbench wants its settings file in the working directory.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$root/resources/noitazilait.ini" "$work/"
cd "$work"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" editor "$(realpath "$texture")" "$outdir/vtf_editor.png"
xvfb-run -a -s "-screen 0 1280x960x24" "$shots" mass "$outdir/vtf_mass.png"
