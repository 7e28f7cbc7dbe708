#!/usr/bin/env bash
# The check must report every offence in the tree, and nothing else.
# usage: offences.sh TREE CHECK_COMMAND...
set -euo pipefail
tree="$1"
shift
if output="$("$@" "$tree")"; then
    echo "the offences were accepted"
    exit 1
fi
diff "$tree/expected.txt" <(printf '%s\n' "$output")
