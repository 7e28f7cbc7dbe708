#!/usr/bin/env bash
# Runs a program for 64-bit Windows by Wine, without a screen. The libraries that MinGW-w64 programs need are found.
# usage: scripts/wine.sh PROGRAM [ARGUMENT...]
set -euo pipefail
export WINEPREFIX="${WINEPREFIX:-$(cd "$(dirname "$0")/.." && pwd)/build/elsewhere/windows/wine}"
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
unset DISPLAY
runtime="/usr/x86_64-w64-mingw32/lib;$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")"
export WINEPATH="${WINEPATH:+$WINEPATH;}$runtime"
mkdir -p "$WINEPREFIX"
wine="$(command -v wine64 || echo /usr/lib/wine/wine64)"
exec "$wine" "$@"
