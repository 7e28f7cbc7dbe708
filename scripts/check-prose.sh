#!/usr/bin/env bash
# Finds doubled words and the phrases of scripts/wordy-phrases.txt in the documents, by diction.
# usage: scripts/check-prose.sh [ROOT]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cd "${1:-$here/..}"
# Code, tables and the targets of links are no prose. Lines stay where they are.
prose() { awk '/^ *```/ { code = !code; print ""; next } code || /^ *\|/ { print ""; next } { print }' "$1" | sed -E 's/\]\([^)]*\)/]/g; s/`[^`]*`/X/g'; }
wrong=0
while read -r page; do
    found="$(prose "$page" | diction --language en_GB --no-default-file --suggest --file "$here/wordy-phrases.txt" |
        grep -E '\[[^]]{2,} ->' || true)"
    [ -n "$found" ] || continue
    sed "s|^(stdin)|$page|" <<<"$found"
    wrong=1
done < <(find . -name '*.md' -not -path './build/*' -not -path './tests/*' -not -path './*-out/*' | LC_ALL=C sort)
[ "$wrong" = 0 ] || exit 1
echo "no wordy phrases"
