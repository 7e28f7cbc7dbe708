#!/usr/bin/env bash
# Installs the packages of scripts/packages.txt that are missing, or asks whether that is possible: none is missing, or an
# index of packages can be reached. --reachable asks for the index alone.
# usage: scripts/install-packages.sh [--possible] [GROUP...] | --reachable     every group when none is named
set -euo pipefail
list="$(dirname "$0")/packages.txt"

run=()
[ "$(id -u)" -eq 0 ] || ! command -v sudo >/dev/null || run=(sudo)
# A failing index is no error to apt-get.
reachable() { "${run[@]}" apt-get update 2>&1 | grep -E '^(Get|Hit):' >/dev/null; }

asks=0
if [ "${1:-}" = --reachable ]; then
    reachable
    exit
elif [ "${1:-}" = --possible ]; then
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

if [ "$(id -u)" -ne 0 ] && [ ${#run[@]} -eq 0 ]; then
    echo "Install these packages as root, then run this again: ${missing[*]}" >&2
    exit 1
fi
if [ "$asks" = 1 ]; then
    reachable
    exit
fi
echo "Installing ${missing[*]}"
"${run[@]}" apt-get update -qq
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
