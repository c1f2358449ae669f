"""Finding a known pattern of points among measured points."""

import contextlib
import copy
import math
from typing import Any, Iterator, Optional, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _core
from .arguments import (
    Angles,
    Pair,
    Pose,
    matrix_of,
    points_of,
    read_only,
    run_params,
    xform_of,
)
from .found import Found
from .progress import Bar, Progress
from .trained import Path, Trained, record_in


class Match:
    """One place where the pattern was found.

    It holds the model and the points that were matched, and so remains whole when the data are
    gone or it travels to another process.
    """

    def __init__(
        self,
        result: _core.rxPointMatcherResult,
        model_points: NDArray[np.float64],
        data_points: NDArray[np.float64],
    ) -> None:
        """data_points: the one of each model point, nan for none."""
        self._result = result
        self._model_points = model_points
        self._model_to_data = result.modelToDataMap()
        self._data_points = data_points
        self._freeze()

    def _freeze(self) -> None:
        """Hands out views of arrays that nobody can write."""
        self._model_points = read_only(self._model_points)
        self._model_to_data = read_only(self._model_to_data)
        self._data_points = read_only(self._data_points)

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__dict__.update(state)
        self._freeze()

    @property
    def result(self) -> _core.rxPointMatcherResult:
        """The library's own result, for its functions."""
        return self._result

    @property
    def matrix(self) -> NDArray[np.float64]:
        """The pose, shape (2, 3): data = matrix[:, :2] @ model + matrix[:, 2]."""
        return matrix_of(self._result.modelToDataXform())

    @property
    def inverse_matrix(self) -> NDArray[np.float64]:
        """From data to model, shape (2, 3). Raises MathError for a singular pose."""
        return matrix_of(self._result.modelToDataXform().inverse())

    @property
    def rotation_deg(self) -> float:
        """Rotation of the x axis, degrees in [-180, 180]; positive from x to y."""
        return _core.rxDegree(self._result.modelToDataXform().rotation()).toDouble()

    @property
    def scale(self) -> float:
        """Data units per model unit."""
        return self._result.modelToDataXform().xScale()

    @property
    def translation(self) -> NDArray[np.float64]:
        """Where the origin of the model lies in the data, shape (2,)."""
        return np.array(self._result.modelToDataXform().trans())

    @property
    def coverage(self) -> float:
        """The matched share of the model's weight, 0 to 1."""
        return self._result.coverage()

    @property
    def fit_error(self) -> float:
        """Root mean square of the distances of the matched points, data units."""
        return self._result.fitError()

    @property
    def model_points(self) -> NDArray[np.float64]:
        """The model, shape (n, 2), in the order of training. Read-only."""
        return self._model_points

    @property
    def model_to_data(self) -> NDArray[np.int64]:
        """For each model point the index of its data point, -1 for none; shape (n,). Read-only."""
        return self._model_to_data

    @property
    def matched(self) -> NDArray[np.bool_]:
        """Whether a model point has a data point, shape (n,)."""
        return self._model_to_data >= 0

    @property
    def data_points(self) -> NDArray[np.float64]:
        """The data point of each model point, nan for none; shape (n, 2). Read-only."""
        return self._data_points

    @property
    def residuals(self) -> NDArray[np.float64]:
        """Data point less mapped model point, nan where unmatched; shape (n, 2), data units."""
        return self._data_points - self.apply(self._model_points)

    @property
    def distances(self) -> NDArray[np.float64]:
        """Lengths of the residuals, nan where unmatched; shape (n,), data units."""
        residuals = self.residuals
        return np.hypot(residuals[:, 0], residuals[:, 1])

    def apply(self, points: ArrayLike) -> NDArray[np.float64]:
        """Takes points of shape (n, 2), or one of shape (2,), from the model to the data."""
        matrix = self.matrix
        mapped: NDArray[np.float64] = points_of(points, "points") @ matrix[:, :2].T
        return mapped + matrix[:, 2]

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Match):
            return NotImplemented
        return (
            self._result == other._result
            and np.array_equal(self._model_points, other._model_points)
            and np.array_equal(self._data_points, other._data_points, equal_nan=True)
        )

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        x, y = self.translation
        return (
            f"<Match: coverage {self.coverage:.6g} ({np.count_nonzero(self.matched)} matched), "
            f"fit error {self.fit_error:.3g}, at ({x:.6g}, {y:.6g}), "
            f"rotation {self.rotation_deg:.6g} deg, scale {self.scale:.6g}>"
        )


class Matches(Found[Match]):
    """What one run found, best first: highest coverage, then smallest fit error."""


class Matcher(Trained):
    """A trained pattern. It does not change: any number of threads may search with it at once.

    >>> model = [(0, 0), (40, 0), (40, 25), (10, 30)]
    >>> matcher = Matcher.train(model)
    >>> found = matcher.match([(70, 12), (75, 100), (75, 140), (50, 140), (45, 110)],
    ...                       rotation="full")
    >>> found.best.rotation_deg, found.best.coverage
    (90.0, 1.0)
    >>> found.best.model_to_data
    array([1, 2, 3, 4])
    """

    def __init__(self, core: _core.rxPointMatcher) -> None:
        """Of the library's own matcher, trained on points. Use train."""
        if not isinstance(core, _core.rxPointMatcher):
            raise TypeError("expected a trained rxPointMatcher; for points use Matcher.train(points)")
        super().__init__(copy.copy(core))  # which the caller may train anew
        self._points = read_only(core.modelPoints())

    @classmethod
    def train(
        cls, points: ArrayLike, weights: Optional[ArrayLike] = None, *, exhaustive: bool = False
    ) -> "Matcher":
        """A matcher for a pattern of points.

        points: at least 3, shape (n, 2), in any unit.
        weights: a whole number for each point, at least two above 0; None: all the same.
        exhaustive: try every assignment; for up to about six points.

        Raises InsufficientModelPoints, BadParams, ValueError for arrays of a wrong shape or with
        numbers that are not finite.
        """
        core = _core.rxPointMatcher()
        defs = _core.rxPointMatcherDefs
        mode = defs.eExhaustiveMode if exhaustive else defs.eAutoDetect
        if weights is None:
            core.train(points, mode)
        else:
            _require_one_each(points, weights)
            core.train(points, weights, mode)
        return cls(core)

    @property
    def points(self) -> NDArray[np.float64]:
        """The pattern, shape (n, 2). Read-only."""
        return self._points

    @property
    def weights(self) -> Optional[NDArray[np.int64]]:
        """The weights, shape (n,), all 1 if none were given; None of an exhaustive matcher."""
        return None if self.exhaustive else self._core.weights()

    @property
    def exhaustive(self) -> bool:
        """Whether every assignment is tried."""
        return self._core.trainMode() == _core.rxPointMatcherDefs.eExhaustiveMode

    def __len__(self) -> int:
        """The number of points of the pattern."""
        return len(self._points)

    def match(
        self,
        data: ArrayLike,
        *,
        rotation: Angles = (-15.0, 15.0),
        scale: Pair = (0.0, 0.0),
        translation_x: Optional[Pair] = None,
        translation_y: Optional[Pair] = None,
        start_pose: Optional[Pose] = None,
        min_coverage: float = 0.5,
        max_results: int = 1,
        grid_size: Optional[float] = None,
        capture_range: Optional[float] = None,
        time_limit: Optional[float] = None,
        progress: Progress = None,
    ) -> Matches:
        """Finds the pattern among data points.

        data: shape (m, 2), any real type; float64 in C order is read where it is.
        rotation: from and to, degrees against the start pose, or "full".
        scale: relative change, from and to: (-0.1, 0.2) is 10 % smaller to 20 % larger, so 0.9 to
            1.1 times is (-0.1, 0.1). These are the scales that are tried: the one of a match is
            fitted and may lie outside.
        translation_x, translation_y: from and to; None: anywhere. By how much the centre of the
            pattern's bounding box moves before the start pose is applied, model units; not the
            translation of a match, which is where the pattern's origin comes to lie.
        start_pose: the expected pose, shape (2, 3), a rotation, scale and translation; None: the
            identity.
        min_coverage: smallest matched share of the pattern, 0 to 1.
        max_results: largest number of matches. Several may show one place; see distinct.
        grid_size: cell size of the search, model units; None: as training derived it.
        capture_range: largest distance of a matched point, data units; None: the grid size.
        time_limit: seconds; None: no limit. Exhaustive searches do not look at it.
        progress: True for a bar on stderr, or a function that is told the share done, 0 to 1.

        The interpreter is free for other threads meanwhile, and Ctrl-C ends the search (not an
        exhaustive one). Raises BadParams, DeadlinePassed, Interrupted, and ValueError for data
        of a wrong shape or with numbers that are not finite.
        """
        params = run_params(
            rotation=rotation,
            scale=scale,
            translation_x=translation_x,
            translation_y=translation_y,
            start_pose=start_pose,
            min_coverage=min_coverage,
            max_results=max_results,
            grid_size=grid_size,
            capture_range=capture_range,
        )
        found = _core.rxPointMatcherResultSet()
        with limits_of(time_limit, progress) as limits:
            matched = _core._runAndPair(self._core, data, params, found, limits)
        results = zip(found.results(), matched)
        return Matches([Match(one, self._points, points) for one, points in results], found, params)

    def distinct(
        self, found: Matches, *, max_shared_share: float = 0.2, min_pose_distance: float = 0.0
    ) -> list[Match]:
        """The copies of the pattern among the matches of a search, best first, each once.

        max_shared_share: largest share of its data points that a copy has in common with better
            ones.
        min_pose_distance: copies lie more than this apart, data units.

        Ask match for several times as many results as there may be copies.
        """
        distinctness = _core.rxDistinctness(max_shared_share, min_pose_distance)
        places = _core.rfDistinctInstances(self._core, found.result_set, distinctness)
        return [found[int(place)] for place in places]

    def certainty(
        self,
        found: Matches,
        data: ArrayLike,
        index: int = 0,
        *,
        point_sigma: float = 0.0,
        min_pose_distance: float = 0.0,
        data_area: float = 0.0,
    ) -> _core.rxCertainty:
        """How sure a match is: covariance of its pose, margin to the next, chance of an accident.

        found, data: what match returned for these data; 10 results or more tell the margin.
        index: of the match in found.
        point_sigma: standard deviation of a coordinate of a data point, 1e-150 to 1e150; 0: from the
            residuals.
        min_pose_distance: poses further apart are different, data units; 0: from the model.
        data_area: area over which the data are scattered; 0: of their bounding box.
        """
        if not 0 <= index < len(found):
            raise IndexError(f"index: expected the place of one of {len(found)} matches, got {index}")
        self._require_data_of(found[index], data)
        settings = _core.rxCertaintySettings(point_sigma, min_pose_distance, data_area)
        return _core.rfCertainty(
            self._core, data, found.params, found.result_set, index, settings
        )

    @staticmethod
    def _require_data_of(match: Match, data: ArrayLike) -> None:
        """Raises ValueError when the match was not found in these data."""
        points = points_of(data, "data")
        places = match.model_to_data[match.matched]
        if len(places) and (
            places.max() >= len(points)
            or not np.array_equal(points[places], match.data_points[match.matched])
        ):
            raise ValueError("data: expected those that the match was found in")

    def why_not(self, data: ArrayLike, **search: Any) -> _core.rxWhyNot:
        """Why a search finds nothing, or not the expected.

        search: the keywords of match, from rotation to capture_range.
        """
        return _core.rfWhyNot(self._core, data, run_params(**search))

    def cost(self, data: ArrayLike, **search: Any) -> _core.rxRunCost:
        """How much a search would look through, without searching. Arguments as why_not."""
        return _core.rfRunCost(self._core, data, run_params(**search))

    def vote_image(
        self, data: ArrayLike, pose: Optional[Pose] = None, **search: Any
    ) -> Optional[_core.rxVoteImage]:
        """The votes that a search counts at one scale and rotation.

        pose: such as the matrix of a match: at the place of the search nearest to it; None: where
            the highest of all votes stands, for which all are counted.

        None when the search has nothing to look through. Raises BadParams for an exhaustive
        matcher. Other arguments as why_not.
        """
        params = run_params(**search)
        if pose is None:
            place = _core.rfBestVotePlace(self._core, data, params)
        else:
            place = _core.rfNearestVotePlace(self._core, data, params, xform_of(pose, "pose"))
        return None if place is None else _core.rfVoteImage(self._core, data, params, place)

    @classmethod
    def from_bytes(cls, record: bytes, *, exhaustive: bool = False) -> "Matcher":
        """The matcher of a record. Raises ArchiveError, or NotTrained if it holds no points."""
        return cls(_core.rxPointMatcher.from_bytes(record, exhaustive))

    @classmethod
    def load(cls, path: Path, *, exhaustive: bool = False) -> "Matcher":
        """The matcher of a file that save or the tool's `ptmatch train` wrote. As from_bytes."""
        return cls.from_bytes(record_in(path), exhaustive=exhaustive)

    def __repr__(self) -> str:
        return f"<Matcher of {len(self)} points{', exhaustive' if self.exhaustive else ''}>"


def _require_one_each(points: ArrayLike, weights: ArrayLike) -> None:
    """Raises ValueError for another number of weights than of points. What is neither a list of
    points nor one of weights is left to the library."""
    if np.ndim(points) != 2 or np.ndim(weights) != 1:
        return
    given, expected = np.size(weights), len(np.asarray(points))
    if given != expected:
        raise ValueError(f"weights: expected one for each of {expected} points, got {given}")


@contextlib.contextmanager
def limits_of(
    time_limit: Optional[float], progress: Progress
) -> Iterator[Optional[_core.rxRunLimits]]:
    """The limits of a run; None if there is neither a limit nor somebody to tell."""
    if time_limit is None and (progress is None or progress is False):
        yield None
        return
    limits = _core.rxRunLimits()
    limits.timeLimit = math.inf if time_limit is None else time_limit
    if progress is True:
        with Bar() as bar:
            limits.onProgress = bar
            yield limits
        return
    if callable(progress):
        limits.onProgress = progress
    elif progress is not None and progress is not False:
        raise TypeError(f"progress: expected None, True or a function, got {progress!r}")
    yield limits


def run(
    core: _core.rxPointMatcher,
    data: ArrayLike,
    params: _core.rxPointMatcherRunParams,
    time_limit: Optional[float],
    progress: Progress,
) -> _core.rxPointMatcherResultSet:
    """A run of the library's matcher, watched if there is a limit or somebody to tell."""
    found = _core.rxPointMatcherResultSet()
    with limits_of(time_limit, progress) as limits:
        if limits is None:
            core.run(data, params, found)
        else:
            _core.rfRunWatched(core, data, params, found, limits)
    return found
