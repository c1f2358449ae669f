"""Matching of 2-D point sets for machine vision.

Finds a known pattern of points among measured points: where it is, how it is turned and scaled,
and which measured point is which.

    import ptmatch

    matcher = ptmatch.Matcher.train(model_points)               # array of shape (n, 2)
    found = matcher.match(data_points, rotation=(-15, 15))      # array of shape (m, 2)
    if found:
        print(found.best.matrix, found.best.rotation_deg, found.best.model_to_data)

Beside this small interface, the classes of the library are here under their own names
(rxPointMatcher, rxPointMatcherRunParams, ...). Pictures are made by ptmatch.plot, which needs
matplotlib and is imported by itself only.
"""

# `as` tells type checkers that a name is for users.
from . import _core
from . import errors as errors
from ._core import *  # noqa: F401,F403
from .errors import *  # noqa: F401,F403
from .fitting import (
    Transform as Transform,
    fit_affine as fit_affine,
    fit_perspective as fit_perspective,
    fit_rigid as fit_rigid,
    fit_similarity as fit_similarity,
)
from .grids import (
    UNASSIGNED as UNASSIGNED,
    GridMap as GridMap,
    GridMatch as GridMatch,
    GridMatcher as GridMatcher,
    GridMatches as GridMatches,
    grid_map as grid_map,
)
from .matcher import (
    Match as Match,
    Matcher as Matcher,
    Matches as Matches,
)

__version__: str = _core.__version__

# The library's names of its errors.
rxException = errors.PtmatchError
rxMathError = errors.MathError
rxDeadlinePassed = errors.DeadlinePassed
_core.rxPointMatcherDefs.Errors = errors.MatcherError
_core.rxPointMatcherDefs.BadParams = errors.BadParams
_core.rxPointMatcherDefs.NotTrained = errors.NotTrained
_core.rxPointMatcherDefs.NotRun = errors.NotRun
_core.rxPointMatcherDefs.InsufficientModelPoints = errors.InsufficientModelPoints
_core.rxAttention.Interrupted = errors.Interrupted
_core.rx_PointToGridCorresponderDefs.Errors = errors.GridCorresponderError
_core.rx_PointToGridCorresponderDefs.InsufficientModelPoints = errors.InsufficientPatternPoints
_core.rx_PointToGridCorresponderDefs.InsufficientMemory = errors.InsufficientMemory
_core.rxLSPointToPointFitter.Errors = errors.FitError
_core.rx2PtMatchTm.BadArgs = errors.BadArgs
_core.rx2PTm.BadArgs = errors.BadArgs
_core.rx3PtMatchTm.BadArgs = errors.BadArgs
_core.rxMatrixExt.NotSquareMatrix = errors.NotSquareMatrix
_core.rxMatrixExt.SingularMatrix = errors.SingularMatrix
