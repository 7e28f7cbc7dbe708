#!/usr/bin/env python3
"""What dibstream.h promises to compiled programs.

The list is the compiler's own reading of the header: every function with its type, every value, every structure with
the place of each member. A stored list must equal it: a line that is gone breaks programs, a new line is an addition.
Every structure starts with its size.

usage: c-interface.py CLANG C_COMPILER FOLDER            compares FOLDER/include/dibstream.h with FOLDER/interface.txt
       c-interface.py CLANG C_COMPILER FOLDER --write    stores the list
       c-interface.py CLANG HEADER --calls               writes a C program that calls every function with zeros
       c-interface.py CLANG HEADER --definitions         writes a C library with every function, for abidw
"""
import json
import pathlib
import subprocess
import sys
import tempfile


class Interface:
    """Functions as (name, type, number of parameters), values as (enumeration, name), structures with their members."""

    def __init__(self, clang, header):
        self.functions, self.values, self.structures = [], [], []
        dump = subprocess.run([clang, "-x", "c", "-std=c11", "-fsyntax-only", "-Xclang", "-ast-dump=json", str(header)],
                              stdout=subprocess.PIPE, text=True, check=True).stdout
        for node in json.loads(dump)["inner"]:
            inner = [child for child in node.get("inner", []) if "kind" in child]
            if not node.get("name", "").startswith("dib_"):
                continue
            if node["kind"] == "FunctionDecl":
                parameters = sum(child["kind"] == "ParmVarDecl" for child in inner)
                self.functions.append((node["name"], node["type"]["qualType"], parameters))
            elif node["kind"] == "EnumDecl":
                self.values += [(node["name"], child["name"]) for child in inner if child["kind"] == "EnumConstantDecl"]
            elif node["kind"] == "RecordDecl" and node.get("completeDefinition"):
                members = [(child["name"], child["type"]["qualType"]) for child in inner if child["kind"] == "FieldDecl"]
                self.structures.append((node["name"], members))
            elif node["kind"] == "TypedefDecl" and "(*)" in node["type"]["qualType"]:
                self.functions.append((node["name"], node["type"]["qualType"], None))

    def printer(self, header):
        """A C program that prints the list."""
        lines = [f'puts("{name}: {kind}");' for name, kind, _ in self.functions]
        lines += [f'printf("{kind}: {name} = %d\\n", (int){name});' for kind, name in self.values]
        for name, members in self.structures:
            lines += [f'printf("{name}: %zu {kind} {member}\\n", offsetof(struct {name}, {member}));'
                      for member, kind in members]
        return program(header, lines)

    def unsized(self):
        """The structures that do not start with their size, so that they could not grow."""
        return [name for name, members in self.structures if members[:1] != [("size", "size_t")]]

    def calls(self, header):
        lines = [f"(void){name}({', '.join(['0'] * parameters)});" for name, _, parameters in self.functions
                 if parameters is not None]
        return program(header, lines + [f'puts("{len(lines)} functions called");'])

    def definitions(self, header):
        """A library of functions that do nothing."""
        lines = [f"#include <{header.name}>"]
        for name, kind, parameters in self.functions:
            if parameters is not None:
                result, _, types = kind.partition("(")
                lines.append(f'__attribute__((visibility("default"))) {result}{name}({types} {{ __builtin_trap(); }}')
        return "\n".join(lines) + "\n"


def program(header, lines):
    body = "".join(f"    {line}\n" for line in lines)
    return f"#include <{header.name}>\n#include <stddef.h>\n#include <stdio.h>\nint main(void) {{\n{body}    return 0;\n}}\n"


def measured(compiler, header, source):
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([compiler, "-std=c11", f"-I{header.parent}", "-x", "c", "-", "-o", f"{folder}/list"],
                       input=source, text=True, check=True)
        return subprocess.run([f"{folder}/list"], stdout=subprocess.PIPE, text=True, check=True).stdout


def compare(present, stored):
    gone = [line for line in stored if line not in present]
    added = [line for line in present if line not in stored]
    for line in gone:
        print(f"gone, which breaks programs: {line}")
    for line in added:
        print(f"new, not in the stored list: {line}")
    print(f"{len(present)} promises, {len(gone)} gone, {len(added)} new")
    return 1 if gone or added or not present else 0


def main():
    if sys.argv[-1] == "--calls":
        clang, header = sys.argv[1], pathlib.Path(sys.argv[2])
        print(Interface(clang, header).calls(header), end="")
        return 0
    if sys.argv[-1] == "--definitions":
        clang, header = sys.argv[1], pathlib.Path(sys.argv[2])
        print(Interface(clang, header).definitions(header), end="")
        return 0
    clang, compiler, folder = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
    header, stored = folder / "include" / "dibstream.h", folder / "interface.txt"
    interface = Interface(clang, header)
    text = measured(compiler, header, interface.printer(header))
    if sys.argv[-1] == "--write":
        stored.write_text(text, encoding="utf-8")
        return 0
    unsized = interface.unsized()
    for name in unsized:
        print(f"does not start with its size: {name}")
    return compare(text.splitlines(), stored.read_text(encoding="utf-8").splitlines()) or int(bool(unsized))


if __name__ == "__main__":
    sys.exit(main())
