#!/usr/bin/env bash
# Makes a web site of all documents and the API reference, and checks that its links lead somewhere.
# usage: scripts/site.sh [OUTPUT]     build/site when none is named
set -euo pipefail
output="$(realpath -m "${1:-$(dirname "$0")/../build/site}")"
cd "$(dirname "$0")/.."
scripts/install-packages.sh test site
rm -rf "$output"
mkdir -p "$output"

# The documents are pages beside the reference, not a part of it.
(
    cat Doxyfile
    cat <<END
OUTPUT_DIRECTORY = $output
HTML_OUTPUT = reference
INPUT = docs/reference include vexlibs/include c/include
USE_MDFILE_AS_MAINPAGE = docs/reference/index.md
FILTER_PATTERNS = "*.md=sed -E 's#\]\(\.\./([a-z/-]+)\.md\)#](../docs/\1.html)#g'"
END
) | doxygen -
# Where file systems ignore case, pages of dibstream.h would have the names of those of DibStream.h.
find "$output/reference" -name '*.html' -o -name '*.js' | xargs sed -i 's/\bdibstream_8h/c_dibstream_8h/g'
for page in "$output"/reference/dibstream_8h*; do mv "$page" "${page/\/dibstream_8h/\/c_dibstream_8h}"; done
# Doxygen announces classes of a class that it then does not list.
grep -rlZ 'href="#nested-classes"' "$output/reference" | xargs -0 grep -LZ 'name="nested-classes"' |
    xargs -0 -r sed -i '/href="#nested-classes"/d'
python3 scripts/site.py "$output"
python3 scripts/check-links.py "$output"
echo "The site is $output/index.html"
