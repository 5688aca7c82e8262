#!/bin/sh
# Compares what ketra-layout prints with docs/record-layouts.md, which shows the TV's layouts.
#   check_layouts.sh DOCUMENT BITS COMMAND..
# Where pointers have another size than the TV's, offsets and sizes are left out of the comparison:
# the records must have the same fields in the same order all the same.
set -u
document=$1 bits=$2
shift 2
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT

numbersAsTheyAre() { cat; }
withoutNumbers() {
    sed 's/^| [0-9]* | [0-9x ]* |/| | |/; s/, [0-9]* bytes$//; s/^Pointers have .*/Pointers/'
}
[ "$bits" = 32 ] && asCompared=numbersAsTheyAre || asCompared=withoutNumbers

"$@" >"$work/printed" || exit 1
sed -n '/^Pointers have /,$p' "$document" | $asCompared >"$work/expected"
$asCompared <"$work/printed" >"$work/found"
[ -s "$work/expected" ] || { echo "there are no layouts in $document"; exit 1; }
diff -u "$work/expected" "$work/found" || {
    echo "the layouts (+) are not those of $document (-)"
    exit 1
}
