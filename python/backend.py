"""Builds wheels and source distributions of the package, for pip (PEP 517 and 660).

CMake builds in build/wheel; `--config-settings build-dir=FOLDER` names a folder that is built already. The same tree
gives the same bytes: files have the date of SOURCE_DATE_EPOCH, or none.
"""

import base64
import gzip
import hashlib
import io
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import time
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


# What the package is built from; the program, the tests and the documents are not needed.
SOURCES = ["CMakeLists.txt", "c", "cmake", "dib", "effects", "files", "formats", "geometry", "include", "operations", "plugins", "python",
           "vexlibs"]
DATE = max(int(os.environ.get("SOURCE_DATE_EPOCH", 0)), 315532800)  # zip files have no dates before 1980


def build_sdist(sdist_directory, config_settings=None):
    """Packs the sources of the library and the package, with this backend."""
    name = f"{NAME}.tar.gz"
    project = (TREE / "python" / "pyproject.toml").read_text()
    with open(pathlib.Path(sdist_directory, name), "wb") as file, \
            gzip.GzipFile("", "wb", mtime=DATE, fileobj=file) as packed, \
            tarfile.open(fileobj=packed, mode="w", format=tarfile.PAX_FORMAT) as archive:
        _add(archive, "PKG-INFO", METADATA.encode())
        _add(archive, "pyproject.toml", project.replace('backend-path = ["."]', 'backend-path = ["python"]').encode())
        for path in _files(*(TREE / source for source in SOURCES)):
            _add(archive, path.relative_to(TREE).as_posix(), path.read_bytes(), _mode(path))
    return name


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
               "-DCMAKE_BUILD_RPATH_USE_ORIGIN=ON", *(f"-DDIB_BUILD_{option}" for option in options))
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


def _files(*places):
    """The files below folders, in one order everywhere."""
    files = [path for place in places for path in (place, *place.rglob("*"))]
    return sorted(path for path in files if path.is_file() and "__pycache__" not in path.parts)


def _mode(path):
    return 0o755 if path.stat().st_mode & 0o100 else 0o644


def _add(archive, name, content, mode=0o644):
    entry = tarfile.TarInfo(f"{NAME}/{name}")
    entry.size, entry.mode, entry.mtime = len(content), mode, DATE
    archive.addfile(entry, io.BytesIO(content))


def _pack(folder, wheel):
    record = []
    with zipfile.ZipFile(wheel, "w") as archive:
        def add(name, content, mode=0o644):
            entry = zipfile.ZipInfo(name, time.gmtime(DATE)[:6])
            entry.external_attr = (0o100000 | mode) << 16
            archive.writestr(entry, content, zipfile.ZIP_DEFLATED)

        for file in _files(folder):
            name, content = file.relative_to(folder).as_posix(), file.read_bytes()
            add(name, content, _mode(file))
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            record.append(f"{name},sha256={digest},{len(content)}\n")
        record.append(f"{NAME}.dist-info/RECORD,,\n")
        add(f"{NAME}.dist-info/RECORD", "".join(record))
    return wheel.name
