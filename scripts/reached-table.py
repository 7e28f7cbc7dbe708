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
"""
import csv
import json
import pathlib
import sys

PICTURE = "1920x1080"
START = "<!-- written by scripts/reached-table.py from reached.tsv and medians.json -->\n"
HEAD = "| operation | bits | ours | other | ratio | target |\n|---|---|---|---|---|---|\n"
NONE = "–"


def read_times(file):
    return {entry["name"]: entry["cpu_time"] for entry in json.loads(file.read_text(encoding="utf-8"))["benchmarks"]}


def is_other(program):
    return program.split(".")[0] not in ("ours", "limit")


def time_of(times, operation, bits, program):
    """The time of a program in ms; None when the fastest of no program is asked for."""
    case = f"{operation}/{PICTURE}/{bits}/"
    if program != "fastest":
        return times[case + program]
    return min((time for name, time in times.items() if name.startswith(case) and is_other(name[len(case):])), default=None)


def other_time(times, row, operation, bits):
    if row["other"] == "-":
        return None
    factor, _, reference = row["other"].rpartition(" ")
    name, _, program = reference.rpartition("/")
    time = time_of(times, name or operation, bits, program)
    return time if time is None else float(factor or 1) * time


def bold_if(missed, text):
    return f"**{text}**" if missed else text


def cells_of(times, row, bits):
    """Ours, other and ratio at one depth; what misses its target is bold."""
    operation, _, program = row["ours"].partition("/")
    own = time_of(times, operation, bits, program or "ours")
    other = other_time(times, row, operation, bits)
    target = row["target"]
    most = float(target.removesuffix(" ms") or "inf")
    ours = bold_if(target.endswith(" ms") and own > most, f"{own:.3g}")
    if other is None:
        return ours, NONE, NONE
    ratio = f"{own / other:.2f}"
    return ours, f"{other:.3g}", bold_if(not target.endswith(" ms") and float(ratio) > most, ratio)


def joined(cells):
    return NONE if set(cells) == {NONE} else " / ".join(cells)


def line_of(times, row):
    depths = row["bits"].split(",")
    columns = [joined(column) for column in zip(*(cells_of(times, row, bits) for bits in depths))]
    return "| " + " | ".join([row["operation"], " / ".join(depths), *columns, row["target"] or NONE]) + " |\n"


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
    text, missing = tables(read_times(folder / "medians.json"), rows)
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
