#!/usr/bin/env bash
# Installs what a step needs from the distribution's packages: install-deps.sh build|check|all
# As root or through sudo by apt-get; otherwise prints one list of what to install and fails.
set -euo pipefail

build="g++ cmake ninja-build pkg-config libwxgtk3.2-dev libcpprest-dev libssl-dev rapidjson-dev portaudio19-dev
    libespeak-ng-dev espeak-ng-data libavformat-dev libavcodec-dev libswresample-dev libswscale-dev libavutil-dev
    libcrypto++-dev libboost-system-dev libproxy-dev libpulse-dev libasound2-dev libasound2-plugins ccache"
check="$build libgtest-dev libgmock-dev ffmpeg mesa-vulkan-drivers xvfb xauth curl openssl pulseaudio pulseaudio-utils procps binutils locales"
all="$check clang clang-format clang-tidy libclang-rt-14-dev g++-mingw-w64-x86-64-posix nlohmann-json3-dev
    libbenchmark-dev libxml2-dev espeak-ng"

case "${1:-}" in
build) wanted=$build ;;
check) wanted=$check ;;
all) wanted=$all ;;
*)
    echo "usage: install-deps.sh build|check|all" >&2
    exit 2
    ;;
esac

missing=()
for package in $wanted; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" = 0 ]; then
    as_root=""
elif command -v sudo >/dev/null && sudo -n true 2>/dev/null || { command -v sudo >/dev/null && [ -t 0 ]; }; then
    as_root=sudo
else
    echo "Please install these packages: ${missing[*]}" >&2
    exit 1
fi
echo "Installing: ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { $as_root apt-get update -qq && DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq \
    --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "Please install these packages: ${missing[*]}" >&2
    exit 1
fi
