#!/usr/bin/env bash
# Installs the packages of scripts/packages.txt that are missing, or lists them.
# usage: scripts/install-packages.sh [--list] [GROUP...]     every group when none is named
set -euo pipefail
list="$(dirname "$0")/packages.txt"

listOnly=0
if [ "${1:-}" = --list ]; then
    listOnly=1
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
if [ "$listOnly" = 1 ]; then
    printf '%s\n' "${missing[@]}"
    exit 0
fi

run=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Install these packages as root, then run this again: ${missing[*]}" >&2
        exit 1
    fi
    run=(sudo)
fi
echo "Installing ${missing[*]}"
"${run[@]}" apt-get update -qq
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
