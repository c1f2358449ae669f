"""What a run found, as a sequence."""

from typing import Optional, Sequence, TypeVar, Union, overload

from . import _core

Item = TypeVar("Item")


class Found(Sequence[Item]):
    """What one run found, best first; true if there is anything."""

    def __init__(
        self,
        matches: Sequence[Item],
        result_set: _core.rxPointMatcherResultSet,
        params: _core.rxPointMatcherRunParams,
    ) -> None:
        self._matches = list(matches)
        self._result_set = result_set
        self._params = params

    @property
    def best(self) -> Optional[Item]:
        """The first, or None when nothing was found."""
        return self._matches[0] if self._matches else None

    @property
    def time(self) -> float:
        """Seconds that the run took."""
        return self._result_set.time()

    @property
    def params(self) -> _core.rxPointMatcherRunParams:
        """The parameters of the run."""
        return self._params

    @property
    def result_set(self) -> _core.rxPointMatcherResultSet:
        """The library's own result set, for its functions."""
        return self._result_set

    @overload
    def __getitem__(self, index: int) -> Item: ...

    @overload
    def __getitem__(self, index: slice) -> Sequence[Item]: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[Item, Sequence[Item]]:
        return self._matches[index]

    def __len__(self) -> int:
        return len(self._matches)

    def __eq__(self, other: object) -> bool:
        """Equal matches in equal order; the time does not count."""
        if not isinstance(other, Found):
            return NotImplemented
        return self._matches == other._matches

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        lines = "".join(f"\n  {match!r}" for match in self._matches)
        return f"<{type(self).__name__}: {len(self)} in {self.time:.3g} s{lines}>"
