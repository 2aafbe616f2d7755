#!/bin/sh
# tests/app/launcher_test.sh TEMPLATE: the installed launcher hands the program
# absolute paths for the files that exist, and everything else as it stands.
set -eu
template="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/bin" "$work/lib/zirk" "$work/cwd/sub dir"
sed 's|@ZIRK_LAUNCHER_RELATIVE@|../lib/zirk|' "$template" > "$work/bin/zirk"
printf '#!/bin/sh\nfor a in "$@"; do printf "%%s\\n" "$a"; done\n' > "$work/lib/zirk/zirk"
chmod +x "$work/bin/zirk" "$work/lib/zirk/zirk"
touch "$work/cwd/map.bsp" "$work/cwd/sub dir/a.vtf" "$work/abs.vmt"
cd "$work/cwd"
got="$("$work/bin/zirk" map.bsp "sub dir/a.vtf" "$work/abs.vmt" missing.vtf -setCurrent "sub dir")"
want="$(printf '%s\n' "$work/cwd/map.bsp" "$work/cwd/sub dir/a.vtf" "$work/abs.vmt" missing.vtf \
    -setCurrent "$work/cwd/sub dir")"
if [ "$got" != "$want" ]; then
    printf 'expected:\n%s\ngot:\n%s\n' "$want" "$got" >&2
    exit 1
fi
echo "launcher: ok"
