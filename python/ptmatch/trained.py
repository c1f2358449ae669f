"""What the matchers have in common."""

import os
from typing import Any, Union

from . import _core

#: The name of a file.
Path = Union[str, "os.PathLike[str]"]


class Trained:
    """A matcher that does not change after its training, around the library's own."""

    def __init__(self, core: _core.rxPointMatcher) -> None:
        self._core = core

    @property
    def core(self) -> _core.rxPointMatcher:
        """The library's own matcher, for its functions. Do not train it."""
        return self._core

    def to_bytes(self) -> bytes:
        """The record of the pattern, as the library's archives and the command-line tool have it.

        It does not hold whether a matcher is exhaustive; pickle does.
        """
        return self._core.to_bytes()

    def save(self, path: Path) -> None:
        """Writes the record into a file, which the command-line tool takes as well."""
        record = self.to_bytes()
        with open(path, "wb") as file:
            file.write(record)

    def __eq__(self, other: object) -> bool:
        """Whether both were trained alike."""
        if not isinstance(other, Trained):
            return NotImplemented
        return self._core == other._core

    __hash__ = None  # type: ignore[assignment]

    def __copy__(self) -> Any:
        return self

    def __deepcopy__(self, memo: dict[int, Any]) -> Any:
        return self

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self._core,)


def record_in(path: Path) -> bytes:
    """The bytes of a file."""
    with open(path, "rb") as file:
        return file.read()
