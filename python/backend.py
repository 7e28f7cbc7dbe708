"""Builds wheels of the package by CMake, for pip (PEP 517 and 660).

The build folder is build/wheel; `--config-settings build-dir=FOLDER` names one that is built already.
"""

import base64
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

TREE = pathlib.Path(__file__).resolve().parent.parent
VERSION = re.search(r"^project\(DibStream VERSION ([0-9.]+)", (TREE / "CMakeLists.txt").read_text(), re.MULTILINE)[1]
NAME = f"dibstream-{VERSION}"
METADATA = f"""Metadata-Version: 2.1
Name: dibstream
Version: {VERSION}
Summary: Pictures: many file formats, effects, and pixels as NumPy arrays
Requires-Python: >=3.11
"""


class UnsupportedOperation(Exception):
    """What pip expects of a hook that does nothing."""


def build_sdist(sdist_directory, config_settings=None):
    """There is none: the package is a part of the tree of the library."""
    raise UnsupportedOperation("build a wheel from the tree of the library")


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    """Writes what a wheel says about itself."""
    folder = pathlib.Path(metadata_directory, f"{NAME}.dist-info")
    folder.mkdir()
    for name, text in _info().items():
        (folder / name).write_text(text)
    return folder.name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    """Builds library and package, and packs what they install."""
    with tempfile.TemporaryDirectory() as work:
        folder = pathlib.Path(work)
        _collect(_build((config_settings or {}).get("build-dir")), folder)
        for name, text in _info().items():
            (folder / f"{NAME}.dist-info").mkdir(exist_ok=True)
            (folder / f"{NAME}.dist-info" / name).write_text(text)
        return _pack(folder, pathlib.Path(wheel_directory, f"{NAME}-{_tag()}.whl"))


def _tag():
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    return f"{python}-{python}-{re.sub('[-.]', '_', sysconfig.get_platform())}"


def _info():
    return {
        "METADATA": METADATA,
        "WHEEL": f"Wheel-Version: 1.0\nGenerator: dibstream\nRoot-Is-Purelib: false\nTag: {_tag()}\n",
    }


def _cmake(*arguments):
    if shutil.which("cmake") is None:
        raise SystemExit("cmake is not installed: scripts/install-packages.sh build python")
    subprocess.run(["cmake", *map(str, arguments)], check=True)


def _build(build):
    if build is None:
        build = TREE / "build" / "wheel"
        ninja = ["-G", "Ninja"] if shutil.which("ninja") else []
        options = ["TOOLS=OFF", "TESTS=OFF", "BENCHES=OFF", "PYTHON=ON"]
        _cmake("-S", TREE, "-B", build, *ninja, "-DCMAKE_BUILD_TYPE=Release", f"-DDIB_PYTHON={sys.executable}",
               *(f"-DDIB_BUILD_{option}" for option in options))
        _cmake("--build", build, "--parallel", os.cpu_count() or 1)
    return build


def _collect(build, folder):
    """Moves what the components install into one folder: the package with the libraries beside its module."""
    prefix = folder / "prefix"
    for component in ("python", "runtime", "plugins", "plugin-webp", "plugin-gif"):
        _cmake("--install", build, "--prefix", prefix, "--component", component, "--strip")
    modules = list(prefix.rglob("dibstream/__init__.py"))
    if not modules:
        raise SystemExit("pybind11 or Python's headers are not installed: scripts/install-packages.sh python")
    package = folder / "dibstream"
    shutil.move(modules[0].parent, package)
    # Files of that version have other names than the one by which the loader looks for them.
    for library in prefix.rglob("lib*.so.*"):
        if library.is_symlink():
            shutil.copy(library, package / library.name)
    for plugin in prefix.rglob("*.bundle"):
        (package / "plugins").mkdir(exist_ok=True)
        shutil.copy(plugin, package / "plugins")
    shutil.rmtree(prefix)


def _pack(folder, wheel):
    record = []
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for file in sorted(path for path in folder.rglob("*") if path.is_file()):
            name = file.relative_to(folder).as_posix()
            archive.write(file, name)
            digest = base64.urlsafe_b64encode(hashlib.sha256(file.read_bytes()).digest()).rstrip(b"=").decode()
            record.append(f"{name},sha256={digest},{file.stat().st_size}\n")
        record.append(f"{NAME}.dist-info/RECORD,,\n")
        archive.writestr(f"{NAME}.dist-info/RECORD", "".join(record))
    return wheel.name
