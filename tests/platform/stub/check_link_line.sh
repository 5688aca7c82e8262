#!/bin/sh
# check_link_line.sh SOURCES LIBRARY_FOLDER COMPILER [EMULATOR]
# Every header that is handed out compiles by itself, and a television of one file, a platform of
# stubs and the shipped library are a whole program, built with the line of platform/README.md.
set -eu
sources=$1 library=$2 compiler=$3 emulator=${4:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

set -- -std=c++17 -Wall -Wextra -Werror \
    -I "$sources/platform/include" -I "$sources/DMR/include" -I "$sources/KetraSrv_DLNA_Common"

headers=$(find "$sources/platform/include" "$sources/DMR/include" -name '*.h')
headers="$headers $sources/KetraSrv_DLNA_Common/KetraSrv_DLNA_Common.h"
for header in $headers; do
    printf '#include "%s"\n' "$header" >"$work/header.cpp"
    "$compiler" "$@" -fsyntax-only "$work/header.cpp" || {
        echo "$header does not compile by itself"
        exit 1
    }
done

# The line in the document, with this build's compiler and library in it.
readme=$sources/platform/README.md
line=$(sed -n '/^g++ .*\\$/,/[^\\]$/p' "$readme" | sed 's/\\$//' | tr '\n' ' ')
[ -n "$line" ] || { echo "there is no line to link with in $readme"; exit 1; }
line=$(printf '%s' "$line" |
    sed "s|^g++|$compiler -o $work/small_tv|; s|\$PWD/build/dev/lib|$library|; s|build/dev/lib|$library|")
echo "$line"
cd "$sources"
eval "$line"
$emulator "$work/small_tv" >"$work/printed" || {
    cat "$work/printed"
    exit 1
}
