#!/usr/bin/env python3
"""Writes a C++ source that refers to everything that public headers declare and do not define.

The list is the compiler's own reading of the headers: free functions, public and protected methods, constructors,
destructors and static members, and what a class derived from a polymorphic one needs. A declaration marked DIB_LOCAL
belongs to the library alone and is left out.

usage: declarations.py CLANG HEADER_FOLDER... >every_declaration.cpp
"""
import json
import pathlib
import subprocess
import sys

# The export marks are replaced by ones that the dump shows.
MARKS = ["-DDIBSTREAM_DIBEXPORT_H", "-DDIB_EXPORT=", "-DDIB_LOCAL=__attribute__((unused))"]
FUNCTIONS = {"FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"}


def has(node, kind):
    return any(child.get("kind") == kind for child in node.get("inner", []))


def isDefined(node):
    return has(node, "CompoundStmt") or node.get("explicitlyDeleted") or node.get("explicitlyDefaulted")


def symbols(node):
    """The names that a linker must find for one declaration."""
    kind = node["kind"]
    if node.get("isImplicit") or has(node, "UnusedAttr"):
        return []
    if kind in FUNCTIONS and not isDefined(node):
        return [node["mangledName"]]
    if kind == "VarDecl" and node.get("storageClass") and not node.get("constexpr"):
        return [node["mangledName"]]
    if kind == "CXXRecordDecl" and node.get("definitionData", {}).get("isPolymorphic"):
        name = f"{len(node['name'])}{node['name']}"
        return [f"_ZTV{name}", f"_ZTI{name}", f"_ZN{name}C2Ev", f"_ZN{name}D2Ev", f"_ZN{name}D0Ev"]
    return []


class Reader:
    def __init__(self, folders):
        self.folders = [folder.resolve() for folder in folders]
        self.file = ""
        self.names = set()

    def follow(self, place):
        """The dump names a file only where it differs from that of the location before."""
        for part in (place.get("spellingLoc", {}), place.get("expansionLoc", {}), place):
            self.file = part.get("file", self.file)

    def walk(self, node, isPublic=True):
        self.follow(node.get("loc", {}))
        if isPublic and pathlib.Path(self.file).resolve().parent in self.folders:
            self.names.update(symbols(node))
        for end in ("begin", "end"):
            self.follow(node.get("range", {}).get(end, {}))
        access = "private" if node.get("tagUsed") == "class" else "public"
        for child in node.get("inner", []):
            access = child["access"] if child.get("kind") == "AccessSpecDecl" else access
            if "kind" in child:
                self.walk(child, isPublic and (node["kind"] != "CXXRecordDecl" or access != "private"))


def main():
    clang, *folders = sys.argv[1:]
    folders = [pathlib.Path(folder) for folder in folders]
    includes = "".join(f"#include <{name}>\n" for name in sorted(header.name for folder in folders
                                                                for header in folder.glob("*.h")))
    dump = subprocess.run(
        [clang, "-x", "c++", "-std=c++17", *MARKS, *(f"-I{folder}" for folder in folders),
         "-fsyntax-only", "-Xclang", "-ast-dump=json", "-"],
        input=includes, stdout=subprocess.PIPE, text=True, check=True).stdout
    reader = Reader(folders)
    reader.walk(json.loads(dump))
    names = sorted(reader.names)
    print(includes)
    for i, name in enumerate(names):
        print(f'extern const char declaration{i}[] __asm__("{name}");')
    print("\nextern const void* const declarations[];\nconst void* const declarations[] = {")
    print("".join(f"    declaration{i},\n" for i in range(len(names))) + "    nullptr};")
    return 0 if names else 1


if __name__ == "__main__":
    sys.exit(main())
