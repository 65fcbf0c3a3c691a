#!/usr/bin/env bash
# run.sh BUILD_DIR: installs the build into a scratch folder and builds two hosts against it by both package systems: the
# README's own code by the README's own lines, and one that speaks into a file.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >/dev/null
libdir=$(dirname "$(find "$scratch/usr" -name libqxspeech.so)")
export LD_LIBRARY_PATH=$libdir PKG_CONFIG_PATH=$libdir/pkgconfig

readme_block() { awk -v begin="\`\`\`$1" '$0 == begin {inside = 1; next} /^```$/ {inside = 0} inside' "$here/../../README.md"; }

wav_is_speech() { # a header and at least a second of 16 kHz, 16 bit, mono
    [ "$(head -c 4 "$1")" = RIFF ] && [ "$(stat -c %s "$1")" -gt 32044 ]
}

mkdir "$scratch/readme" "$scratch/file"
readme_block cpp >"$scratch/readme/hello.cpp"
cp "$here/main.cpp" "$scratch/file/hello.cpp"
for host in readme file; do
    {
        echo "cmake_minimum_required(VERSION 3.20)"
        echo "project(host LANGUAGES CXX)"
        readme_block cmake
    } >"$scratch/$host/CMakeLists.txt"
    cmake -S "$scratch/$host" -B "$scratch/$host/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/usr" >/dev/null
    cmake --build "$scratch/$host/build" >/dev/null
    # shellcheck disable=SC2046
    g++ -std=c++17 "$scratch/$host/hello.cpp" -o "$scratch/$host/by-pkgconfig" $(wx-config --cxxflags) \
        $(pkg-config --cflags --libs qxspeech) $(wx-config --libs core,base)
done
for program in build/myhost by-pkgconfig; do
    "$scratch/file/$program" "$scratch/a.wav"
    wav_is_speech "$scratch/a.wav"
    rm "$scratch/a.wav"
done

"$scratch/usr/bin/qxspeech-say" --version
"$scratch/usr/bin/qxspeech-play" --version
"$scratch/usr/bin/qxspeech-say" -o "$scratch/c.wav" "This program was installed."
wav_is_speech "$scratch/c.wav"
