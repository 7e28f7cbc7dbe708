#!/usr/bin/env python3
"""Checks what clang-format does not: long lines and guards of headers, `using namespace`, and plain words.

scripts/plain-words.txt lists phrases that no text of the tree may hold, comments and messages included; a phrase may
continue on the next line of a comment.

usage: check-style.py [ROOT]
"""
import pathlib
import re
import sys

CODE = {".h", ".cpp", ".mm", ".c"}
TEXT = CODE | {".md", ".py", ".sh", ".cmake", ".txt"}
# Build results, and data that tests read.
SKIPPED = re.compile(r"(^|/)(\.git|build|[a-z]+-out|seeds|data|exports)(/|$)|^tests/system/wrong-|^expected.txt$")
NAMESPACE = re.compile(r"^\s*using namespace\b")
# Between two words of a text: blanks, line breaks with the marks that start a line of a comment, joined strings.
GAP = r'(?:\s|\\n|"\s*"|(?<=\n)\s*(?://[/!]?|\*|#|>))+'


def sources(root):
    for path in sorted(root.rglob("*")):
        name = path.relative_to(root).as_posix()
        if not SKIPPED.search(name) and path.is_file() and path.suffix in TEXT:
            yield path, name


def columnLimit(root):
    return int(re.search(r"^ColumnLimit: (\d+)$", (root / ".clang-format").read_text(encoding="utf-8"), re.MULTILINE)[1])


def phrases(root):
    """The phrases with what to write in their place: one a line, words as in a regular expression, a tab between."""
    for line in (root / "scripts" / "plain-words.txt").read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            phrase, plain = line.split("\t")
            yield re.compile(r"\b" + phrase.replace(" ", GAP) + r"\b", re.IGNORECASE), plain


def guard(name):
    """The guard of a header: its path, words of its name apart; public headers are named as applications see them."""
    folder, _, file = name.rpartition("/")
    if name == "c/include/dibstream.h":  # in capitals its name is that of DibStream.h
        return "DIBSTREAM_C_DIBSTREAM_H"
    if folder.endswith("include"):
        return f"DIBSTREAM_{file[:-2].upper()}_H"
    words = re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", file[:-2])
    return re.sub(r"[^A-Z0-9]", "_", f"{folder}/{words}_H".lstrip("/").upper())


def checkCode(name, text, limit):
    for number, line in enumerate(text.splitlines(), 1):
        if len(line) > limit:
            yield number, f"{len(line)} columns of {limit}"
        if NAMESPACE.match(line):
            yield number, "using namespace"
    if name.endswith(".h"):
        wanted = guard(name)
        found = re.search(r"^#ifndef (\w+)\n#define (\w+)$", text, re.MULTILINE)
        if not found or {found[1], found[2]} != {wanted}:
            yield 1, f"the guard is not {wanted}"


def checkWords(text, words):
    for phrase, plain in words:
        for found in phrase.finditer(text):
            yield text.count("\n", 0, found.start()) + 1, f"\"{' '.join(found[0].split())}\": {plain}"


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    limit = columnLimit(root)
    words = list(phrases(root))
    files = wrong = 0
    for path, name in sources(root):
        files += 1
        text = path.read_text(encoding="utf-8")
        found = list(checkWords(text, words)) if name != "scripts/plain-words.txt" else []
        if path.suffix in CODE:
            found += checkCode(name, text, limit)
        for number, what in sorted(found):
            print(f"{name}:{number}: {what}")
        wrong += len(found)
    print(f"{files} files, {wrong} wrong")
    return 1 if wrong or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
