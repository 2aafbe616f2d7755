#!/usr/bin/env bash
# Installs the Debian 12 packages the workbench needs, touching apt only when
# something is missing.
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config ccache
          qt6-base-dev qt6-5compat-dev libgl-dev libmagick++-6.q16-dev libsquish-dev
          famfamfam-silk libbenchmark-dev xvfb xauth)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO=sudo
    $SUDO apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
