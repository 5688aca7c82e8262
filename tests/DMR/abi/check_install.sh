#!/bin/sh
# check_install.sh SOURCES BUILD CMAKE COMPILER [EMULATOR]
# What the components "library" and "development" install is all that a TV's middleware needs beside
# its platform: a television of one file, with a platform of stubs, is built with nothing else.
set -eu
sources=$1 build=$2 cmake=$3 compiler=$4 emulator=${5:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for component in library development; do
    "$cmake" --install "$build" --component $component --prefix "$work/there" >"$work/installed" || {
        cat "$work/installed"
        exit 1
    }
    [ -s "$work/there/share/doc/ketra-dmr-$component/LICENSE" ] || {
        echo "the component $component comes without its licence"
        exit 1
    }
done
library=$(find "$work/there" -name libKetraDMR.so)
[ -n "$library" ] || {
    echo "libKetraDMR.so was not installed"
    exit 1
}
folder=$(dirname "$library")
"$compiler" -std=c++17 -Wall -Wextra -Werror -I "$work/there/include" -o "$work/small_tv" \
    "$sources/tests/platform/stub/small_tv.cpp" "$sources/platform/stub/stub_platform.cpp" \
    -L "$folder" -lKetraDMR -Wl,-rpath,"$folder"
$emulator "$work/small_tv" >"$work/printed" || {
    cat "$work/printed"
    exit 1
}
