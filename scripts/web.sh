#!/usr/bin/env bash
# Builds the library for browsers and lays out the page build/web/site/index.html, which needs no server.
# usage: scripts/web.sh [build|test|digest]
#   test    also runs tests/web under Node and in a headless browser, beside the program dib of this machine
#   digest  also runs the digest of every operation under Node
#
# JOBS is the number of compilers that run at once.
set -euo pipefail
cd "$(dirname "$0")/.."
what="${1:-build}"
case "$what" in build | test | digest) ;; *) echo "usage: web.sh [build|test|digest]" >&2; exit 2 ;; esac

scripts/install-packages.sh build web
source web/environment.sh
web/libraries/build.sh
cmake --preset web >/dev/null
cmake --build --preset web --parallel "$jobs" --target dibstream_web
node web/bundle.mjs build/web/web build/web/site
echo "The page is build/web/site/index.html"
