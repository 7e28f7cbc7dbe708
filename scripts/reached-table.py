#!/usr/bin/env python3
"""Writes the tables of docs/performance/reached.md from medians.json; reached.tsv beside it lists their rows.

usage: reached-table.py [--check] [ROOT]     --check reports a page that differs and changes nothing

Columns of reached.tsv, tabs between them:
  section, operation   text as printed
  bits                 depths of one row, commas between
  ours                 name of the measurement, with /PROGRAM for another program than "ours"
  other                fastest (any other program), NAME/PROGRAM (one program or bound), NAME/fastest, or - for none;
                       a number before NAME multiplies the time
  target               the ratio to stay within, a time such as 8 ms, or nothing

The page's columns AVX2 and SSE2 repeat the ratio, or our time where there is none, with our instructions limited to these.
"compared with" names the programs and says where their work is not the same.
"""
import csv
import json
import pathlib
import sys

PICTURE = "1920x1080"
START = "<!-- written by scripts/reached-table.py from reached.tsv and medians.json -->\n"
HEAD = ("| operation | bits | ours | other | ratio | target | AVX2 | SSE2 | compared with |\n"
        "|---|---|---|---|---|---|---|---|---|\n")
LEVELS = ("avx2", "baseline")
NONE = "–"


class Times(dict):
    """Times in ms by the names of measurements; labels by the same names, names of programs by their keys."""

    def __init__(self, file):
        content = json.loads(file.read_text(encoding="utf-8"))
        super().__init__((entry["name"], entry["cpu_time"]) for entry in content["benchmarks"])
        self.labels = {entry["name"]: entry.get("label", "") for entry in content["benchmarks"]}
        self.programs = {key.removeprefix("program "): name for key, name in content.get("context", {}).items()}


def is_other(program):
    return program.split(".")[0] not in ("ours", "limit", "straight")


def fastest(times, case):
    """The name of the measurement of the fastest other program; None when there is none."""
    return min((name for name in times if name.startswith(case) and is_other(name[len(case):])), key=times.get, default=None)


def other_of(times, row, operation, bits):
    """The name of the measurement to compare with, or None, and the factor of its time."""
    if row["other"] == "-":
        return None, 1
    factor, _, reference = row["other"].rpartition(" ")
    name, _, program = reference.rpartition("/")
    case = f"{name or operation}/{PICTURE}/{bits}/"
    return fastest(times, case) if program == "fastest" else case + program, float(factor or 1)


def bold_if(missed, text):
    return f"**{text}**" if missed else text


def cells_of(times, row, bits):
    """Ours, other, ratio and what the levels reach at one depth; what misses its target is bold."""
    operation, _, program = row["ours"].partition("/")
    case = f"{operation}/{PICTURE}/{bits}/{program or 'ours'}"
    own = times[case]
    name, factor = other_of(times, row, operation, bits)
    other = None if name is None else factor * times[name]
    target = row["target"]
    most = float(target.removesuffix(" ms") or "inf")
    ours = bold_if(target.endswith(" ms") and own > most, f"{own:.3g}")
    if other is None:
        return ours, NONE, NONE, *(f"{times[f'{case}.{level}']:.3g} ms" for level in LEVELS)
    ratio = f"{own / other:.2f}"
    # What is ours, too, is limited as well.
    levels = (f"{times[f'{case}.{level}'] / times.get(f'{name}.{level}', times[name]) / factor:.2f}" for level in LEVELS)
    return ours, f"{other:.3g}", bold_if(not target.endswith(" ms") and float(ratio) > most, ratio), *levels


def compared_with(times, row, bits):
    """The program of the measurement to compare with and what it does, as the page prints it."""
    name, _ = other_of(times, row, row["ours"].partition("/")[0], bits)
    if name is None:
        return NONE
    program = name.rpartition("/")[2]
    if program.split(".")[0] in ("ours", "limit"):
        return "ours" if program == "ours" else ""
    text = times.labels[name] if program == "straight" else f"{times.programs.get(program, program)} {times.labels[name]}"
    return text.strip().replace("|", "\\|")


def joined_programs(times, row, depths):
    """Depths that are compared with the same program share one text."""
    texts = {}
    for bits in depths:
        texts.setdefault(compared_with(times, row, bits), []).append(bits)
    if len(texts) == 1:
        return next(iter(texts))
    return "; ".join(f"{', '.join(bits)}: {text}" for text, bits in texts.items())


def joined(cells):
    return NONE if set(cells) == {NONE} else " / ".join(cells)


def line_of(times, row):
    depths = row["bits"].split(",")
    ours, other, ratio, *levels = (joined(column) for column in zip(*(cells_of(times, row, bits) for bits in depths)))
    cells = [row["operation"], " / ".join(depths), ours, other, ratio, row["target"] or NONE, *levels,
             joined_programs(times, row, depths) or NONE]
    return "| " + " | ".join(cells) + " |\n"


def tables(times, rows):
    """The sections of the page, and the names of measurements that are missing."""
    text = ""
    missing = []
    section = None
    for row in rows:
        if row["section"] != section:
            section = row["section"]
            text += f"\n## {section}\n\n{HEAD}"
        try:
            text += line_of(times, row)
        except KeyError as name:
            missing.append(name.args[0])
    return text, missing


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--check"]
    check = "--check" in sys.argv[1:]
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parent.parent
    folder = root / "docs" / "performance"
    with open(folder / "reached.tsv", encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))
    text, missing = tables(Times(folder / "medians.json"), rows)
    page = folder / "reached.md"
    old = page.read_text(encoding="utf-8")
    prose, marker, _ = old.partition(START)
    if not marker:
        sys.exit(f"{page} lacks the line {START.strip()}")
    new = prose + START + text
    wrong = [f"medians.json lacks {name}" for name in missing]
    if check and new != old:
        lines = set(old.splitlines())
        wrong += [f"reached.md lacks {line}" for line in new.splitlines() if line not in lines]
        wrong.append("reached.md differs from its rows: run scripts/reached-table.py")
    elif not check and not missing:
        page.write_text(new, encoding="utf-8")
    print("\n".join(wrong + [f"{len(rows)} rows, {len(wrong)} wrong"]))
    return 1 if wrong or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
