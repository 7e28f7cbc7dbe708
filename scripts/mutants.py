#!/usr/bin/env python3
"""Mutation testing: puts faults into sources, one at a time, and counts those that the tests find.

usage: scripts/mutants.py MODULE [--faults=N] [--seed=N]
       scripts/mutants.py --compile=COMMAND --link=COMMAND --test=COMMAND [--faults=N] [--seed=N] SOURCE...

MODULE is a name of the table MODULES below; it is built in build/dev. In the commands of the second form {source}, {object} and
{program} stand for files of a temporary folder, where each fault is compiled without optimiser: no source of the tree changes.

A fault is one of: another comparison, arithmetic, bit or logical operator, a constant off by one, a condition turned round, a
dropped statement, true for false, a minimum for a maximum. N of them (50) are drawn from all places by the seed (1), at most one a
line. Faults that do not compile or link, and faults that change no byte of the object file, are not counted. A fault is found when
the tests fail, crash, or take five times as long as without it. Prints each fault with its place, and a summary; exits with 1 when
one survived.
"""
import argparse
import json
import os
import pathlib
import random
import re
import resource
import shlex
import signal
import subprocess
import sys
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "dev"
MEMORY = 8 << 30  # bytes of addresses that a test program may use


class Module(NamedTuple):
    sources: list   # patterns of files
    target: str     # the test program
    filter: str     # the tests of the module, as --gtest_filter takes them


MODULES = {
    "geometry": Module(["geometry/*.cpp"], "geometry_tests", "*"),
    "tga": Module(["formats/Tga*.cpp", "formats/PackBits.cpp", "formats/BitPlanes.cpp"], "formats_tests",
                  "*Tga*:*PackBits*:*Ilbm*:*Samples*:*Door*"),
}

# Not code: comments, texts, characters, the preprocessor's lines, and assertions that stop the compiler.
NO_CODE = re.compile(r"""
    //[^\n]* | /\*.*?\*/
    | R"(?P<end>[^(\s]*)\(.*?\)(?P=end)" | "(?:\\.|[^"\\\n])*" | (?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])*'
    | (?<![^\n])[ \t]*\#(?:[^\n]*\\\n)*[^\n]*
    | \bstatic_assert\(.*?\);""", re.VERBOSE | re.DOTALL)

# Binary operators have blanks on both sides, unlike the signs of templates, pointers and references.
OPERATORS = {
    "comparison": {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "+=": ["-="], "-=": ["+="], "*=": ["/="]},
    "bits": {"<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"], "^": ["|"], "|=": ["&="], "&=": ["|="]},
    "logic": {"&&": ["||"], "||": ["&&"]},
}
WORDS = {"true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min"}
CONSTANT = re.compile(r"(?<![\w.'])(?:0x[0-9A-Fa-f]+|\d+(?:\.\d+F?)?)[uUlL]*(?![\w.'])")
CONDITION = re.compile(r"\b(?:if|while) \(")
# A call, an assignment, a step or a jump at the start of a statement. Declarations have two names there.
NAME = r"\*?[A-Za-z_]\w*(?:(?:\.|->|::)\w+|\[[^\];{}]*\])*"
STATEMENT = re.compile(rf"(?:break|continue|return)(?=;)|(?:\+\+|--){NAME}(?=;)|{NAME}(?:\(|\+\+|--|\s[-+*/%|&^<>]*=\s)")


class Fault(NamedTuple):
    path: pathlib.Path
    begin: int
    end: int
    text: str   # what stands there instead
    kind: str


def codeOf(text):
    """The text with blanks in place of comments, texts and whatever else is not code."""
    return NO_CODE.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), text)


def closing(code, opening):
    """The position of the bracket that closes the one at `opening`, or -1."""
    depth = 0
    for at in range(opening, len(code)):
        depth += (code[at] == "(") - (code[at] == ")")
        if depth == 0:
            return at
    return -1


def statements(code):
    """The ranges of statements that can be dropped."""
    for found in STATEMENT.finditer(code):
        before = code[:found.start()].rstrip()
        end = code.find(";", found.end())
        inside = code[found.start():end]
        starts = before.endswith((";", "{", "}", ")", " else")) and code[found.start() - 1].isspace()
        if starts and end >= 0 and not re.search(r"[{}]", inside) and inside.count("(") == inside.count(")"):
            yield found.start(), end


def faultsOf(path):
    text = path.read_text(encoding="utf-8")
    code = codeOf(text)
    for kind, table in OPERATORS.items():
        for found in re.finditer(r"(?<=\s)(\S{1,2})(?=\s)", code):
            for other in table.get(found[1], []):
                yield Fault(path, *found.span(1), other, kind)
    for found in re.finditer(r"(?<![\w.])(?:" + "|".join(WORDS) + r")\b", code):
        yield Fault(path, *found.span(), WORDS[found[0]], "other word")
    for found in re.finditer(r"!(?=[A-Za-z_(])", code):
        yield Fault(path, *found.span(), "", "negation")
    for found in CONSTANT.finditer(code):
        for step in ("+", "-"):
            yield Fault(path, *found.span(), f"({found[0]} {step} 1)", "constant")
    for found in CONDITION.finditer(code):
        end = closing(code, found.end() - 1)
        if end >= 0 and ";" not in code[found.end():end]:
            yield Fault(path, found.end(), end, f"!({text[found.end():end]})", "condition")
    for begin, end in statements(code):
        yield Fault(path, begin, end, "", "dropped statement")


class Commands(NamedTuple):
    compile: dict   # by source
    link: dict      # by source
    test: str


def fill(command, **files):
    return [part.format(**files) for part in shlex.split(command)]


def run(command, seconds=None, quiet=True):
    """Whether the command ends with 0; None where it needs more processor time, or 100 times as long on a busy machine."""
    def restrict():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if seconds is not None:
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))
    output = subprocess.DEVNULL if quiet else None
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output, preexec_fn=restrict,
                          start_new_session=True) as process:
        try:
            code = process.wait(None if seconds is None else 100 * seconds)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None
    return None if code in (-signal.SIGXCPU, -signal.SIGKILL) else code == 0


class Workshop:
    """A temporary folder in which faults are compiled and tried."""

    def __init__(self, commands, folder):
        self.commands = commands
        self.folder = pathlib.Path(folder)
        self.program = str(self.folder / "program")
        self.objects = {}   # of the sources as they are
        self.seconds = 3600   # of processor time that the tests may take

    def build(self, path, text):
        """The object file of a source of this text, or None."""
        source = self.folder / path.name
        target = self.folder / (path.name + ".o")
        source.write_text(text, encoding="utf-8")
        target.unlink(missing_ok=True)
        if not run(fill(self.commands.compile[path], source=source, object=target)):
            return None
        return target

    def link(self, path, target):
        return run(fill(self.commands.link[path], object=target, program=self.program))

    def test(self):
        return run(fill(self.commands.test, program=self.program), self.seconds)

    def check(self, paths):
        """The sources without a fault must pass; how long that takes sets the limit."""
        for path in paths:
            target = self.build(path, path.read_text(encoding="utf-8"))
            if target is None:
                sys.exit(f"{path} does not compile: {self.commands.compile[path]}")
            self.objects[path] = target.read_bytes()
        if not self.link(path, target):
            sys.exit(f"{path} cannot be linked: {self.commands.link[path]}")
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        if not self.test():
            sys.exit(f"the tests fail without a fault: {self.commands.test}")
        self.seconds = 2 + int(5 * (resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before))

    def tryFault(self, fault):
        """What became of the fault: a word for it, or None where it is not counted."""
        text = fault.path.read_text(encoding="utf-8")
        target = self.build(fault.path, text[:fault.begin] + fault.text + text[fault.end:])
        if target is None or target.read_bytes() == self.objects[fault.path] or not self.link(fault.path, target):
            return None
        return {True: "SURVIVED", False: "found", None: "found by time"}[self.test()]


def lineOf(fault):
    return fault.path.read_text(encoding="utf-8").count("\n", 0, fault.begin) + 1


def describe(fault):
    text = fault.path.read_text(encoding="utf-8")
    column = fault.begin - text.rfind("\n", 0, fault.begin)
    old, new = (" ".join(code.split()) for code in (text[fault.begin:fault.end], fault.text))
    return f"{os.path.relpath(fault.path)}:{lineOf(fault)}:{column}: {fault.kind}: `{old}` -> `{new}`"


def search(commands, paths, count, seed):
    """Tries faults until `count` of them are counted; returns how many survived."""
    faults = [fault for path in paths for fault in faultsOf(path)]
    random.Random(seed).shuffle(faults)
    lines = set()
    counted = survived = left = 0
    with tempfile.TemporaryDirectory(prefix="mutants-") as folder:
        workshop = Workshop(commands, folder)
        workshop.check(paths)
        for fault in faults:
            place = fault.path, lineOf(fault)
            if counted == count or place in lines:
                continue
            result = workshop.tryFault(fault)
            if result is None:
                left += 1
                continue
            lines.add(place)
            counted += 1
            survived += result == "SURVIVED"
            print(f"{result}: {describe(fault)}", flush=True)
    print(f"{counted} faults of {len(faults)} places, {counted - survived} found, {survived} survived; "
          f"{left} more did not compile or changed nothing")
    return survived


def commandsOf(module):
    """Configures and builds a module of this tree, and asks the build how."""
    steps = [["cmake", "--preset", "dev"], ["cmake", "--build", BUILD, "--parallel", "2", "--target", module.target]]
    for step in steps:
        if not run(["nice", "-n", "5", *step], quiet=False):
            sys.exit("the module cannot be built")
    paths = sorted(path for pattern in module.sources for path in ROOT.glob(pattern))
    entries = json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8"))
    compiles = {}
    for entry in entries:
        path = pathlib.Path(entry["file"])
        if path in paths:
            command = re.sub(r" -o \S+", " -o {object}", entry["command"]).replace(f" -c {path}", " -w -g0 -O0 -c {source}")
            compiles[path] = f"nice -n 5 {command}"
    printed = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", module.target], check=True, capture_output=True, text=True)
    link = next(part for part in printed.stdout.split(" && ") if f" -o tests/{module.target} " in part)
    # The object stands before the libraries, so that the one inside them is not taken.
    link = link.replace(f" -o tests/{module.target} ", " -Wl,--strip-all -o {program} {object} ")
    link = f"nice -n 5 env --chdir={BUILD} {link}"
    test = f"nice -n 5 {{program}} --gtest_brief=1 --gtest_fail_fast --gtest_filter={module.filter}"
    return Commands(compiles, {path: link for path in compiles}, test), [path for path in paths if path in compiles]


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1].removeprefix("usage: "))
    for name in ("--compile", "--link", "--test"):
        parser.add_argument(name)
    parser.add_argument("--faults", type=int, default=50)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("names", nargs="+")
    given = parser.parse_args()
    own = [given.compile, given.link, given.test]
    if all(own):
        paths = [pathlib.Path(name).resolve() for name in given.names]
        commands = Commands({path: given.compile for path in paths}, {path: given.link for path in paths}, given.test)
    elif any(own) or len(given.names) != 1 or given.names[0] not in MODULES:
        parser.error(f"give all three commands, or one module of {', '.join(MODULES)}")
    else:
        commands, paths = commandsOf(MODULES[given.names[0]])
    return 1 if search(commands, paths, given.faults, given.seed) else 0


if __name__ == "__main__":
    sys.exit(main())
