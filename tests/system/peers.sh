#!/usr/bin/env bash
# Compares the pictures of operations with those of other programs.
# usage: peers.sh DIB MAKE_SAMPLE_PICTURE WORK_DIR
set -euo pipefail
mkdir -p "$3"
"$2" 200 150 "$3/sample.bmp"
exec /usr/bin/python3 "$(dirname "$0")/peers.py" "$1" "$3/sample.bmp"
