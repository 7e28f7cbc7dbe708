#!/usr/bin/env python3
"""Turns the documents of the tree into web pages with the same folders, by cmark-gfm.

Links to documents lead to their pages, links to public headers to the reference, which doxygen wrote into OUTPUT before,
and links to other sources and folders to pages that show them.

usage: site.py OUTPUT
"""
import html
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MENU = [("Overview", "README.md"), ("Installing", "docs/installing.md"), ("Tutorial", "docs/tutorial.md"),
        ("Files", "docs/open-and-save.md"), ("C", "docs/c.md"), ("Python", "docs/python.md"), ("Browsers", "docs/web.md"),
        ("Reference", "docs/reference/index.md"), ("Changes", "CHANGELOG.md")]
HEADERS = ["include", "vexlibs/include", "c/include"]
SHOWN = {".svg", ".png", ".jpg", ".json", ".tsv"}  # browsers show them as they are
PAGE = """<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<link rel="stylesheet" href="{style}">
<nav aria-label="Main pages">{menu}</nav>
<main>
{body}</main>
</html>
"""
STYLE = """body { max-width: 60rem; margin: 0 auto; padding: 0 1rem 4rem; font: 1rem/1.5 system-ui, sans-serif; color: #222; background: #fff; }
nav { display: flex; flex-wrap: wrap; gap: 0.25rem 1rem; padding: 1rem 0; border-bottom: 1px solid #ccc; }
a { color: #0550ae; }
img { max-width: 100%; height: auto; }
code { font-size: 0.9em; background: #f4f4f4; }
pre { overflow-x: auto; padding: 0.75rem; background: #f4f4f4; line-height: 1.35; }
table { display: block; overflow-x: auto; border-collapse: collapse; }
th, td { padding: 0.25rem 0.5rem; border: 1px solid #ccc; text-align: left; vertical-align: top; }
"""


class Site:
    def __init__(self, output):
        self.output = output
        self.waiting = []  # files and folders of the tree that are linked
        self.known = set()

    def address(self, path):
        """Where the site has a file or folder of the tree, which gets a page if it has none yet."""
        name = path.relative_to(ROOT).as_posix()
        if name == "docs/reference/index.md":
            return "reference/index.html"
        if path.parent.relative_to(ROOT).as_posix() in HEADERS and path.suffix == ".h":
            stem = "c_dibstream" if path.stem == "dibstream" else path.stem  # as scripts/site.sh names it
            return f"reference/{stem}_8h.html"
        if path not in self.known:
            self.known.add(path)
            self.waiting.append(path)
        if path.is_dir():
            return (pathlib.PurePosixPath(name) / "index.html").as_posix()
        if path.suffix == ".md":
            return re.sub(r"\.md$", ".html", re.sub(r"README\.md$", "index.md", name))
        return name if path.suffix in SHOWN else f"{name}.html"

    def relative(self, path, page):
        return os.path.relpath(self.address(path), pathlib.PurePosixPath(page).parent)

    def write(self, page, title, body):
        menu = " ".join(f'<a href="{self.relative(ROOT / name, page)}">{text}</a>' for text, name in MENU)
        style = os.path.relpath("style.css", pathlib.PurePosixPath(page).parent)
        file = self.output / page
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(PAGE.format(title=html.escape(title), style=style, menu=menu, body=body), encoding="utf-8")

    def document(self, path, page):
        body = subprocess.run(["cmark-gfm", "--unsafe", "--extension", "table", "--extension", "autolink", path],
                              check=True, capture_output=True, encoding="utf-8").stdout
        anchors = {}

        def heading(found):
            level, text = found.groups()
            words = html.unescape(re.sub(r"<[^>]*>", "", text)).lower()
            anchor = re.sub(r"[^\w\- ]", "", words).replace(" ", "-")
            anchors[anchor] = anchors.get(anchor, -1) + 1
            if anchors[anchor]:
                anchor += f"-{anchors[anchor]}"
            return f'<h{level} id="{anchor}">{text}</h{level}>'

        def link(found):
            kind, target = found.groups()
            target = html.unescape(target)
            if re.match(r"\w+:|#", target):
                return found[0]
            file, _, anchor = target.partition("#")
            address = self.relative((path.parent / file).resolve(), page)
            return f'{kind}="{html.escape(address + ("#" + anchor if anchor else ""))}"'

        body = re.sub(r"<h([1-6])>(.*?)</h\1>", heading, body)
        body = re.sub(r'\b(href|src)="([^"]*)"', link, body)
        title = html.unescape(re.sub(r"<[^>]*>", "", re.search(r"<h1[^>]*>(.*?)</h1>", body)[1]))
        self.write(page, title if title == "DibStream" else f"{title} - DibStream", body)

    def folder(self, path, page):
        entries = []
        for entry in sorted(path.iterdir(), key=lambda entry: (entry.is_file(), entry.name)):
            if entry.is_dir() and entry.name != "__pycache__":
                entries.append(f'<li><a href="{html.escape(self.relative(entry, page))}">{html.escape(entry.name)}/</a>')
            elif entry.is_file():
                name = html.escape(entry.name)
                shown = entry.suffix in SHOWN or text(entry) is not None
                entries.append(f'<li><a href="{html.escape(self.relative(entry, page))}">{name}</a>' if shown else f"<li>{name}")
        name = path.relative_to(ROOT).as_posix()
        self.write(page, f"{name} - DibStream", f"<h1>{html.escape(name)}</h1>\n<ul>\n" + "\n".join(entries) + "\n</ul>\n")

    def source(self, path, page):
        name = path.relative_to(ROOT).as_posix()
        self.write(page, f"{name} - DibStream", f"<h1>{html.escape(name)}</h1>\n<pre>{html.escape(text(path))}</pre>\n")

    def make(self):
        (self.output / "style.css").write_text(STYLE, encoding="utf-8")
        for path in [*sorted(ROOT.glob("*.md")), *sorted((ROOT / "docs").rglob("*.md"))]:
            self.address(path)
        while self.waiting:
            path = self.waiting.pop()
            page = self.address(path)
            if path.is_dir():
                # A folder with a README is that page.
                if not (path / "README.md").exists():
                    self.folder(path, page)
                else:
                    self.address(path / "README.md")
            elif path.suffix == ".md":
                self.document(path, page)
            elif path.suffix in SHOWN:
                (self.output / page).parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(path, self.output / page)
            else:
                self.source(path, page)
        print(f"{len(self.known)} documents, sources and folders")


def text(path):
    """The text of a file, or None where it holds something else."""
    try:
        return path.read_text(encoding="utf-8")
    except UnicodeDecodeError:
        return None


if __name__ == "__main__":
    Site(pathlib.Path(sys.argv[1])).make()
