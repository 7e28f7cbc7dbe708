#!/usr/bin/env python3
"""Checks that every file which repeats the version of the project has the one of CMakeLists.txt.

The changelog must start with that version, and have each version once, with sections of known names: where changes meet, all
their lines are kept, those of removed sections too. No page names an archive of another version.

usage: check-versions.py [ROOT]
"""
import pathlib
import re
import sys

NUMBER = r"(\d+\.\d+\.\d+)"
# Files that hold the version, and where.
PLACES = [
    ("cmake/debian/changelog", rf"\Adibstream \({NUMBER}\) "),
    ("c/include/dibstream.h", rf"^/// The same as text: \"{NUMBER}\"\.$"),
    ("tests/c/files.c", rf"dib_version_text\(\), \"{NUMBER}\""),
]
MACRO = r"^#define DIB_C_VERSION_{} (\d+) "
SECTIONS = ["New", "Faster", "Changed", "Fixed", "For packagers"]
ARCHIVE = re.compile(rf"\b(?:lib)?dibstream\d?[-_]{NUMBER}")


def read(root, name):
    return (root / name).read_text(encoding="utf-8")


def found(root):
    """The places that hold a version, each with what stands there, or None."""
    for name, pattern in PLACES:
        match = re.search(pattern, read(root, name), re.MULTILINE)
        yield name, match and match[1]
    header = read(root, "c/include/dibstream.h")
    parts = [re.search(MACRO.format(part), header, re.MULTILINE) for part in ("MAJOR", "MINOR", "PATCH")]
    yield "c/include/dibstream.h, macros", ".".join(part[1] for part in parts) if all(parts) else None
    headings = re.findall(rf"^## {NUMBER}", read(root, "CHANGELOG.md"), re.MULTILINE)
    yield "CHANGELOG.md", headings[0] if headings else None


def changelog(text):
    """What is wrong with the headings of the changelog."""
    for version, section in re.findall(r"^## (\S+)[^\n]*\n(.*?)(?=^## |\Z)", text, re.MULTILINE | re.DOTALL):
        headings = re.findall(r"^### (.*)$", section, re.MULTILINE)
        if headings != [known for known in SECTIONS if known in headings]:
            yield f"the sections of {version} are {', '.join(headings)}, not some of {', '.join(SECTIONS)}"
    versions = re.findall(rf"^## {NUMBER}", text, re.MULTILINE)
    for version in sorted(set(versions)):
        if versions.count(version) > 1:
            yield f"{version} occurs {versions.count(version)} times"


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    version = re.search(rf"^project\(DibStream VERSION {NUMBER} ", read(root, "CMakeLists.txt"), re.MULTILINE)[1]
    places = list(found(root))
    wrong = [f"{name}: {there or 'no version'}, but CMakeLists.txt has {version}"
             for name, there in places if there != version]
    wrong += [f"CHANGELOG.md: {line}" for line in changelog(read(root, "CHANGELOG.md"))]
    for page in [*sorted(root.glob("*.md")), *sorted((root / "docs").rglob("*.md"))]:
        wrong += [f"{page.relative_to(root)}: names an archive of version {there}"
                  for there in ARCHIVE.findall(page.read_text(encoding="utf-8")) if there != version]
    for line in wrong:
        print(line)
    print(f"{len(places)} places, {len(wrong)} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
