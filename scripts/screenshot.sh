#!/usr/bin/env bash
# Makes docs/editor.png, the screenshot of examples/editor with the sample picture. No screen is needed.
# usage: scripts/screenshot.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh build test desktop
cmake --preset dev >/dev/null
cmake --build --preset dev --target dib make_sample_picture editor_test >/dev/null
build/dev/scripts/make_sample_picture 960 720 build/sample.bmp
QT_QPA_PLATFORM=offscreen EDITOR_PICTURE=build/sample.bmp EDITOR_SCREENSHOT=build/editor.png \
    build/dev/tests/editor/editor_test looksAsInTheReadme
build/dev/tools/dib run build/editor.png colors:128 docs/editor.png
