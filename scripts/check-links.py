#!/usr/bin/env python3
"""Checks that the links of web pages lead to files of their folder, and to places that these pages have.

usage: check-links.py FOLDER
"""
import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """The names of places in a page, and where it links to."""

    def __init__(self, text):
        super().__init__()
        self.places = set()
        self.links = []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.places.add(value)
            elif name in ("href", "src") and value:
                self.links.append((self.getpos()[0], value))


def problem(pages, file, link):
    """What is wrong with a link, or None."""
    parts = urllib.parse.urlsplit(link)
    if parts.scheme or parts.netloc:
        return None
    target = (file.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else file
    if not target.is_file():
        return f"{link} is not a file"
    place = urllib.parse.unquote(parts.fragment)
    if place and target in pages and place not in pages[target].places:
        return f"{link} is not a place of that page"
    return None


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    pages = {file: Page(file.read_text(encoding="utf-8")) for file in sorted(root.rglob("*.html"))}
    links = wrong = 0
    for file, page in pages.items():
        for line, link in page.links:
            links += 1
            found = problem(pages, file, link)
            if found:
                wrong += 1
                print(f"{file.relative_to(root)}:{line}: {found}")
    print(f"{len(pages)} pages, {links} links, {wrong} wrong")
    return 1 if wrong or links == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
