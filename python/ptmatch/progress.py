"""A bar for long runs, on a stream of text."""

import sys
from typing import Callable, Optional, TextIO, Union

#: What `progress=` takes: nothing, True for a bar on stderr, or a function of the share done.
Progress = Union[None, bool, Callable[[float], object]]

_WIDTH = 40


class Bar:
    """Draws the share that is done, over and over on one line.

    Used as a context manager it ends the line, also when the run fails.
    """

    def __init__(self, stream: Union[TextIO, None] = None) -> None:
        # Programs without a console have no stderr.
        self._stream: Optional[TextIO] = sys.stderr if stream is None else stream
        self._is_drawn = False

    def __call__(self, fraction: float) -> None:
        """Draws the bar for a share from 0 to 1."""
        if self._stream is None:
            return
        full = round(_WIDTH * fraction)
        self._stream.write(f"\r[{'#' * full}{'.' * (_WIDTH - full)}] {100 * fraction:3.0f} %")
        self._stream.flush()
        self._is_drawn = True

    def __enter__(self) -> "Bar":
        return self

    def __exit__(self, *_: object) -> None:
        if self._stream is not None and self._is_drawn:
            self._stream.write("\n")
            self._stream.flush()
