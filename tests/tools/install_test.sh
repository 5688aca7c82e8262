#!/usr/bin/env bash
# install_test.sh BUILD COMPILER: installs a build aside, builds a middleware of one line with its
# headers and its libraries, and starts the programs from there.
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
#include "ze/zeConsole.h"
#include "ze/zeTools.h"
int main() {}
END
"$compiler" -std=c++17 -Wall -Wextra -Werror -I "$there/include" -o "$there/middleware" \
    "$there/middleware.cpp" -L "$there/lib" -Wl,--no-as-needed -lKetraDMR -lketra-platform \
    -Wl,-rpath,"$there/lib"
LD_BIND_NOW=1 "$there/middleware"
for program in ketra-tv ketra-push sbus; do
    "$there/bin/$program" --help >/dev/null
done
for program in Vantor2 zeGStreamerPlayer; do
    ! ldd "$there/bin/$program" | grep 'not found'
done
! readelf -d "$there"/bin/* | grep -F "$build"
