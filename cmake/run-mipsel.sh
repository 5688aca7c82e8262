#!/bin/sh
# Runs a program for the TV under the emulator. argv[0] of the program is this script, so that a
# program that starts itself again (a death test) comes back through it.
if [ -z "$KETRA_EMULATED_PROGRAM" ]; then
    KETRA_EMULATED_PROGRAM=$(readlink -f "$1")
    export KETRA_EMULATED_PROGRAM
    shift
fi
exec qemu-mipsel -L /usr/mipsel-linux-gnu -0 "$0" "$KETRA_EMULATED_PROGRAM" "$@"
