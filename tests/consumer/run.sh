#!/usr/bin/env bash
# run.sh BUILD_DIR: installs the build into a scratch folder and builds a host against it by both package systems.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >/dev/null
libdir=$(dirname "$(find "$scratch/usr" -name libqxspeech.so)")
export LD_LIBRARY_PATH=$libdir

wav_is_speech() { # a header and at least a second of 16 kHz, 16 bit, mono
    [ "$(head -c 4 "$1")" = RIFF ] && [ "$(stat -c %s "$1")" -gt 32044 ]
}

cmake -S "$here" -B "$scratch/by-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/usr" >/dev/null
cmake --build "$scratch/by-cmake" >/dev/null
"$scratch/by-cmake/consumer" "$scratch/a.wav"
wav_is_speech "$scratch/a.wav"

# The prefix in the file is the one of the configured build; the scratch prefix replaces it here.
flags=$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --define-variable=prefix="$scratch/usr" --cflags --libs qxspeech)
# shellcheck disable=SC2046,SC2086
g++ -std=c++17 "$here/main.cpp" -o "$scratch/by-pkgconfig" $(wx-config --cxxflags) $flags $(wx-config --libs base)
"$scratch/by-pkgconfig" "$scratch/b.wav"
wav_is_speech "$scratch/b.wav"

"$scratch/usr/bin/qxspeech-say" --version
"$scratch/usr/bin/qxspeech-play" --version
"$scratch/usr/bin/qxspeech-say" -o "$scratch/c.wav" "This program was installed."
wav_is_speech "$scratch/c.wav"
