#!/bin/sh
# What the shipped library exports, needs and says about itself.
#   check_library.sh LIBRARY NM READELF STRIP FOLDER BITS
# FOLDER holds the lists: exports.BITS.txt, every exported symbol, and contract.txt, the symbols that
# a platform provides. A symbol that is meant to come or go is changed in these lists by hand.
set -u
library=$1 nm=$2 readelf=$3 strip=$4 folder=$5 bits=$6
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
failed=0

compare() { # TITLE EXPECTED FOUND
    if ! diff -u "$2" "$3" >"$work/diff"; then
        echo "$1 (- expected, + found):"
        tail -n +3 "$work/diff"
        failed=1
    fi
}

sorted() { LC_ALL=C sort; }

"$nm" -D --defined-only "$library" | awk '{print $NF}' | sed 's/@.*//' | sorted >"$work/exports"
sorted <"$folder/exports.$bits.txt" >"$work/expected"
compare "exported symbols" "$work/expected" "$work/exports"

# The C and C++ libraries version their symbols; what has no version is the platform's, or one of
# the compiler's own weak symbols.
"$nm" -D --undefined-only "$library" | awk '$1 == "U" && $2 !~ /@/ {print $2}' | sorted \
    >"$work/undefined"
sorted <"$folder/contract.txt" >"$work/expected"
compare "symbols that the platform must provide" "$work/expected" "$work/undefined"
"$nm" -D --undefined-only "$library" | awk '$2 ~ /@/ {sub(/.*@/, "", $2); print $2}' |
    grep -Ev '^(GLIBC|GLIBCXX|CXXABI|GCC)_[0-9.]+$' >"$work/foreign"
if [ -s "$work/foreign" ]; then
    echo "symbols of other libraries, by version:"
    cat "$work/foreign"
    failed=1
fi

"$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -Ev '^(libc\.so\.6|libstdc\+\+\.so\.6|libgcc_s\.so\.1)$' >"$work/needed"
if [ -s "$work/needed" ]; then
    echo "needs other libraries:"
    cat "$work/needed"
    failed=1
fi

"$strip" -o "$work/stripped.so" "$library" || failed=1
"$readelf" -p KETRA_BUILD_NOTE "$work/stripped.so" 2>&1 | sed -n 's/^  \[ *[0-9a-f]*\]  //p' \
    >"$work/note"
{
    printf '%s\n' 'LIBCODE:DLNA' 'LIBVER:1.5' 'BUILDNUM:10.a6'
    sed -n 's/^\(CHANGE:[^ ]\{1,\}\)$/\1/p' "$work/note"
} >"$work/expected"
compare "build note" "$work/expected" "$work/note"
if [ "$(wc -l <"$work/note")" -ne 4 ]; then
    echo "the build note does not have four lines"
    failed=1
fi

size=$(wc -c <"$work/stripped.so")
echo "stripped size: $size bytes"
if [ "$size" -gt 131072 ]; then
    echo "that is more than 128 KiB"
    failed=1
fi
exit $failed
