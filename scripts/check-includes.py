#!/usr/bin/env python3
"""Checks that no layer includes upward, and that only formats/ names foreign image libraries and loaders.

usage: check-includes.py [ROOT]
"""
import pathlib
import re
import sys

# Which layers the sources of each layer may include besides themselves.
ALLOWED = {
    "include": {"vexlibs"},
    "vexlibs": set(),
    "dib": {"include", "vexlibs"},
    "geometry": {"include", "dib"},
    "effects": {"include", "dib", "geometry"},
    "files": {"vexlibs"},
    "formats": {"include", "vexlibs", "dib", "files"},
    "c": {"include", "vexlibs", "dib"},
    # Only headers that need no compiled code of the library: plug-ins link nothing of it.
    "plugins": {"include", "vexlibs", "dib"},
    # It calls classic functions and the door through the public headers, pixel work of its own below.
    "operations": {"include", "vexlibs", "dib", "geometry", "effects"},
    # Lists of files and processes for the program: nothing about pictures.
    "batch": {"files", "vexlibs"},
    # Applications of the installed headers, and of the header for UTF-8 paths.
    "texts": {"include"},
    "gallery": {"include", "vexlibs", "texts"},
    "tools": {"include", "vexlibs", "files", "batch", "texts", "gallery"},
    "python": {"include"},
    "web": {"c"},
}
# Effects work on images in memory. Only compose loads a file, its second image: it finds the loader in the table of
# formats, by the extension of the path.
CODEC_HEADERS = {"DibCodec.h", "DibPSDLoader.h", "DibCocoaUtil.h"}
FILE_USERS = {("effects", "Compose", "Formats.h"), ("effects", "Compose", "VexLibs.h")}
# Public headers and the layers below the codecs use the standard library and processor intrinsics only.
STANDARD_ONLY = {"include", "vexlibs", "dib", "geometry", "effects", "operations", "c"}
# Headers of C are for those that C programs include.
STANDARD_HEADER = re.compile(r"[a-z_0-9]+|std(bool|def|int|io)\.h|(arm_neon|immintrin)\.h|sys/(mman|stat|uio)\.h|unistd\.h"
                             r"|(io|windef|windows|wingdi)\.h")
FORMATS_ONLY = re.compile(r"libpng|libjpeg|libtiff|zlib\.h|isa-l/|\bpng\.h|jpeglib\.h|tiffio\.h|dlopen|dlsym|dlfcn|AppKit|LoadLibrary|wincodec")

# FreeType draws letters, nothing else.
FREETYPE = re.compile(r"freetype/\w+\.h")
FREETYPE_USER = ("operations", "Freetype")

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(["<])([^">]+)[">]')
SOURCES = {".h", ".hpp", ".cpp", ".mm", ".inl"}


def owner(root, layer, source, name):
    """The layer that an included header belongs to, or None for a foreign one."""
    if (root / "include" / name).is_file():
        return "include"
    if (root / "vexlibs" / "include" / name).is_file():
        return "vexlibs"
    if (root / name).is_file():
        return pathlib.PurePath(name).parts[0]
    if (root / layer / name).is_file():
        return layer
    if (source.parent / name).is_file():
        return (source.parent / name).resolve().relative_to(root.resolve()).parts[0]
    return None


def judge(root, layer, source, quote, name):
    """What is wrong with one include, or None."""
    target = owner(root, layer, source, name)
    if target is None:
        if quote == '"':
            return f"{name} is not found"
        if FREETYPE.fullmatch(name):
            return None if (layer, source.stem) == FREETYPE_USER else f"only operations/fonts/ may include <{name}>"
        if layer in STANDARD_ONLY and not STANDARD_HEADER.fullmatch(name):
            return f"{layer}/ may include the standard library only, not <{name}>"
        return None
    base = pathlib.PurePath(name).name
    if (layer, source.stem, base) in FILE_USERS:
        return None
    if target != layer and target not in ALLOWED[layer]:
        return f"{layer}/ may not include {name} of {target}/"
    if base in CODEC_HEADERS and layer == "effects":
        return f"{layer}/ works on images in memory and may not include {base}"
    return None


def check(root):
    found = []
    files = 0
    for layer in ALLOWED:
        for source in sorted((root / layer).rglob("*")):
            if source.suffix not in SOURCES:
                continue
            files += 1
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                where = f"{source.relative_to(root)}:{number}"
                include = INCLUDE.match(line)
                wrong = include and judge(root, layer, source, include[1], include[2])
                if wrong:
                    found.append(f"{where}: {wrong}")
                foreign = FORMATS_ONLY.search(line)
                if foreign and layer != "formats":
                    found.append(f"{where}: only formats/ may name {foreign[0]}")
    return files, found


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    files, found = check(root)
    for line in found:
        print(line)
    if files == 0:
        print(f"no sources under {root}")
    print(f"{files} sources, {len(found)} wrong")
    return 1 if found or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
