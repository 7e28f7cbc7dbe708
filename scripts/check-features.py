#!/usr/bin/env python3
"""Names each place of the tree that a public effect, loader or saver has not reached yet: what is left to do for a new
one (docs/adding-an-effect.md, docs/adding-a-format.md).

usage: check-features.py [ROOT]
"""
import pathlib
import re
import sys

EFFECT = "include/DibEffect.h", r"\b(DibEffect[A-Z]\w*)\("
RECORD = "include/DibEffect.h", r"^struct (DE\w+Info) \{"
CODEC = "include/DibCodec.h", r"\b((?:Load|Save)[A-Z]+)\("
ROW = "formats/Formats.h", r"^extern const FileFormat k(\w+)Format;"
# Declarations, where each name must appear, what that place is for, and names that need not appear there.
PLACES = [
    (EFFECT, "tests/exports/*.txt", "exported names", ()),
    (EFFECT, "tests/effects/*.cpp", "tests", ()),
    (EFFECT, "tests/effects/EffectHeaderTest.cpp", "calls with literal arguments", ()),
    (EFFECT, "tests/digest/Effects.cpp", "digest of all results", ()),
    (EFFECT, "fuzz/EffectsFuzzer.cpp", "comparison with the plain loop on random input", ()),
    (EFFECT, "bench/*.cpp", "benches", ()),
    (EFFECT, "operations/**/*.cpp", "table of operations", ()),
    (RECORD, "tests/exports/*.txt", "exported overload with a record", ()),
    (RECORD, "tests/effects/RecordLayoutTest.cpp", "layout of the record", ()),
    (CODEC, "tests/exports/*.txt", "exported names", ()),
    (CODEC, "tests/formats/*.cpp", "tests", ()),
    # LoadPGM is the same as LoadPPM.
    (CODEC, "tests/digest/*", "digest of all results", ("LoadPGM",)),
    # Fuzzed through another function: a loader of the same files, DibPSDLoader, the functions of the plug-ins.
    (CODEC, "fuzz/*.cpp", "fuzzing", ("LoadPGM", "LoadJPEG", "LoadTIFF", "LoadPSD", "LoadDDS", "LoadEXR")),
    (CODEC, "bench/*.cpp", "benches", ("LoadDDS", "LoadEXR", "SaveIFF", "SaveTIM")),
]
# The same by the format, in letters of any size: the name of its row, and of its functions without their first word.
FORMAT_PLACES = [
    ("docs/limits.md", "{}", "what is read and written", ()),
    # The row of ILBM has another name than its functions and its files.
    ("formats/Formats.cpp", "k{}Format", "table of formats", ("pgm", "iff")),
    ("tests/formats/FormatsTest.cpp", "{}", "tests of the table of formats", ("ilbm",)),
    ("tests/formats/DoorProbeTest.cpp", "{}", "tests of the reasons why a file is refused", ("pgm", "ilbm")),
    # ILBM has one fuzzer by its other name. DibPSDLoader and the decoders of the platform have fuzzers of their own.
    ("fuzz/*Fuzzer.cpp", "{}", "fuzzing", ("iff", "psd", "tiff")),
]


def names(root, declarations):
    header, pattern = declarations
    return sorted(set(re.findall(pattern, (root / header).read_text(encoding="utf-8"), re.MULTILINE)))


def words(root, files):
    return set(re.findall(r"\w+", " ".join(path.read_text(encoding="utf-8") for path in root.glob(files) if path.is_file())))


def missing(root):
    for declarations, files, purpose, exempt in PLACES:
        found = words(root, files)
        for name in names(root, declarations):
            if name not in found and name not in exempt:
                yield f"{name} is missing in {files} ({purpose})"
    for files, pattern, purpose, exempt in FORMAT_PLACES:
        found = {word.lower() for word in words(root, files)}
        for name in sorted({name[4:].lower() for name in names(root, CODEC)} | {name.lower() for name in names(root, ROW)}):
            if pattern.format(name).lower() not in found and name not in exempt:
                yield f"{pattern.format(name)} is missing in {files} ({purpose})"


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    count = sum(len(names(root, declarations)) for declarations in (EFFECT, RECORD, CODEC, ROW))
    wrong = list(missing(root))
    print("\n".join(wrong + [f"{count} declarations, {len(wrong)} places missing"]))
    return 1 if wrong or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
