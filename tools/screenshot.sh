#!/usr/bin/env bash
# Starts the workbench under Xvfb, waits for it to settle and saves a
# screenshot of the screen: tools/screenshot.sh [-o OUT.png] [FILE...]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
out="$PWD/screenshot.png"
if [ "${1:-}" = "-o" ]; then out="$(realpath -m "$2")"; shift 2; fi
need=()
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v import >/dev/null || need+=(imagemagick)
if [ ${#need[@]} -gt 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
bin="${ZIRK_BIN:-$root/build/bin/zirk}"
[ -x "$bin" ] || bash "$root/tools/build.sh" "$root/build"
args=()
for a in "$@"; do args+=("$(realpath "$a")"); done
xvfb-run -a -s "-screen 0 1280x960x24" bash -c '
    "$0" "${@:2}" &
    pid=$!
    sleep "${ZIRK_SHOT_DELAY:-4}"
    import -window root "$1"
    kill $pid' "$bin" "$out" "${args[@]}"
echo "saved $out"
