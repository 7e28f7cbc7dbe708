"""The exceptions of the package. Each is an Error, and what Python calls such a failure."""

from __future__ import annotations

import enum
import errno
import os
import re
from typing import Any


class ErrorCode(enum.IntEnum):
    """The number of a failure."""

    GENERAL = 1
    MEMORY = 2
    OPEN = 3
    READ = 4
    WRITE = 5
    INVALID = 6
    UNSUPPORTED = 7
    MISMATCH = 8
    INTERRUPTED = 9


class Error(Exception):
    """A call that failed. The text of the exception is the reason."""

    def __init__(self, reason: str = "", code: int = ErrorCode.GENERAL, **details: Any) -> None:
        super().__init__(reason)
        self.reason: str = reason  # why it failed, in words
        self.code: ErrorCode = ErrorCode(code)
        self.format: str | None = details.get("format")  # of the file, when it was recognised
        self.path: Any = details.get("path")  # the file; None when it was none
        self.step: int | None = details.get("step")  # of a chain, from 0
        self.operation: str | None = details.get("operation")
        self.parameter: str | None = details.get("parameter")  # the one that is wrong, or the option that refuses
        self.range: tuple[float, float] | None = details.get("range")  # of its numbers
        self.suggestion: str | None = details.get("suggestion")  # the name that may have been meant

    def __str__(self) -> str:
        return self.reason


class FileError(Error, OSError):
    """A file cannot be opened, read to its end or written."""


class MissingFileError(FileError, FileNotFoundError):
    """There is no such file or folder."""


class FormatError(Error, ValueError):
    """A file is damaged, or of a format that is not read or written."""


class RefusedError(Error, ValueError):
    """A limit or another option refuses the picture, or the format cannot hold it."""


class ParameterError(Error, ValueError):
    """A value of an operation is wrong, or an operation does not accept the picture."""


class OutOfMemoryError(Error, MemoryError):
    """Memory is short, or no image can have the size."""


class Cancelled(Error):
    """The function given as `progress` returned False."""


_OF_FILES: dict[int, type[Error]] = {
    ErrorCode.MEMORY: OutOfMemoryError,
    ErrorCode.OPEN: FileError,
    ErrorCode.READ: FileError,
    ErrorCode.WRITE: FileError,
    ErrorCode.INVALID: FormatError,
    ErrorCode.UNSUPPORTED: FormatError,
    ErrorCode.MISMATCH: RefusedError,
    ErrorCode.INTERRUPTED: Cancelled,
}


_LIMIT = re.compile(r"; the limit of (pixels|bytes|layers) is \d+$")
_RANGE = re.compile(r"^([\w ]+) is \S+, but must be ")
# Options that the reasons of the library call by other words.
_OPTIONS = {
    "limit of layers": "max_layers",
    "least width": "at_least",
    "least height": "at_least",
    "compression level": "compression",
    "x resolution": "metadata",
    "y resolution": "metadata",
    "orientation": "metadata",
}


# The path of a file that an operation reads, when there is none.
_MISSING = re.compile("'(.+)'[^']*: " + re.escape(os.strerror(errno.ENOENT)) + "$")


def _option(reason: str) -> str | None:
    """The option that a reason is about."""
    if limit := _LIMIT.search(reason):
        return "max_" + limit.group(1)
    if value := _RANGE.search(reason):
        return _OPTIONS.get(value.group(1), value.group(1))
    return None


def _with_filename(failure: Error, path: Any) -> Error:
    """The failure, with what Python's own failures of files say of their file."""
    if isinstance(failure, OSError) and path is not None:
        failure.filename = path
        if isinstance(failure, MissingFileError):
            failure.errno = errno.ENOENT
    return failure


def of_file(code: int, reason: str, format: str | None, path: Any) -> Error:
    """The exception for opening, probing or saving. The path of a missing file is that of the exception."""
    kind = _OF_FILES.get(code, Error)
    option = _option(reason)
    if _LIMIT.search(reason):
        reason = f"{reason} ({option})"
    if path is not None:
        name = os.fsdecode(path)
        folder = os.path.dirname(name) or "."
        if code == ErrorCode.OPEN and not os.path.exists(name if os.path.isdir(folder) else folder):
            kind = MissingFileError
        reason = f"{name}: {reason}"
    failure = kind(reason, code, format=format, path=path, parameter=option)
    return _with_filename(failure, path)


def of_operation(
    code: int,
    reason: str,
    step: int,
    operation: str | None,
    parameter: str | None,
    range: tuple[float, float] | None,
    suggestion: str | None,
) -> Error:
    """The exception for operations. Their second pictures are files."""
    kind = _OF_FILES.get(code, Error)
    if code in (ErrorCode.INVALID, ErrorCode.MISMATCH):
        kind = ParameterError
    missing = _MISSING.search(reason) if code == ErrorCode.OPEN else None
    if missing:
        kind = MissingFileError
    failure = kind(
        reason, code, step=step, operation=operation, parameter=parameter, range=range, suggestion=suggestion
    )
    return _with_filename(failure, missing.group(1) if missing else None)
