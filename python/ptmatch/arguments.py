"""Plain pairs and numbers of Python as the parameter classes of the library."""

from typing import Any, Optional, Sequence, TypeVar, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._core import rxAngleRange, rxDegree, rxPointMatcherRunParams, rxRange, rxXform

#: What an array holds.
Number = TypeVar("Number", bound=np.generic)
#: A pair of numbers, from and to.
Pair = Sequence[float]
#: A pair of angles in degrees, or "full" for a whole turn.
Angles = Union[Pair, str]
#: A pose: an rxXform, or an array of shape (2, 3) or (3, 3) whose last row is 0, 0, 1.
Pose = Union[rxXform, ArrayLike]


def is_masked(value: Any) -> bool:
    """Whether it is a masked array, or holds rows of one, whose mask would be lost."""
    if isinstance(value, (list, tuple)):
        return any(isinstance(row, np.ma.MaskedArray) for row in value)
    return isinstance(value, np.ma.MaskedArray)


def require_unmasked(value: Any, name: str) -> None:
    """Raises TypeError for what is_masked tells."""
    if is_masked(value):
        raise TypeError(
            f"{name}: expected real numbers, got a masked array; choose the points with a mask of "
            "your own first"
        )


def real_array(value: Any, name: str) -> NDArray[np.float64]:
    """An array of real numbers. Raises TypeError for what holds others, or a mask."""
    require_unmasked(value, name)
    array = np.asarray(value)
    if array.dtype.kind not in "fiu":
        raise TypeError(f"{name}: expected real numbers, got an array of {array.dtype}")
    # Long doubles beyond the range become infinite.
    with np.errstate(over="ignore"):
        return array.astype(np.float64, copy=False)


def points_of(value: Any, name: str) -> NDArray[np.float64]:
    """An array of shape (n, 2), or (2,) for one point."""
    array = real_array(value, name)
    if array.size == 0 and array.ndim == 1:
        return array.reshape(0, 2)
    if array.ndim not in (1, 2) or array.shape[-1] != 2:
        raise ValueError(
            f"{name}: expected an array of shape (n, 2), or (2,) for one point, "
            f"got shape {array.shape}"
        )
    return array


def pair_of(value: Any, name: str) -> tuple[float, float]:
    """The two numbers of a pair. Raises ValueError for anything else."""
    try:
        numbers = np.asarray(value)
    except ValueError:  # rows of unequal length
        numbers = np.empty(0)
    if numbers.shape != (2,) or numbers.dtype.kind not in "fiu" or is_masked(value):
        raise ValueError(f"{name}: expected a pair of numbers, got {value!r}")
    return float(numbers[0]), float(numbers[1])


def interval_of(value: Any, name: str) -> tuple[float, float]:
    """A pair from a smaller number to a larger one, or to the same."""
    start, end = pair_of(value, name)
    if start > end:
        raise ValueError(f"{name}: expected a pair (from, to) with from <= to, got {value!r}")
    return start, end


def range_of(value: Optional[Pair], name: str) -> rxRange:
    """A range of numbers; None holds everything."""
    return rxRange.FullRange() if value is None else rxRange(*interval_of(value, name))


def angles_of(value: Angles, name: str) -> rxAngleRange:
    """A range of angles in degrees; one of more than a turn holds all."""
    if isinstance(value, str):
        if value != "full":
            raise ValueError(f'{name}: expected a pair of degrees or "full", got {value!r}')
        return rxAngleRange.FullRange()
    start, end = interval_of(value, name)
    if end - start > 360.0:
        return rxAngleRange.FullRange()
    return rxAngleRange(rxDegree(start), rxDegree(end))


def xform_of(value: Pose, name: str) -> rxXform:
    """A pose as the library has it."""
    if isinstance(value, rxXform):
        return value
    matrix = real_array(value, name)
    if matrix.shape == (3, 3) and np.array_equal(matrix[2], (0.0, 0.0, 1.0)):
        matrix = matrix[:2]
    if matrix.shape != (2, 3):
        raise ValueError(
            f"{name}: expected an array of shape (2, 3), or (3, 3) with the last row 0, 0, 1, "
            f"got shape {matrix.shape}"
        )
    return rxXform(matrix[:, :2], (matrix[0, 2], matrix[1, 2]))


def matrix_of(xform: rxXform) -> NDArray[np.float64]:
    """The 2x3 array of a pose."""
    return np.column_stack([xform.matrix(), xform.trans()])


def _start_of(pose: Pose) -> rxXform:
    """A start pose. Of a mirror image a search would find nothing, and not say why."""
    xform = xform_of(pose, "start_pose")
    if np.linalg.det(xform.matrix()) < 0.0:
        raise ValueError(
            "start_pose: expected a rotation, one scale and a translation, got a mirror image; "
            "train the mirrored pattern instead"
        )
    return xform


def read_only(array: NDArray[Number]) -> NDArray[Number]:
    """A view of the array, or of a copy if the array is itself a view, which nobody can write."""
    if array.flags.writeable and not array.flags.owndata:
        array = array.copy()
    array.setflags(write=False)
    return array.view()


def run_params(
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
) -> rxPointMatcherRunParams:
    """The parameters of a run. Raises BadParams, as their setters do, and ValueError."""
    params = rxPointMatcherRunParams()
    params.rotationUncertainty(angles_of(rotation, "rotation"))
    params.scaleUncertainty(rxRange(*interval_of(scale, "scale")))
    params.xTranslationUncertainty(range_of(translation_x, "translation_x"))
    params.yTranslationUncertainty(range_of(translation_y, "translation_y"))
    if start_pose is not None:
        params.startPose(_start_of(start_pose))
    params.minCoverage(min_coverage)
    params.maxNumResults(max_results)
    if grid_size is not None:
        params.autoGridSize(False)
        params.gridSize(grid_size)
    if capture_range is not None:
        params.autoCaptureRange(False)
        params.captureRange(capture_range)
    return params
