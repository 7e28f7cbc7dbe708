#!/usr/bin/env bash
# Installs the packages of scripts/packages.txt that are missing, or asks whether that is possible: none is missing, or an
# index of packages can be reached.
# usage: scripts/install-packages.sh [--possible] [GROUP...]     every group when none is named
set -euo pipefail
list="$(dirname "$0")/packages.txt"

asks=0
if [ "${1:-}" = --possible ]; then
    asks=1
    shift
fi
groups=("$@")
[ ${#groups[@]} -gt 0 ] || mapfile -t groups < <(awk '!/^#/ && NF { print $1 }' "$list" | sort -u)

installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

missing=()
for group in "${groups[@]}"; do
    mapfile -t names < <(awk -v group="$group" '!/^#/ && $1 == group { print $2 }' "$list")
    [ ${#names[@]} -gt 0 ] || { echo "$list has no group $group" >&2; exit 2; }
    for name in "${names[@]}"; do
        installed "$name" || missing+=("$name")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Install these packages as root, then run this again: ${missing[*]}" >&2
        exit 1
    fi
    run=(sudo)
fi
if [ "$asks" = 1 ]; then
    # A failing index is no error to apt-get.
    "${run[@]}" apt-get update 2>&1 | grep -E '^(Get|Hit):' >/dev/null
    exit
fi
echo "Installing ${missing[*]}"
"${run[@]}" apt-get update -qq
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
