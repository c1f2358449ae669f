"""Points that lie on a regular grid: which is which, and where a pattern of them lies."""

import copy
import numbers
from typing import Any, Optional, Sequence, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _core
from .arguments import (
    Angles,
    Pair,
    angles_of,
    matrix_of,
    pair_of,
    points_of,
    read_only,
    require_unmasked,
    run_params,
)
from .errors import InsufficientModelPoints, NotTrained
from .found import Found
from .matcher import run
from .progress import Progress
from .trained import Path, Trained, record_in

#: Both numbers of the position of a point that has none.
UNASSIGNED: int = _core.rxPtToGridMapResult.kUnassigned

_LARGEST_POSITION = 2**31 - 1
_FEWEST_DOTS = 3
# Of a pattern with fewer dots the library searches for the dots as points.
_FEWEST_DENSE_DOTS = 10
_SIDES = ((1, 0), (-1, 0), (0, 1), (0, -1))
_DIAGONALS = ((1, 1), (1, -1), (-1, 1), (-1, -1))


def _own_points(points: ArrayLike, name: str) -> NDArray[Any]:
    """A copy that nobody else changes, of any type; the library checks the rest."""
    require_unmasked(points, name)
    return np.array(points)


def _as_float64(points: NDArray[Any]) -> NDArray[np.float64]:
    """The points, after the library has checked them."""
    return points.astype(np.float64, copy=False).reshape(-1, 2)


def _applied(matrix: NDArray[np.float64], points: ArrayLike) -> NDArray[np.float64]:
    """The images of points of shape (..., 2)."""
    mapped: NDArray[np.float64] = (
        np.asarray(points, dtype=np.float64) @ matrix[:, :2].T + matrix[:, 2]
    )
    return mapped


def _applied_to_positions(matrix: NDArray[np.float64], positions: ArrayLike) -> NDArray[np.float64]:
    """The images of one or of several positions; nan of those that are UNASSIGNED."""
    checked = points_of(positions, "positions")
    mapped = _applied(matrix, checked)
    mapped[np.all(checked == UNASSIGNED, axis=-1)] = np.nan
    return mapped


def _require_above_zero(value: Optional[float], name: str) -> None:
    """Raises for what is neither None nor a number above 0."""
    if value is None:
        return
    if not isinstance(value, numbers.Real):
        raise TypeError(f"{name}: expected a number above 0, or None, got {value!r}")
    # What is not finite is left to the library.
    if value <= 0.0:
        raise ValueError(f"{name}: expected a number above 0, or None, got {value!r}")


def _lengths(vectors: NDArray[np.float64]) -> NDArray[np.float64]:
    """The lengths of vectors of shape (..., 2)."""
    lengths: NDArray[np.float64] = np.hypot(vectors[..., 0], vectors[..., 1])
    return lengths


def _root_mean_square(distances: NDArray[np.float64]) -> float:
    """Of those that are not nan; nan if none is left."""
    known = distances[~np.isnan(distances)]
    return float(np.sqrt(np.mean(known**2))) if known.size else float("nan")


def _require_spanning(xv: tuple[float, float], yv: tuple[float, float]) -> None:
    """Raises ValueError for steps that are null or parallel, as far as rounding lets one tell."""
    products = xv[0] * yv[1], yv[0] * xv[1]
    rounding = 8.0 * float(np.finfo(np.float64).eps) * (abs(products[0]) + abs(products[1]))
    # Steps that are not finite are left to the library.
    if rounding < np.inf and abs(products[0] - products[1]) <= rounding:
        raise ValueError(f"xv, yv: expected steps that are not parallel, got {xv} and {yv}")


class GridMap:
    """Points, and the node of a grid that each of them lies on; true when valid.

    grid_map makes it.
    """

    def __init__(
        self,
        points: NDArray[np.float64],
        result: _core.rxPtToGridMapResult,
        params: _core.rxPtToGridMapRunParams,
    ) -> None:
        self._result = result
        self._params = params
        self._positions = result.map()
        if len(self._positions) != len(points):  # nothing was found to begin with
            self._positions = np.full((len(points), 2), UNASSIGNED, dtype=np.int64)
        self._points = read_only(points)
        self._positions = read_only(self._positions)

    @property
    def result(self) -> _core.rxPtToGridMapResult:
        """The library's own result, for its functions."""
        return self._result

    @property
    def params(self) -> _core.rxPtToGridMapRunParams:
        """The parameters of the mapping."""
        return self._params

    @property
    def points(self) -> NDArray[np.float64]:
        """The points, shape (n, 2), in the order they were given. Read-only."""
        return self._points

    @property
    def positions(self) -> NDArray[np.int64]:
        """The position (i, j) of each point, both UNASSIGNED for none; shape (n, 2). Read-only.

        Two points within the snap size of one node both have its position.
        """
        return self._positions

    @property
    def assigned(self) -> NDArray[np.bool_]:
        """Whether a point has a position, shape (n,)."""
        assigned: NDArray[np.bool_] = self._positions[:, 0] != UNASSIGNED
        return assigned

    @property
    def pairs(self) -> tuple[NDArray[np.int64], NDArray[np.float64]]:
        """The positions and the points of the assigned ones, both of shape (num_assigned, 2)."""
        assigned = self.assigned
        return self._positions[assigned], self._points[assigned]

    @property
    def num_assigned(self) -> int:
        """The number of points that have a position."""
        return int(np.count_nonzero(self.assigned))

    @property
    def valid(self) -> bool:
        """Whether at least 3 points have a position. Only then there is a matrix."""
        return self._result.valid()

    @property
    def matrix(self) -> NDArray[np.float64]:
        """Least squares from positions to points, shape (2, 3); nan when not valid.

        point = matrix[:, :2] @ position + matrix[:, 2]: its columns are the step along i, the
        step along j, and the point of position (0, 0).
        """
        return matrix_of(self._result.grid2point()) if self.valid else np.full((2, 3), np.nan)

    @property
    def residuals(self) -> NDArray[np.float64]:
        """Point less mapped position, nan where unassigned; shape (n, 2), units of the points."""
        residuals = np.full(self._points.shape, np.nan)
        assigned = self.assigned
        residuals[assigned] = self._points[assigned] - self.apply(self._positions[assigned])
        return residuals

    @property
    def distances(self) -> NDArray[np.float64]:
        """Lengths of the residuals, nan where unassigned; shape (n,), units of the points."""
        return _lengths(self.residuals)

    @property
    def rms(self) -> float:
        """Root mean square of the distances; nan when not valid."""
        return _root_mean_square(self.distances)

    @property
    def time(self) -> float:
        """Seconds that the mapping took."""
        return self._result.time()

    def apply(self, positions: ArrayLike) -> NDArray[np.float64]:
        """Takes positions of shape (n, 2), or one of shape (2,), to points; UNASSIGNED ones to nan.

        They may lie between nodes.
        """
        return _applied_to_positions(self.matrix, positions)

    def __bool__(self) -> bool:
        return self.valid

    def __eq__(self, other: object) -> bool:
        """Equal points at equal positions; the time does not count."""
        if not isinstance(other, GridMap):
            return NotImplemented
        return (
            self._params == other._params
            and np.array_equal(self._points, other._points)
            and np.array_equal(self._positions, other._positions)
            and np.array_equal(self.matrix, other.matrix, equal_nan=True)
        )

    __hash__ = None  # type: ignore[assignment]

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self._points, self._result, self._params)

    def __repr__(self) -> str:
        if not self.valid:
            return f"<GridMap, not valid: {self.num_assigned} of {len(self._points)} points>"
        return (
            f"<GridMap: {self.num_assigned} of {len(self._points)} points, "
            f"rms {self.rms:.3g}>"
        )


def grid_map(
    points: ArrayLike,
    xv: Optional[Pair],
    yv: Optional[Pair],
    *,
    staggered: bool = False,
    snap_size: Optional[float] = None,
    size_tol: Union[Pair, str, None] = None,
    angle_tol: Optional[Angles] = None,
) -> GridMap:
    """Finds for each point the node of a regular grid that it lies on.

    points: shape (n, 2), in any order, with noise, gaps and clutter.
    xv, yv: the steps from position (i, j) to (i + 1, j) and to (i, j + 1), in the units of the
        points. None: not known; the points then lie in one column (no xv) or one row (no yv).
    staggered: whether only positions with an even i + j carry a point, as on a checkerboard.
    snap_size: largest distance between a point and its node; None: 0.2 times the shorter step
        (of a staggered grid, the shorter diagonal step).
    size_tol: allowed ratio, from and to, of the distance of neighbours to the step, or "full";
        None: 0.8 to 1.2. Wider ranges suit uneven distances; steps that are wrong by more than
        20 % need a larger snap_size as well.
    angle_tol: allowed rotation of the grid against the steps, degrees from and to, or "full";
        None: -20 to +20. The ends are no sharp limit: a rotation a few degrees beyond them may be
        found as well. In a range in which the grid looks alike twice (a square one after 90
        degrees) one of both is taken.

    Which node becomes (0, 0) is up to the points: positions are known up to a shift, of a
    staggered grid one with an even sum. One affine map has to place every node to within the snap
    size: of a plate seen very obliquely, or through a strong lens, only a part is placed, and
    some may be placed wrongly; look at rms. When both steps point to smaller coordinates, as given
    or as the grid lies turned, nothing may be found: turn them round and negate the positions.

    Other threads run meanwhile. Raises BadParams, FitError, MathError; ValueError for points of a
    wrong shape or with numbers that are not finite, and for steps that do not make a grid.

    >>> found = grid_map([(10, 20), (35, 21), (60, 20), (9, 45), (35, 45), (59, 46), (47, 33)],
    ...                  (25, 0), (0, 25))
    >>> found.num_assigned, bool(found), found.assigned[6]
    (6, True, False)
    >>> found.positions[:6] - found.positions[0]
    array([[0, 0],
           [1, 0],
           [2, 0],
           [0, 1],
           [1, 1],
           [2, 1]])
    """
    steps = [
        (0.0, 0.0) if step is None else pair_of(step, name)
        for step, name in ((xv, "xv"), (yv, "yv"))
    ]
    is_known = [step != (0.0, 0.0) for step in steps]
    if not any(is_known):
        raise ValueError("xv, yv: expected at least one step that is not null, got none")
    if staggered and not all(is_known):
        raise ValueError("xv, yv: expected both steps for a staggered grid, got one")
    if all(is_known):
        _require_spanning(*steps)
    _require_above_zero(snap_size, "snap_size")
    sizes = _core.rxRange()
    if isinstance(size_tol, str):
        if size_tol != "full":
            raise ValueError(f'size_tol: expected a pair of numbers or "full", got {size_tol!r}')
        sizes = _core.rxRange.FullRange()
    elif size_tol is not None:
        start, end = pair_of(size_tol, "size_tol")
        if start <= 0.0:
            raise ValueError(
                f"size_tol: expected a ratio, such as (0.8, 1.2), got {(start, end)}"
            )
        sizes = _core.rxRange(start, end)
    angles = _core.rxAngleRange() if angle_tol is None else angles_of(angle_tol, "angle_tol")
    params = _core.rxPtToGridMapRunParams(
        steps[0],
        steps[1],
        staggered,
        0.0 if snap_size is None else snap_size,
        sizes,
        angles,
    )
    own = _own_points(points, "points")
    result = _core.rxPtToGridMapResult()
    _core.rfPtToGridMap(own, params, result)
    return GridMap(_as_float64(own), result, params)


class _Pattern:
    """A trained pattern with what is derived from it."""

    def __init__(self, image: _core.rxPelBuffer) -> None:
        self.image = image
        self.dots: NDArray[np.bool_] = image.pixels() != 0
        self.origin = image.offset()
        rows, columns = np.indices(self.dots.shape)
        self.positions: NDArray[np.int64] = np.stack(
            [columns + self.origin[0], rows + self.origin[1]], axis=-1
        )
        # As the library decides it when it is trained, here and below.
        self.staggered = not self._neighbours(_SIDES).any()
        neighbours = self._neighbours(_DIAGONALS if self.staggered else _SIDES)
        self.sparse = bool(
            np.count_nonzero(self.dots) < _FEWEST_DENSE_DOTS or neighbours.max() < 2
        )
        self.dots = read_only(self.dots)
        self.positions = read_only(self.positions)

    def _neighbours(self, sides: Sequence[tuple[int, int]]) -> NDArray[np.int64]:
        """For each dot the number of dots at these places beside it; 0 where there is no dot."""
        rows, columns = self.dots.shape
        padded = np.pad(self.dots, 1)
        counts = np.zeros(self.dots.shape, dtype=np.int64)
        for down, right in sides:
            counts += padded[1 + down : 1 + down + rows, 1 + right : 1 + right + columns]
        return np.where(self.dots, counts, 0)

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.image,)


class GridMatch:
    """One place where a grid pattern was found.

    It holds the pattern and the points that were matched, and so remains whole when the data are
    gone or it travels to another process. Arrays of shape (rows, columns) belong to the pattern.
    """

    def __init__(
        self,
        result: _core.rxPointMatcherResult,
        pattern: _Pattern,
        data: NDArray[np.float64],
    ) -> None:
        self._result = result
        self._pattern = pattern
        shape = pattern.dots.shape
        indices = result.gridToDataMap(pattern.positions.reshape(-1, 2))
        self._grid_to_data: NDArray[np.int64] = indices.reshape(shape)
        self._data_points = np.full((*shape, 2), np.nan)
        self._data_points[self.matched] = data[self._grid_to_data[self.matched]]
        self._freeze()

    def _freeze(self) -> None:
        self._grid_to_data = read_only(self._grid_to_data)
        self._data_points = read_only(self._data_points)

    @property
    def result(self) -> _core.rxPointMatcherResult:
        """The library's own result, for its functions.

        Mind that its modelToDataXform() is the pose of a dense pattern but the matrix of a sparse
        one, and that its fitError() is a mean of squares in the plane of the pattern unless the
        pattern is sparse.
        """
        return self._result

    @property
    def pattern(self) -> NDArray[np.bool_]:
        """Where the pattern has a dot, shape (rows, columns). Read-only."""
        return self._pattern.dots

    @property
    def positions(self) -> NDArray[np.int64]:
        """The position (i, j) of each place of the pattern, shape (rows, columns, 2). Read-only."""
        return self._pattern.positions

    @property
    def grid_to_data(self) -> NDArray[np.int64]:
        """For each place of the pattern the index of its data point, -1 for none; shape (rows,
        columns). Read-only."""
        return self._grid_to_data

    @property
    def matched(self) -> NDArray[np.bool_]:
        """Whether a place has a data point, shape (rows, columns)."""
        return self._grid_to_data >= 0

    @property
    def data_points(self) -> NDArray[np.float64]:
        """The data point of each place, nan for none; shape (rows, columns, 2). Read-only."""
        return self._data_points

    def _data_from_grid(self) -> _core.rxXform:
        xform = self._result.modelToDataXform()
        return xform if self._pattern.sparse else xform * self._pattern.image.clientFromImageXform()

    def _data_from_model(self) -> _core.rxXform:
        xform = self._result.modelToDataXform()
        if not self._pattern.sparse:
            return xform
        return xform * self._pattern.image.clientFromImageXform().inverse()

    @property
    def matrix(self) -> NDArray[np.float64]:
        """From positions of the pattern to data, shape (2, 3), of a dense and of a sparse pattern.

        data = matrix[:, :2] @ position + matrix[:, 2]. The affine least squares over the matched
        dots, the similarity when they lie on one line, and the identity when they do not determine
        either.
        """
        return matrix_of(self._data_from_grid())

    @property
    def inverse_matrix(self) -> NDArray[np.float64]:
        """From data to positions, shape (2, 3). Raises MathError for a singular one."""
        return matrix_of(self._data_from_grid().inverse())

    @property
    def pose(self) -> NDArray[np.float64]:
        """From the plane of the pattern, where position (i, j) is i xv + j yv, to data; (2, 3).

        The identity when the pattern lies in the data just as the steps of training say, with
        position (0, 0) at the origin.
        """
        return matrix_of(self._data_from_model())

    @property
    def rotation_deg(self) -> float:
        """Rotation of the x axis by the pose, degrees in [-180, 180]; positive from x to y."""
        return _core.rxDegree(self._data_from_model().rotation()).toDouble()

    @property
    def scale(self) -> float:
        """Scale of the pose along the x axis: 1.1 is ten per cent larger than the steps say."""
        return self._data_from_model().xScale()

    @property
    def coverage(self) -> float:
        """The share of the dots that have a data point, 0 to 1."""
        return self._result.coverage()

    @property
    def residuals(self) -> NDArray[np.float64]:
        """Data point less mapped position, nan where unmatched; shape (rows, columns, 2)."""
        return self._data_points - _applied(self.matrix, self._pattern.positions)

    @property
    def distances(self) -> NDArray[np.float64]:
        """Lengths of the residuals, nan where unmatched; shape (rows, columns), data units."""
        return _lengths(self.residuals)

    @property
    def fit_error(self) -> float:
        """Root mean square of the distances, data units. result.fitError() is another number."""
        return _root_mean_square(self.distances)

    def apply(self, positions: ArrayLike) -> NDArray[np.float64]:
        """Takes positions of shape (n, 2), or one of shape (2,), from the pattern to the data.

        UNASSIGNED ones become nan.
        """
        return _applied_to_positions(self.matrix, positions)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, GridMatch):
            return NotImplemented
        return (
            self._result == other._result
            and self._pattern.image == other._pattern.image
            and np.array_equal(self._data_points, other._data_points, equal_nan=True)
        )

    __hash__ = None  # type: ignore[assignment]

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__dict__.update(state)
        self._freeze()

    def __repr__(self) -> str:
        x, y = self.apply(self._pattern.origin)
        return (
            f"<GridMatch: coverage {self.coverage:.6g} ({np.count_nonzero(self.matched)} matched), "
            f"fit error {self.fit_error:.3g}, first place at ({x:.6g}, {y:.6g}), "
            f"rotation {self.rotation_deg:.6g} deg, scale {self.scale:.6g}>"
        )


class GridMatches(Found[GridMatch]):
    """What one run found, best first: highest coverage, then smallest result.fitError().

    Of a sparse pattern: in the order of the coverage that the search of its points had; and the
    rotation of params is turned back by half of its middle, which the library adds.
    """


def _dots_of(pattern: ArrayLike) -> NDArray[np.bool_]:
    """Where a pattern is not 0."""
    require_unmasked(pattern, "pattern")
    values = np.asarray(pattern)
    if values.dtype.kind not in "fiub":
        raise TypeError(f"pattern: expected real numbers, got an array of {values.dtype}")
    if values.ndim != 2:
        raise ValueError(
            f"pattern: expected an array of shape (rows, columns), got shape {values.shape}"
        )
    if np.isnan(values).any():
        row, column = np.argwhere(np.isnan(values))[0]
        raise ValueError(f"pattern: expected numbers, got nan at [{row}, {column}]")
    dots: NDArray[np.bool_] = values != 0
    return dots


class GridMatcher(Trained):
    """A trained pattern of dots on a regular grid. Any number of threads may search with it.

    A pattern is dense or sparse. Of the data a dense one is searched for in, the points are first
    mapped onto a grid, as by grid_map; then the pattern is looked for among the positions. In a
    sparse one too few dots are neighbours for that: they are searched for as points. Sparse is a
    pattern of fewer than 10 dots, and one in which no dot has more than one neighbour. Neighbours
    are the four next places; in a pattern in which no two of these both have a dot (staggered, as
    a checkerboard), the four diagonal ones.

    >>> plate = np.ones((4, 5))                 # 4 rows of 5 dots
    >>> plate[1, 1] = 0                         # one is missing
    >>> matcher = GridMatcher.train(plate, (25, 0), (0, 25))
    >>> rows, columns = np.nonzero(plate)
    >>> dots = np.column_stack([100 + 26 * columns, 50 + 26 * rows])
    >>> found = matcher.match(dots)
    >>> found.best.coverage, round(found.best.scale, 6)
    (1.0, 1.04)
    >>> found.best.grid_to_data
    array([[ 0,  1,  2,  3,  4],
           [ 5, -1,  6,  7,  8],
           [ 9, 10, 11, 12, 13],
           [14, 15, 16, 17, 18]])
    >>> found.best.apply((1, 1)).round(6)       # where the missing one would be
    array([126.,  76.])
    """

    def __init__(self, core: _core.rxPointMatcher) -> None:
        """Of the library's own matcher, trained on an image. Use train.

        Of a sparse pattern, core becomes another matcher, trained without an empty rim.
        """
        if not isinstance(core, _core.rxPointMatcher):
            raise TypeError(
                "expected a trained rxPointMatcher; for a pattern use GridMatcher.train(pattern)"
            )
        is_grid = core.isTrained() and core.trainMode() == _core.rxPointMatcherDefs.ePointToGrid
        if not is_grid:
            raise NotTrained("the matcher is not trained on a grid pattern")
        self._pattern = _Pattern(core.pattern())
        if self._pattern.sparse:
            # One trained with an empty rim would be found shifted by it; pattern() has none.
            super().__init__(_core.rxPointMatcher())
            self._core.train(self._pattern.image)
        else:
            super().__init__(copy.copy(core))  # which the caller may train anew

    @classmethod
    def train(
        cls, pattern: ArrayLike, xv: Pair, yv: Pair, *, origin: Sequence[int] = (0, 0)
    ) -> "GridMatcher":
        """A matcher for a pattern of dots on a grid.

        pattern: shape (rows, columns), any real type or truth values; a dot where it is not 0, at
            least 3 of them.
        xv, yv: the steps in the data from one column to the next and from one row to the next.
            Of a single column (row), any step that is not parallel to the other will do for xv
            (yv).
        origin: the position (i, j) of pattern[0, 0]; that of pattern[row, column] is
            (i + column, j + row).

        Rows and columns without a dot at the rim are left out; the origin moves accordingly.

        Raises InsufficientModelPoints, BadParams, InsufficientMemory; ValueError for a
        pattern of another shape, or steps that are parallel.
        """
        dots = _dots_of(pattern)
        steps = pair_of(xv, "xv"), pair_of(yv, "yv")
        _require_spanning(*steps)
        i, j = pair_of(origin, "origin")
        if not all(abs(n) <= _LARGEST_POSITION and n == np.floor(n) for n in (i, j)):
            raise ValueError(
                f"origin: expected a pair of whole numbers of 32 bits, got {origin!r}"
            )
        count = np.count_nonzero(dots)
        if count < _FEWEST_DOTS:
            raise InsufficientModelPoints(
                f"pattern: expected at least {_FEWEST_DOTS} dots, got {count}"
            )
        image = _core.rxPelBuffer(
            dots, (int(i), int(j)), _core.rxXform(np.column_stack(steps), (0.0, 0.0))
        )
        core = _core.rxPointMatcher()
        core.train(image)
        return cls(core)

    @property
    def pattern(self) -> NDArray[np.bool_]:
        """Where there is a dot, shape (rows, columns), without an empty rim. Read-only."""
        return self._pattern.dots

    @property
    def origin(self) -> tuple[int, int]:
        """The position (i, j) of pattern[0, 0]."""
        return self._pattern.origin

    @property
    def positions(self) -> NDArray[np.int64]:
        """The position (i, j) of each place of the pattern, shape (rows, columns, 2). Read-only."""
        return self._pattern.positions

    @property
    def xv(self) -> NDArray[np.float64]:
        """The step from one column to the next, shape (2,), data units."""
        return self._pattern.image.clientFromImageXform().matrix()[:, 0]

    @property
    def yv(self) -> NDArray[np.float64]:
        """The step from one row to the next, shape (2,), data units."""
        return self._pattern.image.clientFromImageXform().matrix()[:, 1]

    @property
    def staggered(self) -> bool:
        """Whether no two dots are neighbours in a row or a column."""
        return self._pattern.staggered

    @property
    def sparse(self) -> bool:
        """Whether the dots are searched for as points."""
        return self._pattern.sparse

    def __len__(self) -> int:
        """The number of dots."""
        return int(np.count_nonzero(self._pattern.dots))

    def match(
        self,
        data: ArrayLike,
        *,
        rotation: Angles = (-15.0, 15.0),
        scale: Pair = (-0.2, 0.2),
        min_coverage: float = 0.5,
        max_results: int = 1,
        grid_size: Optional[float] = None,
        capture_range: Optional[float] = None,
        time_limit: Optional[float] = None,
        progress: Progress = None,
    ) -> GridMatches:
        """Finds the pattern among data points, wherever it lies.

        data: shape (m, 2), any real type.
        rotation: from and to, degrees against the steps of training, or "full".
        scale: of a dense pattern, how much the distance of neighbours may differ from the step,
            as a share of it, from and to; (0, 0) accepts distances that are exact to the last
            bit and nothing else. Steps that are wrong by more than 20 % need a larger
            capture_range as well. Of a sparse one, the relative change of scale.
        min_coverage: smallest share of the dots with a data point, 0 to 1. Of a dense pattern it
            is rounded down to whole dots: 22 of 24 reach 0.95, and what comes to less than one
            finds nothing.
        max_results: largest number of matches.
        grid_size: cell size of the search for a sparse pattern, in the units of the steps; None:
            as training derived it. Without effect on a dense one.
        capture_range: largest distance between a point and its node (sparse: its dot), data
            units; None: 0.2 times the shorter step (sparse: the grid size).
        time_limit: seconds; None: no limit. The search for a dense pattern, which is a fast one,
            does not look at it.
        progress: True for a bar on stderr, or a function that is told the share done, 0 to 1; of
            a dense pattern at the end only.

        A dense pattern is looked for as its dots are mapped onto a grid. In a range of rotations in
        which the grid looks alike twice (a square one after 90 degrees) one of both is taken, and
        the pattern may be missed: search narrower ranges one after the other. When both steps
        point to smaller coordinates, as trained or as the pattern lies turned, nothing may be
        found: train on pattern[::-1, ::-1] instead.

        It may overhang the rectangle around the data's grid positions by two steps on each side.
        Of two points within the capture range of one node, the later one is matched, and both
        count in the matrix: a smaller range keeps clutter beside a dot off.

        The interpreter is free for other threads meanwhile; Ctrl-C ends the search for a sparse
        pattern. Raises BadParams, InsufficientMemory, FitError, MathError, DeadlinePassed,
        Interrupted, and ValueError for data of a wrong shape or with numbers that are not finite.
        """
        _require_above_zero(capture_range, "capture_range")
        params = run_params(
            rotation=rotation,
            scale=scale,
            min_coverage=min_coverage,
            max_results=max_results,
            grid_size=grid_size,
            capture_range=capture_range,
        )
        angles = params.rotationUncertainty()
        if self.sparse and angles.range() == _core.rxRangeDefs.Normal:
            # The search for a sparse pattern adds the middle to the rotation.
            back = angles.middle().toDouble() / 2.0
            params.rotationUncertainty(
                _core.rxAngleRange(
                    _core.rxRadian(angles.start().toDouble() - back),
                    _core.rxRadian(angles.end().toDouble() - back),
                )
            )
        own = _own_points(data, "data")
        found = run(self._core, own, params, time_limit, progress)
        points = _as_float64(own)
        matches = [GridMatch(result, self._pattern, points) for result in found.results()]
        return GridMatches(matches, found, params)

    @classmethod
    def from_bytes(cls, record: bytes) -> "GridMatcher":
        """The matcher of a record. Raises ArchiveError, or NotTrained if it holds no pattern."""
        return cls(_core.rxPointMatcher.from_bytes(record))

    @classmethod
    def load(cls, path: Path) -> "GridMatcher":
        """The matcher of a file that save or `ptmatch train --pattern` wrote. As from_bytes.

        Give the tool the steps (--xv, --yv): a matcher that it trained without them has the steps
        (1, 0) and (0, 1), which `ptmatch grid-match` replaces by what the data show, and match
        does not.
        """
        return cls.from_bytes(record_in(path))

    def __repr__(self) -> str:
        rows, columns = self.pattern.shape
        kind = (", staggered" if self.staggered else "") + (", sparse" if self.sparse else "")
        return f"<GridMatcher of {len(self)} dots in {rows} rows and {columns} columns{kind}>"
