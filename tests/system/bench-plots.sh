#!/usr/bin/env bash
# Plots made-up results. Ends with 77 where python3-matplotlib is not installed.
# usage: bench-plots.sh SCRIPT FOLDER
set -euo pipefail
script="$1"
folder="$2"
/usr/bin/python3 -c 'import matplotlib' 2>/dev/null || { echo "matplotlib is not installed"; exit 77; }
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

fail() { echo "failed: $*" >&2; exit 1; }
has() { grep -qF -- "$2" "$1" || fail "$1 lacks $2"; }

python3 - <<'PYTHON'
import json

def entries(name, times, unit="us", **more):
    return [{"name": name + "/process_time", "run_type": "iteration", "cpu_time": time, "time_unit": unit, **more}
            for time in times]

first = (entries("invert/1000x1000/24/ours", [500, 100, 200]) + entries("invert/1000x1000/24/ours.cb", [1])
         + entries("invert/1000x1000/24/quick", [0.1], "ms") + entries("invert/1000x1000/24/slow", [800])
         + entries("memcpy/1000x1000/24/limit", [50000], "ns") + entries("box_r2/1000x1000/24/ours", [300])
         + entries("box_r20/1000x1000/24/ours", [600]) + entries("box_r2/1000x1000/24/quick", [900])
         + entries("invert/100x100/24/ours", [2]) + entries("invert/300x300/24/ours", [18], max_bytes_used=540000)
         + entries("strange", [1]) + entries("failed/1000x1000/24/ours", [1], error_occurred=True)
         + [{"name": "invert/1000x1000/24/ours_mean", "run_type": "aggregate", "cpu_time": 1, "time_unit": "us"}])
second = entries("load_x/1000x1000/24/ours", [0.004], "s") + entries("load_x/1000x1000/24/limit.fread", [3000])
second += entries("rotate30/1920x1080/24/ours", [5000]) + entries("rotate30/1920x1080/24/quick", [6000], label="`turn`")
second += entries("rotate30/1920x1080/24/graphicsmagick", [1])  # another job
limited = entries("invert/1000x1000/24/ours", [250])
json.dump({"benchmarks": first}, open("first.json", "w"))
json.dump({"context": {"program quick": "Quick 1.2"}, "benchmarks": second}, open("second.json", "w"))
json.dump({"context": {"kernels": "avx2"}, "benchmarks": limited}, open("limited.json", "w"))
json.dump({"benchmarks": entries("invert/1000x1000/24/quick", [1])}, open("foreign.json", "w"))
PYTHON

"$script" first.json second.json limited.json out > written
printf 'out/%s\n' overview.svg throughput.svg size.svg radius.svg memory.svg medians.json table.md | diff - written
diff out/table.md - <<'TABLE'
| operation | picture | ours ms | MB/s | bound ms | fastest other | ms | ratio |
|---|---|---|---|---|---|---|---|
| box_r2 | 1000x1000, 24 bits | 0.3 | 1e+04 | 0.05 | quick | 0.9 | 0.33 |
| box_r20 | 1000x1000, 24 bits | 0.6 | 5e+03 | 0.05 |  |  |  |
| invert | 100x100, 24 bits | 0.002 | 1.5e+04 |  |  |  |  |
| invert | 300x300, 24 bits | 0.018 | 1.5e+04 |  |  |  |  |
| invert | 1000x1000, 24 bits | 0.2 | 1.5e+04 | 0.05 | quick | 0.1 | 2.00 |
| load_x | 1000x1000, 24 bits | 4 | 750 | 3 |  |  |  |
| rotate30 | 1920x1080, 24 bits | 5 | 1.24e+03 |  | quick | 6 | 0.83 |
TABLE
has out/overview.svg "rotate by 30 degrees"
has out/overview.svg "Quick 1.2"
has out/overview.svg "5 ms"
has out/medians.json '"program quick": "Quick 1.2"'
has out/medians.json '{"name": "invert/1000x1000/24/ours.avx2", "cpu_time": 0.25, "time_unit": "ms"}'
has out/medians.json '"label": "`turn`"'
! grep -q graphicsmagick out/medians.json || fail "another job is kept"
has out/throughput.svg "0.50 x quick"
has out/throughput.svg "3.00 x quick"
has out/throughput.svg "pictures of 1000x1000, 24 bits"
! grep -q load_x out/throughput.svg || fail "a file is plotted beside pictures"
has out/size.svg "invert, 24"
has out/radius.svg "box, 1000x1000, 24 bits"
has out/memory.svg "0.54 MB, 300x300, 24 bits"

# The same results give the same files, and so do their medians, but for the memory.
"$script" first.json second.json limited.json again > written
diff -r out again
"$script" out/medians.json medians > written
for file in medians.json table.md; do cmp "out/$file" "medians/$file"; done
[ ! -e medians/memory.svg ] || fail "memory is plotted that was not measured"

if "$script" foreign.json none 2> message; then fail "results without ours are accepted"; fi
has message "no result is named operation/WIDTHxHEIGHT/bits/ours"
if "$script" first.json 2> message; then fail "a missing folder is accepted"; fi
has message "usage: scripts/bench-plots.py RESULTS.json... FOLDER"
echo "plots are right"
