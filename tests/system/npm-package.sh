#!/usr/bin/env bash
# Installs the npm package into an empty folder, and runs the program of its README there.
# usage: npm-package.sh SOURCE PACKAGE WORK
set -euo pipefail
source="$1" package="$2" work="$3"
rm -rf "$work"
mkdir -p "$work"
cd "$work"
if command -v npm >/dev/null; then
    npm install --offline --no-audit --no-fund --cache "$work/cache" "$package"
else
    mkdir -p node_modules/dibstream
    tar --extract --file="$package" --directory=node_modules/dibstream --strip-components=1
fi
cp "$source/docs/gallery.jpg" photo.jpg
awk '/^```/ { if (inside) exit; inside = /js$/; next } inside' node_modules/dibstream/README.md >program.mjs
node program.mjs >progress.txt
[ "$(head -c 4 photo.png | tail -c 3)" = PNG ]
# The last report of progress is that all is done, and a PNG file loses nothing.
[ "$(tail -n 2 progress.txt)" = $'1\n[]' ]
