#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build, test and run everything here. Skips apt when they are
# all present already.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qtbase5-dev libcurl4-openssl-dev libssl-dev openssl libboost-json1.81-dev
    nlohmann-json3-dev libcpp-httplib-dev libqrencode-dev libqt5svg5-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    libimobiledevice-dev libplist-dev libusbmuxd-dev libirecovery-1.0-dev
    clang-14 libclang-rt-14-dev jq
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=""
[[ $(id -u) -eq 0 ]] || sudo="sudo"
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
