#!/usr/bin/env bash
# Puts every fault into a made module: four are found, one of them by the time limit, and the one that no test sees survives.
# usage: mutants.sh SCRIPT MODULE_FOLDER WORK COMPILER
set -euo pipefail
script="$1"
module="$2"
work="$3"
compiler="$4"
rm -rf "$work"
mkdir -p "$work"
cp "$module/Made.cpp" "$work"
cd "$work"
"$compiler" -c "$module/MadeTest.cpp" -o test.o

fail() { echo "failed: $*" >&2; exit 1; }
search() {
    "$script" --compile="$compiler -c {source} -o {object}" --link="$compiler {object} test.o -o {program}" "$@" Made.cpp
}

search --test='{program}' > found && fail "a fault that survives is not reported"
sort found | diff - <(cat <<'EXPECTED'
5 faults of 8 places, 4 found, 1 survived; 3 more did not compile or changed nothing
SURVIVED: Made.cpp:13:41: arithmetic: `-` -> `+`
found by time: Made.cpp:20:9: dropped statement: `n--` -> ``
found: Made.cpp:11:34: arithmetic: `+` -> `-`
found: Made.cpp:15:29: negation: `!` -> ``
found: Made.cpp:19:13: condition: `isZero(n)` -> `!(isZero(n))`
EXPECTED
)
cmp "$module/Made.cpp" Made.cpp || fail "the source changed"

# The same seed draws the same faults; fewer are drawn where fewer are asked for.
search --test='{program}' --faults=2 --seed=7 > first || true
search --test='{program}' --faults=2 --seed=7 > second || true
cmp first second
[ "$(wc -l < first)" -eq 3 ] || fail "two faults and a summary were expected"

search --test=/bin/false > none 2> message && fail "tests that always fail find faults"
grep -qxF "the tests fail without a fault: /bin/false" message || fail "no word about tests that always fail"
echo "faults are counted right"
