"""Transforms fitted to corresponding points: rigid, similarity, affine and perspective.

All are least squares over all pairs. Nothing is weighted or left out: one wrong pair moves the
answer, and `worst` tells which pair to look at first.
"""

import copy
import math
from typing import Any, Callable, Optional, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _core
from .arguments import matrix_of, read_only, real_array
from .errors import FitError, MathError

__all__ = ["Transform", "fit_affine", "fit_perspective", "fit_rigid", "fit_similarity"]

_Core = Union[_core.rx2PtMatchTm, _core.rx2PTm, _core.rx3PtMatchTm]
_Points = NDArray[np.float64]


class Transform:
    """A transform from points a to points b, its inverse, and what it leaves over at the pairs.

    Made by fit_rigid, fit_similarity, fit_affine and fit_perspective. It does not change; it
    pickles, copies and compares (the same model, numbers and pairs).

    >>> t = fit_similarity([(0, 0), (1, 0), (0, 1)], [(5, 5), (5, 7), (3, 5)])
    >>> t([(1, 1), (2, 0)])
    array([[3., 7.],
           [5., 9.]])
    >>> t.inverse()((3, 7))
    array([1., 1.])
    """

    def __init__(
        self, core: _Core, model: str, a: _Points, b: _Points, is_inverse: bool = False
    ) -> None:
        """Of the library's own transform from a to b, and the pairs. Use the functions that fit."""
        self._core = core
        self._model = model
        # Copies: the caller's own arrays stay writable.
        self._a = read_only(np.array(a, dtype=np.float64))
        self._b = read_only(np.array(b, dtype=np.float64))
        self._is_inverse = is_inverse

    @property
    def model(self) -> str:
        """What was fitted: "rigid", "similarity", "affine" or "perspective"."""
        return self._model

    @property
    def core(self) -> _Core:
        """The library's own transform, for its functions; a copy, without pairs.

        rx2PtMatchTm, rx2PTm for a perspective one, rx3PtMatchTm in space. Raises MathError for an
        inverse that is itself too near to a singular one.
        """
        core = self._core
        if not self._is_inverse:
            return copy.copy(core)
        if isinstance(core, _core.rx2PtMatchTm):
            return _core.rx2PtMatchTm(core.b2aXform())
        if isinstance(core, _core.rx2PTm):
            return _core.rfExactPerspective(core.b2aParams())
        return _core.rfExactSpaceTransform(core.b2aParams())

    @property
    def matrix(self) -> NDArray[np.float64]:
        """In the plane of shape (2, 3), in space (3, 4): b = matrix[:, :-1] @ a + matrix[:, -1].

        Perspective: of shape (3, 3), its last element 1: (w x', w y', w) = matrix @ (x, y, 1).
        """
        return _matrix(self._core, self._is_inverse)

    @property
    def rotation_deg(self) -> float:
        """Rotation of the x axis, degrees in [-180, 180]; positive from x to y.

        Raises ValueError for a perspective transform, and in space.
        """
        matrix = self._affine_matrix("rotation_deg")
        if matrix.shape != (2, 3):
            raise ValueError("rotation_deg: a rotation in space is not one angle; see matrix")
        return float(np.degrees(np.arctan2(matrix[1, 0], matrix[0, 0])))

    @property
    def scale(self) -> float:
        """Units of b per unit of a, along the x axis. Raises ValueError for a perspective one."""
        return math.hypot(*self._affine_matrix("scale")[:, 0])

    @property
    def translation(self) -> NDArray[np.float64]:
        """The image of the origin, shape (2,) or (3,). Raises ValueError for a perspective one."""
        return self._affine_matrix("translation")[:, -1].copy()

    def _affine_matrix(self, name: str) -> NDArray[np.float64]:
        if self._model == "perspective":
            raise ValueError(f"{name}: a perspective transform has none; see matrix")
        return self.matrix

    @property
    def inverse_matrix(self) -> NDArray[np.float64]:
        """The matrix from b to a, of the same form."""
        return _matrix(self._core, not self._is_inverse)

    @property
    def source(self) -> NDArray[np.float64]:
        """The points a, shape (n, 2) or (n, 3). Read-only."""
        return self._b if self._is_inverse else self._a

    @property
    def target(self) -> NDArray[np.float64]:
        """The points b, of the same shape. Read-only."""
        return self._a if self._is_inverse else self._b

    @property
    def residuals(self) -> NDArray[np.float64]:
        """b less mapped a, of their shape, units of b."""
        return self.target - self.apply(self.source)

    @property
    def distances(self) -> NDArray[np.float64]:
        """Lengths of the residuals, shape (n,), units of b."""
        residuals = self.residuals
        lengths = np.hypot(residuals[:, 0], residuals[:, 1])
        return lengths if residuals.shape[1] == 2 else np.hypot(lengths, residuals[:, 2])

    @property
    def rms(self) -> float:
        """Root of the mean square of the distances, units of b."""
        distances = self.distances
        largest = float(np.max(distances))
        if largest == 0.0:
            return 0.0
        # Squares of very small or large distances would leave the range of double.
        return largest * float(np.sqrt(np.mean((distances / largest) ** 2)))

    @property
    def largest(self) -> float:
        """The largest distance, units of b."""
        return float(np.max(self.distances))

    @property
    def worst(self) -> int:
        """The index of the first pair with the largest distance."""
        return int(np.argmax(self.distances))

    @property
    def conditioning(self) -> Optional[float]:
        """How much worse than the coordinates a perspective transform is known; None of others.

        A few units for points spread over the plane; an error of the pairs reaches the parameters
        (in normalised coordinates) up to so many times enlarged. An inverse has that of its fit.
        """
        if self._model != "perspective":
            return None
        return _core.rfPerspectiveConditioning(self._a, self._b)

    def apply(self, points: ArrayLike) -> NDArray[np.float64]:
        """Takes points from a to b, shape (n, 2) or (n, 3), or one of shape (2,) or (3,).

        What is nan stays nan. Where a perspective transform takes a point to infinity, the image
        is infinite or nan.
        """
        map_points = self._core.b2a if self._is_inverse else self._core.a2b
        return np.asarray(map_points(points))

    def __call__(self, points: ArrayLike) -> NDArray[np.float64]:
        """The same as apply."""
        return self.apply(points)

    def inverse(self) -> "Transform":
        """The transform from b to a, with the pairs exchanged.

        It is this one backwards, not the fit of a to b: its residuals, in units of a, are not the
        least ones.
        """
        return type(self)(self._core, self._model, self._a, self._b, not self._is_inverse)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Transform):
            return NotImplemented
        return (
            self._model == other._model
            and self._is_inverse == other._is_inverse
            and type(self._core) is type(other._core)
            and self._core == other._core
            and np.array_equal(self._a, other._a)
            and np.array_equal(self._b, other._b)
        )

    __hash__ = None  # type: ignore[assignment]

    def __copy__(self) -> "Transform":
        return self

    def __deepcopy__(self, memo: dict[int, Any]) -> "Transform":
        return self

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self._core, self._model, self._a, self._b, self._is_inverse)

    def __repr__(self) -> str:
        where = "plane" if self._a.shape[1] == 2 else "space"
        return (
            f"<Transform: {'inverse of ' if self._is_inverse else ''}{self._model} in the {where}, "
            f"{len(self._a)} pairs, rms {self.rms:.3g}, largest {self.largest:.3g} "
            f"of pair {self.worst}>"
        )


def fit_rigid(a: ArrayLike, b: ArrayLike) -> Transform:
    """The rotation and translation, without reflection, that take a closest to b.

    a, b: corresponding points, both of shape (n, 2), at least 2, or (n, 3), at least 3 and not on
        one line.

    Raises FitError for too few pairs; FitError in the plane, MathError in space for pairs that
    leave it open; ValueError for arrays of a wrong shape, of unequal lengths, or with numbers that
    are not finite.

    >>> t = fit_rigid([(0, 0), (10, 0), (10, 5)], [(3, 4), (3, 14), (-2, 14)])
    >>> t.matrix.round(12) + 0.0
    array([[ 0., -1.,  3.],
           [ 1.,  0.,  4.]])
    """
    return _fit("rigid", a, b, 3, _core.rfFitRigid3D)


def fit_similarity(a: ArrayLike, b: ArrayLike) -> Transform:
    """The rotation, translation and one positive scale that take a closest to b.

    Arguments and errors as of fit_rigid.
    """
    return _fit("similarity", a, b, 4, _core.rfFitSimilarity3D)


def fit_affine(a: ArrayLike, b: ArrayLike) -> Transform:
    """The affine transform, any matrix with a translation, that takes a closest to b.

    a, b: corresponding points, both of shape (n, 2), at least 3 and not on one line, or (n, 3), at
        least 4 and not in one plane.

    Raises the errors of fit_rigid, and MathError for a transform without an inverse: points b on
    one line, in space in one plane.
    """
    return _fit("affine", a, b, 6, _core.rfFitAffine3D)


def fit_perspective(a: ArrayLike, b: ArrayLike) -> Transform:
    """The perspective transform from points a to points b of the plane.

    a, b: corresponding points, both of shape (n, 2), at least 4, no three of some four on one line.

    Coordinates may be of any size, such as pixels. What is least is the algebraic distance, which
    counts pairs nearer to the horizon less; 4 pairs are met exactly. Raises FitError for fewer,
    MathError for pairs that leave it open, ValueError as fit_rigid.

    >>> t = fit_perspective([(0, 0), (1, 0), (1, 1), (0, 1)], [(0, 0), (4, 0), (3, 2), (1, 2)])
    >>> t((0.5, 0.5)).round(12)
    array([2.        , 1.33333333])
    >>> round(t.conditioning, 1)
    4.2
    """
    first, second = _pairs(a, b)
    if first.shape[1] != 2:
        raise ValueError(f"a: expected an array of shape (n, 2), got shape {first.shape}")
    _require_pairs("perspective", first, 4)
    core = _core.rfFitPerspectiveNormalized(first, second)
    return Transform(core, "perspective", first, second)


def _fit(
    model: str,
    a: ArrayLike,
    b: ArrayLike,
    dof: int,
    fit_in_space: Callable[[_Points, _Points], _core.rx3PtMatchTm],
) -> Transform:
    first, second = _pairs(a, b)
    fewest = (3 if dof == 6 else 2) + first.shape[1] - 2
    _require_pairs(model, first, fewest)
    if first.shape[1] == 3:
        return Transform(fit_in_space(first, second), model, first, second)
    try:
        fitted = _core.rxLSPointToPointFitter(second, first).fit(dof)
    except FitError as error:
        # The fitter maps its second points onto its first.
        reason = str(error).replace("the second points", "the points a")
        raise FitError(reason) from None
    if model == "affine" and _is_singular(fitted.matrix(), second):
        raise MathError("the points b lie on one line")
    return Transform(_core.rx2PtMatchTm(fitted), model, first, second)


def _is_singular(matrix: _Points, b: _Points) -> bool:
    """Whether the matrix is singular, or the points b lie on one line, to within rounding."""
    eps = float(np.finfo(np.float64).eps)
    largest = float(np.max(np.abs(b)))
    if largest == 0.0:
        return True
    unit = b / largest
    across = np.linalg.svd(unit - unit.mean(axis=0), compute_uv=False)[1]
    if across <= 4.0 * eps * np.sqrt(len(b)):
        return True
    # Rows of unit size: products of small or large numbers would leave the range of double.
    sizes = np.max(np.abs(matrix), axis=1, keepdims=True)
    if not np.all(sizes > 0.0):
        return True
    rows = matrix / sizes
    products = rows[0, 0] * rows[1, 1], rows[0, 1] * rows[1, 0]
    return bool(abs(products[0] - products[1]) <= 8.0 * eps * (abs(products[0]) + abs(products[1])))


def _require_pairs(model: str, points: _Points, fewest: int) -> None:
    if len(points) < fewest:
        article = "an" if model == "affine" else "a"
        raise FitError(
            f"{article} {model} transform needs at least {fewest} pairs, got {len(points)}"
        )


def _pairs(a: ArrayLike, b: ArrayLike) -> tuple[_Points, _Points]:
    first = _points(a, "a")
    second = _points(b, "b")
    if first.shape != second.shape:
        raise ValueError(
            f"a, b: expected arrays of one shape, got {first.shape} and {second.shape}"
        )
    return first, second


def _points(value: ArrayLike, name: str) -> _Points:
    """A copy of the points, for the transform to keep."""
    array = real_array(value, name)
    if array.ndim != 2 or array.shape[1] not in (2, 3):
        raise ValueError(
            f"{name}: expected an array of shape (n, 2) or (n, 3), got shape {array.shape}"
        )
    points = np.array(array, order="C")
    if not np.all(np.isfinite(points)):
        row, column = np.argwhere(~np.isfinite(points))[0]
        raise ValueError(
            f"{name}: expected finite coordinates, got {points[row, column]} at [{row}, {column}]"
        )
    return points


def _matrix(core: _Core, is_inverse: bool) -> NDArray[np.float64]:
    if isinstance(core, _core.rx2PtMatchTm):
        return matrix_of(core.b2aXform() if is_inverse else core.a2bXform())
    params = core.b2aParams() if is_inverse else core.a2bParams()
    if isinstance(core, _core.rx2PTm):
        return np.append(params, 1.0).reshape(3, 3)
    return params.reshape(3, 4)
