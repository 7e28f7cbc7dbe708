"""Prints the types of the compiled module (_core.pyi), with a method for every row of the table of operations.

usage: python3 -m dibstream._stubs >_core.pyi
"""

from __future__ import annotations

import pathlib
from typing import Any

from . import _table

MARK = "    # operations\n"


def method(row: dict[str, Any]) -> str:
    """The stub of one operation."""
    lines = _table.text(row).splitlines()
    body = "\n".join(f"        {line}".rstrip() for line in lines[1:])
    name, parameters = _table.python_name(row["name"]), _table.signature(row, True)
    return f'    def {name}({parameters}) -> Image:\n        """{lines[0]}\n{body}\n        """\n'


def stub() -> str:
    """The whole file."""
    template = pathlib.Path(__file__).with_name("_core.pyi.in").read_text(encoding="utf-8")
    head, mark, tail = template.partition(MARK)
    assert mark
    return head + "".join(method(row) for row in _table.operations()) + tail


if __name__ == "__main__":
    print(stub(), end="")
