#!/usr/bin/env bash
# Packs the npm package from what scripts/web.sh built, into build/web/package and build/web/dibstream-VERSION.tgz.
# usage: web/package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
version="$(scripts/version.sh)"
folder=build/web/package
rm -rf "$folder"
mkdir -p "$folder"
cp web/index.mjs web/dibstream.mjs web/dibstream.d.ts web/package/README.md "$folder"
cp build/web/web/dibstream_web.wasm "$folder/dibstream.wasm"
{ cat build/web/web/dibstream_web.js; echo 'export default createDibstream;'; } >"$folder/glue.mjs"
sed "s/@VERSION@/$version/" web/package/package.json.in >"$folder/package.json"
# As npm packs it: a folder named package. Without dates and owners, so that the same files give the same bytes.
tar --create --file=- --directory=build/web --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner package |
    gzip --no-name -9 >"build/web/dibstream-$version.tgz"
echo "The package is build/web/dibstream-$version.tgz"
