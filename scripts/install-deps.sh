#!/usr/bin/env bash
# Installs every Debian package that building, testing, benchmarking and the
# demo need. Idempotent: packages already present are skipped, and apt is only
# touched when something is missing.
set -euo pipefail

PACKAGES=(
    build-essential cmake pkg-config git
    qtbase5-dev qtbase5-private-dev qtbase5-dev-tools libqt5opengl5-dev libqt5svg5
    libcpp-httplib-dev nlohmann-json3-dev libspdlog-dev libfmt-dev libssl-dev libdeflate-dev zlib1g-dev
    libbenchmark-dev
    xvfb xauth libgl1-mesa-dri
    fonts-dejavu-core fonts-liberation2 fonts-wqy-microhei
    clang-format
)

missing=()
for pkg in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$pkg")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: all ${#PACKAGES[@]} packages present"
    exit 0
fi

echo "install-deps: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
