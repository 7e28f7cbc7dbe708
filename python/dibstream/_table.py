"""Methods of pictures, made from the table of operations: names, signatures, texts and types."""

from __future__ import annotations

import json
import re
from typing import Any

from . import _core

# Types of values, by the kind of the parameter.
_TYPES = {
    "integer": "int",
    "number": "float",
    "fraction": "float | str",
    "angle": "float | str",
    "length": "int | str",
    "position": "float | str",
    "size": "tuple[int | str, int | str] | str",
    "flags": "str | Sequence[str]",
    "color": "Color",
    "fill": "Color | int",
    "path": "StrPath | Image",
    "switch": "bool",
    "text": "str",
}


def operations() -> list[dict[str, Any]]:
    """The rows of the table, as docs/adding-an-operation.md describes their JSON text."""
    rows: list[dict[str, Any]] = json.loads(_core.describe_operations())["operations"]
    return rows


def python_name(name: str) -> str:
    """The name of an operation or a parameter in Python."""
    return name.replace("-", "_")


def _default(parameter: dict[str, Any]) -> str:
    text: str = parameter["default"]
    if parameter["type"] == "switch":
        return str(text == "yes")
    is_number = parameter["type"] not in ("choice", "flags", "color", "path", "text") and re.fullmatch(r"-?\d+(\.\d+)?", text)
    return text if is_number else repr(text)


def _type(parameter: dict[str, Any]) -> str:
    if parameter["type"] != "choice":
        return _TYPES[parameter["type"]]
    names = [choice["name"] for choice in parameter["choices"]]
    literals = [repr(name) for name in names] + [name for name in names if name.isdigit()]
    return f"Literal[{', '.join(literals)}]"


def signature(row: dict[str, Any], typed: bool) -> str:
    """The parameters of a method, with types for stubs or as `__text_signature__` has them."""
    parts = ["self"]
    for parameter in row["parameters"]:
        part = python_name(parameter["name"])
        equals = "="
        if typed:
            part += f": {_type(parameter)}"
            equals = " = "
        parts.append(part if parameter["required"] else part + equals + _default(parameter))
    parts += ["*", "progress: Progress | None = None" if typed else "progress=None"]
    return ", ".join(parts)


def text(row: dict[str, Any]) -> str:
    """The docstring of a method."""
    lines = [row["help"], ""]
    for parameter in row["parameters"]:
        limits = f" ({parameter['limits']})" if parameter["limits"] else ""
        lines.append(f"{python_name(parameter['name'])}: {parameter['help']}{limits}")
        lines += [f"    {choice['name']}: {choice['help']}" for choice in parameter.get("choices", [])]
    depths = ", ".join(str(depth) for depth in row["depths"])
    lines += [f"Pictures of {depths} bits. As a chain: {row['example']!r}"]
    return "\n".join(lines)


def add_methods() -> None:
    """Gives pictures a method for every row."""
    for row in operations():
        name = python_name(row["name"])
        if hasattr(_core.Image, name):
            raise ImportError(f"the operation {row['name']} has the name of an attribute of pictures")
        _core.add_method(row["name"], name, f"{name}({signature(row, False)})\n--\n\n{text(row)}")
