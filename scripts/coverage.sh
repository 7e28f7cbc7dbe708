#!/usr/bin/env bash
# Runs the tests with coverage counters and reports the lines and branches reached, per file.
# The report with every line is build/coverage/report/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/test.sh coverage
mkdir -p build/coverage/report
gcovr --root . --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
    --filter 'include/' --filter 'vexlibs/' --filter 'dib/' --filter 'geometry/' --filter 'effects/' --filter 'files/' \
    --filter 'formats/' --filter 'operations/' --filter 'c/' --filter 'plugins/' --filter 'batch/' --filter 'texts/' --filter 'gallery/' --filter 'tools/' \
    --html-details build/coverage/report/index.html --txt build/coverage/report/coverage.txt
cat build/coverage/report/coverage.txt
