#!/usr/bin/env bash
# The list of public declarations is complete: linking against a library with hidden ones fails for exactly those.
# usage: declarations.sh CLANG WORK_DIR COMPILER
set -euo pipefail
clang="$1" work="$2" compiler="$3"
here="$(cd "$(dirname "$0")" && pwd)"
rm -rf "$work"
mkdir -p "$work"
cd "$work"
"$compiler" -shared -fPIC -fvisibility=hidden "$here/wrong-declarations/Wrong.cpp" -o libwrong.so
python3 "$here/declarations.py" "$clang" "$here/wrong-declarations" >every_declaration.cpp
echo 'int main() {}' >main.cpp
if "$compiler" -I"$here/wrong-declarations" main.cpp every_declaration.cpp -o program -L. -lwrong 2>link.log; then
    echo "a library with hidden declarations was accepted"
    exit 1
fi
grep -o 'undefined reference to .*' link.log | sed "s/undefined reference to .//; s/'\$//" | LC_ALL=C sort -u |
    diff "$here/wrong-declarations/expected.txt" -
