"""What `progress=` accepts: a function of the fraction that is done, or a bar such as tqdm's."""

from __future__ import annotations

from typing import Any, Callable, Protocol, Union


class Bar(Protocol):
    """A bar that moves from `n` to `total`, as tqdm's do."""

    n: Any
    total: Any

    def update(self, n: Any = ..., /) -> Any:
        """Moves the bar by a number."""


Progress = Union[Callable[[float], object], Bar]


def reporter(progress: Any) -> Callable[[float], Any]:
    """The function that is called with fractions."""
    if hasattr(progress, "update") and hasattr(progress, "n"):
        return _move(progress)
    if callable(progress):
        function: Callable[[float], Any] = progress
        return function
    raise TypeError(f"progress must be a function or a bar with update(), n and total, not {progress!r}")


def _move(bar: Any) -> Callable[[float], None]:
    if bar.total is None:
        bar.total = 1
    total, start = bar.total, bar.n

    def move(fraction: float) -> None:
        bar.update(start + (total - start) * fraction - bar.n)

    return move
