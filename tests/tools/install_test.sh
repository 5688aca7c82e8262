#!/usr/bin/env bash
# install_test.sh BUILD COMPILER: installs a build aside, builds the middleware of docs/middleware.md
# with its headers and its libraries, and starts the programs from there.
set -euo pipefail
build=$1 compiler=$2
there=$(mktemp -d)
trap 'rm -rf "$there"' EXIT
cmake --install "$build" --prefix "$there" >/dev/null

cat >"$there/middleware.cpp" <<'END'
#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNADMR.h"
#include "KetraSrv_DLNA_Common.h"
#include "ServiceCommands.h"
#include "ServiceRecords.h"
#include "middleware/event_loop.h"
#include "statebus/quiet_reading.h"
#include "ze/zeConsole.h"
#include "ze/zeTools.h"
int main() {}
END
"$compiler" -std=c++17 -Wall -Wextra -Werror -I "$there/include" -o "$there/middleware" \
    "$there/middleware.cpp" -L "$there/lib" -Wl,--no-as-needed -lKetraDMR -lketra-platform \
    -Wl,-rpath,"$there/lib"
LD_BIND_NOW=1 "$there/middleware"

# The page's program, built with its own line, which has this installation and compiler in it. Without
# a bus it says so, whatever a machine has at the companions' place.
middleware=$(dirname "$0")/../../docs/middleware.md
sed -n '/^```cpp$/,/^```$/{//!p}' "$middleware" >"$there/small_middleware.cpp"
line=$(sed -n '/^g++ .*\\$/,/[^\]$/p' "$middleware" | sed 's/\\$//' | tr '\n' ' ')
[ -n "$line" ] || { echo "there is no line to build with in $middleware" >&2; exit 1; }
line=$(printf '%s' "$line" | sed "s|^g++|$compiler -Wall -Wextra -Werror|; s|DIR|$there|g")
(cd "$there" && eval "$line")
status=0
said=$(cd "$there" && env -u KETRA_BUS_ADDRESS -u DBUS_SESSION_BUS_ADDRESS LD_BIND_NOW=1 \
    ./small_middleware 2>&1 >/dev/null) || status=$?
[ "$status" = 1 ] && [ "$said" = "no state bus" ] || {
    echo "without a bus the middleware said \"$said\" and ended with status $status" >&2
    exit 1
}
for program in ketra-tv ketra-push sbus; do
    "$there/bin/$program" --help >/dev/null
done
# The shell passes over a failure that is negated, so these are asked the other way round.
for program in Vantor2 zeGStreamerPlayer; do
    if ldd "$there/bin/$program" | grep 'not found'; then exit 1; fi
done
if readelf -d "$there"/bin/* | grep -F "$build"; then exit 1; fi

# What a packager reads: the names by which libraries are loaded, and where what they need comes from.
page=$(dirname "$0")/../../docs/packaging.md
for library in KetraDMR ketra-platform; do
    readelf -d "$there/lib/lib$library.so" | grep -F "SONAME" | grep -F "[lib$library.so]"
done
if command -v dpkg-query >/dev/null; then
    readelf -d "$there"/bin/* "$there"/lib/*.so | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
        sort -u | while read -r library; do
        [ ! -e "$there/lib/$library" ] || continue
        file=$(ldconfig -p | awk -v name="$library" '$1 == name && !known++ { print $NF }')
        # One of both is what the package holds; the other is not found.
        package=$({ dpkg-query -S "$(readlink -f "$file")" "$file" 2>/dev/null || :; } |
            sed -n '1s/[:,].*//p')
        grep -qF "\`$package\`" "$page" || {
            echo "$library comes from $package, which docs/packaging.md does not name" >&2
            exit 1
        }
    done
fi
