#!/usr/bin/env python3
"""Checks that code quoted in the documentation is what the tree contains.

A code block that follows the line `<!-- whole of FILE -->` must equal that file; one that follows
`<!-- from FILE -->` must occur in it. Every block of C++ is such a quotation. Links to files of the tree must have a
target, and every page must be linked from another one.

usage: check-quotes.py [ROOT]
"""
import pathlib
import re
import sys

QUOTE = re.compile(r"<!-- (whole of|from) (\S+) -->\n```\w*\n(.*?)^```$", re.MULTILINE | re.DOTALL)
BLOCK = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"^```cpp$", re.MULTILINE)
LINK = re.compile(r"\]\((?!\w+:|#)([^)#]+)[^)]*\)")


def links(page):
    return LINK.findall(BLOCK.sub("", page.read_text(encoding="utf-8")))


def unlinked(root, pages):
    """The pages that no other page links to."""
    linked = {(page.parent / link).resolve() for page in pages for link in links(page)
              if (page.parent / link).resolve() != page.resolve()}
    return [f"{page.relative_to(root)}: no page links here" for page in pages
            if page != root / "README.md" and page.resolve() not in linked]


def check(root, page):
    text = page.read_text(encoding="utf-8")
    wrong = []
    quotes = QUOTE.findall(text)
    if len(quotes) != text.count("<!-- whole of ") + text.count("<!-- from "):
        wrong.append("a quotation is not followed by a code block")
    if len(CODE.findall(text)) > len(quotes):
        wrong.append("a block of C++ is not a quotation")
    for kind, name, code in quotes:
        file = root / name
        source = file.read_text(encoding="utf-8") if file.is_file() else None
        if source is None:
            wrong.append(f"{name} is quoted, but does not exist")
        elif code != source if kind == "whole of" else code not in source:
            wrong.append(f"a quotation differs from {name}")
    wrong += [f"{link} is linked, but does not exist" for link in links(page)
              if not (page.parent / link).exists()]
    return len(quotes), [f"{page.relative_to(root)}: {line}" for line in wrong]


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    total = 0
    wrong = []
    pages = [*sorted(root.glob("*.md")), *sorted((root / "docs").rglob("*.md"))]
    for page in pages:
        quotes, found = check(root, page)
        total += quotes
        wrong += found
    wrong += unlinked(root, pages)
    for line in wrong:
        print(line)
    print(f"{total} quotations, {len(wrong)} wrong")
    return 1 if wrong or total == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
