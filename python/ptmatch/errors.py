"""The exceptions of the library. All derive from PtmatchError.

Each has the number of its class in the library (0: none of its own) and the whole message;
`str(error)` leaves out the line feed that some messages end with. What NumPy users expect holds,
too: bad arguments are a ValueError, what cannot be computed is an ArithmeticError.

Arrays of a wrong shape or length, or with numbers that are not finite, are refused before the
library sees them, with a plain ValueError.
"""

from typing import ClassVar


class PtmatchError(Exception):
    """Base of the exceptions of the library; `rxException` is another name for it.

    >>> try:
    ...     Matcher.train([(0, 0), (1, 1)])
    ... except PtmatchError as error:
    ...     print(type(error).__name__, hex(error.number))
    InsufficientModelPoints 0x10005f04
    """

    number: ClassVar[int] = 0

    @property
    def message(self) -> str:
        """The message as the library has it."""
        return str(self.args[0]) if self.args else ""

    def __str__(self) -> str:
        return self.message.rstrip("\n")


class MatcherError(PtmatchError):
    """Base of the errors of the matcher, `rxPointMatcherDefs.Errors`."""


class BadParams(MatcherError, ValueError):
    """A parameter or a training argument is not valid."""

    number = 0x10005F00


class NotTrained(MatcherError, RuntimeError):
    """The operation needs a trained matcher, or one trained in another mode."""

    number = 0x10005F01


class NotRun(MatcherError, RuntimeError):
    """A result was asked for data that the mode of its run does not produce."""

    number = 0x10005F02


class InsufficientModelPoints(MatcherError, ValueError):
    """Training was given fewer than 3 model points."""

    number = 0x10005F04


class GridCorresponderError(PtmatchError):
    """Base of the errors of the grid corresponder, `rx_PointToGridCorresponderDefs.Errors`."""


class InsufficientPatternPoints(GridCorresponderError, ValueError):
    """The corresponder was trained with fewer than 3 positions in an image, or none in a list."""


class InsufficientMemory(GridCorresponderError, MemoryError):
    """Positions lie so far apart that an image of them would not fit in memory."""


class MathError(PtmatchError, ArithmeticError):
    """A computation has no finite answer, `rxMathError`."""


class FitError(PtmatchError, ValueError):
    """Pairs do not determine a transform, `rxLSPointToPointFitter.Errors`."""


class ArchiveError(PtmatchError, ValueError):
    """A record is cut off, damaged, or not of this class, `rxArchive.Errors`."""


class UnknownVersion(ArchiveError):
    """A record is of a version that this library does not know."""


class ImageError(PtmatchError, ValueError):
    """An image cannot be made, or a position lies outside of it, `rx_PelBuffer.Errors`."""


class Interrupted(PtmatchError):
    """A search was asked to stop, `rxAttention.Interrupted`."""


class DeadlinePassed(Interrupted, TimeoutError):
    """A run took longer than its time limit, `rxDeadlinePassed`."""


class MatrixError(PtmatchError, ArithmeticError):
    """Base of the errors of `rxMatrixExt`."""


class NotSquareMatrix(MatrixError):
    """The operation needs a square matrix."""


class SingularMatrix(MatrixError):
    """The matrix cannot be decomposed or inverted."""


class BadArgs(PtmatchError, ValueError):
    """Two sequences of points differ in length."""


__all__ = [
    "ArchiveError",
    "BadArgs",
    "BadParams",
    "DeadlinePassed",
    "FitError",
    "GridCorresponderError",
    "ImageError",
    "InsufficientMemory",
    "InsufficientModelPoints",
    "InsufficientPatternPoints",
    "Interrupted",
    "MatcherError",
    "MathError",
    "MatrixError",
    "NotRun",
    "NotSquareMatrix",
    "NotTrained",
    "PtmatchError",
    "SingularMatrix",
    "UnknownVersion",
]
