#!/usr/bin/env bash
# run.sh BUILD_DIR: installs the build into a scratch folder and builds three hosts against it by both package systems: the
# README's own code by the README's own lines, one that speaks into a file, and one whose own headers have the library's
# names and whose wxWidgets is another release. A fourth takes the library in as a subproject.
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

wx_config() { # VERSION: the true one, but for what it tells of its version
    # shellcheck disable=SC2016
    printf '#!/bin/sh\n[ "$1" != --version ] || exec echo %s\nexec %s "$@"\n' "$1" "$(command -v wx-config)" \
        >"$scratch/crowded/bin/wx-config"
    chmod +x "$scratch/crowded/bin/wx-config"
}

configure() { # HOST
    PATH="$scratch/$1/bin:$PATH" cmake -S "$scratch/$1" -B "$scratch/$1/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/usr" \
        >"$scratch/log" 2>&1
}

failed() { # MESSAGE
    cat "$scratch/log"
    echo "$1" >&2
    exit 1
}

mkdir -p "$scratch/readme" "$scratch/file" "$scratch/crowded/own/common" "$scratch/crowded/bin" "$scratch/sub"
readme_block cpp >"$scratch/readme/hello.cpp"
cp "$here/main.cpp" "$scratch/file/hello.cpp"
{
    (cd "$scratch/usr/include/qxspeech" && find . -path ./common -prune -o -name '*.h' -printf '#include "%P"\n' | sort)
    readme_block cpp
} >"$scratch/crowded/hello.cpp"
echo '#error "not the library'"'"'s"' | tee "$scratch/crowded/own/common/export.h" >"$scratch/crowded/own/common/version.h"
wx_config "$(wx-config --version | cut -d. -f1,2).99"
for host in readme file crowded; do
    {
        echo "cmake_minimum_required(VERSION 3.20)"
        echo "project(host LANGUAGES CXX)"
        [ $host != crowded ] || echo "include_directories(own)"
        readme_block cmake
    } >"$scratch/$host/CMakeLists.txt"
    configure "$host" || failed "The package is not found."
    cmake --build "$scratch/$host/build" >"$scratch/log" 2>&1 || failed "Host $host does not build."
    # shellcheck disable=SC2046
    g++ -std=c++17 -I "$scratch/$host/own" "$scratch/$host/hello.cpp" -o "$scratch/$host/by-pkgconfig" $(wx-config --cxxflags) \
        $(pkg-config --cflags --libs qxspeech) $(wx-config --libs core,base)
done
for program in build/myhost by-pkgconfig; do
    "$scratch/file/$program" "$scratch/a.wav"
    wav_is_speech "$scratch/a.wav"
    rm "$scratch/a.wav"
done

wx_config 2.8.12
! configure crowded || failed "Another minor version of wxWidgets is taken."
grep -q 'wx-config reports 2.8.12' "$scratch/log" || failed "The reason is not told."

cp "$scratch/readme/hello.cpp" "$scratch/readme/CMakeLists.txt" "$scratch/sub"
sed -i "s|find_package.*|add_subdirectory($(readlink -f "$here/../..") qxspeech)|" "$scratch/sub/CMakeLists.txt"
configure sub || failed "The library is no subproject."
ninja -C "$scratch/sub/build" -t targets all >"$scratch/log"
grep -q libqxspeech.so "$scratch/log" || failed "The subproject has no library."
! grep -qE 'qx_test|qxspeech-say' "$scratch/log" || failed "The subproject has tests and programs."

"$scratch/usr/bin/qxspeech-say" --version
"$scratch/usr/bin/qxspeech-play" --version
"$scratch/usr/bin/qxspeech-say" -o "$scratch/c.wav" "This program was installed."
wav_is_speech "$scratch/c.wav"
