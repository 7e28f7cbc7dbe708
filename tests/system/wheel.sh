#!/usr/bin/env bash
# Installs the Python package into a fresh virtual environment, as its users do, without a network, and uses it there.
# usage: wheel.sh SOURCE_DIR BUILD_DIR WORK_DIR PYTHON
set -euo pipefail
source="$1" build="$2" work="$3" python="$4"
"$python" -c 'import venv, ensurepip' || { echo "python3-venv is not installed"; exit 77; }
unset PYTHONPATH
export PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 PYTHONNOUSERSITE=1
rm -rf "$work"
mkdir -p "$work"

"$python" -m venv "$work/venv"
# What is built already is packed; without the option everything is built first.
"$work/venv/bin/pip" install --quiet --config-settings "build-dir=$build" "$source/python"
cd "$work"
"$work/venv/bin/pip" show --files dibstream | tee files.txt
for file in dibstream/_core.pyi dibstream/py.typed dibstream/libdibstream.so.0; do grep -F "  $file" files.txt >/dev/null; done

# Nothing of the build is used: neither its libraries nor its plug-ins.
env -u LD_LIBRARY_PATH "$work/venv/bin/python" - "$work/venv" "$source" <<'END'
import os
import sys

import dibstream

venv, source = sys.argv[1:]
with open("/proc/self/maps") as maps:
    loaded = {line.split()[-1] for line in maps if "dibstream" in line or "VexLibs" in line}
assert len(loaded) == 3 and all(os.path.realpath(path).startswith(os.path.realpath(venv)) for path in loaded), loaded
dibstream.new(64, 48).rotate(30, wrap="xy").save("a.png")
assert dibstream.open("a.png").size == (64, 48)
assert dibstream.plugin_folder().startswith(venv)
if os.path.exists(os.path.join(dibstream.plugin_folder(), "vexlibdds.bundle")):
    assert dibstream.open(os.path.join(source, "fuzz/seeds/dds/rgb24.dds")).format == "dds"
END
"$work/venv/bin/pip" uninstall --quiet --yes dibstream
[ -z "$(find "$work/venv" -path '*site-packages/dibstream*')" ]
