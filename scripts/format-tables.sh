#!/usr/bin/env bash
# Writes the tables of formats into the documentation, or with --check fails when they are out of date.
# usage: scripts/format-tables.sh [--check] [PROGRAM]
set -euo pipefail
cd "$(dirname "$0")/.."
check=
if [ "${1:-}" = --check ]; then
    check=1
    shift
fi
program="${1:-build/dev/tests/format_tables}"

# A table stands between two marks of its page.
replace() {
    local page="$1" table="$2" new
    new="$(mktemp)"
    "$program" "$table" >"$new.table"
    awk -v table="$table" -v file="$new.table" '
        $0 == "<!-- end -->" { inside = 0 }
        !inside { print }
        $0 == "<!-- table " table " -->" { inside = found = 1; while ((getline line < file) > 0) print line }
        END { exit !found }' "$page" >"$new"
    if [ -n "$check" ]; then
        diff -u "$page" "$new" || { echo "$page: run scripts/format-tables.sh"; return 1; }
    else
        cp "$new" "$page"
    fi
    rm -f "$new" "$new.table"
}

replace docs/open-and-save.md formats
replace docs/what-saving-loses.md losses
