#!/usr/bin/env bash
# Makes the source distribution and the wheel of the Python package, installs the wheel into a fresh virtual environment,
# as its users do, without a network, and uses it there. WORK_DIR/dist holds both.
# usage: wheel.sh SOURCE_DIR BUILD_DIR WORK_DIR PYTHON     BUILD_DIR is built already; with "-" all is built from the distribution
set -euo pipefail
source="$1" build="$2" work="$3" python="$4"
"$python" -c 'import venv, ensurepip' || { echo "python3-venv is not installed"; exit 77; }
unset PYTHONPATH
export PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 PYTHONNOUSERSITE=1 PYTHONDONTWRITEBYTECODE=1
rm -rf "$work"
mkdir -p "$work/dist"

"$python" -m venv "$work/venv"
(cd "$source/python" && "$python" -c 'import sys, backend; backend.build_sdist(sys.argv[1])' "$work/dist")
tar --extract --file="$(echo "$work"/dist/dibstream-*.tar.gz)" --directory="$work"
tree="$(echo "$work"/dibstream-*)"
head -3 "$tree/PKG-INFO"
settings=()
# What is built already is packed.
[ "$build" = - ] || settings=(--config-settings "build-dir=$build")
"$work/venv/bin/pip" wheel --quiet --no-deps --wheel-dir "$work/dist" "${settings[@]}" "$tree"
"$work/venv/bin/pip" install --quiet "$work"/dist/*.whl
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
