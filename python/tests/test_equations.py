"""Matrices and linear equations against NumPy."""

import copy
import pickle
from collections.abc import Callable
from typing import Any, Union

import numpy as np
import pytest
from numpy.typing import ArrayLike, NDArray

import ptmatch
from ptmatch import rxLeastSquares, rxMatrixExt, rxPsuedoInverse

Array = NDArray[np.float64]
Calls = list[Callable[[], object]]
SIZES = [1, 2, 3, 5, 8, 9, 20]


def regular(size: int) -> Array:
    """Random, of a condition of some hundred at most."""
    return np.random.default_rng(size).normal(size=(size, size)) + 2.0 * np.eye(size)


# The matrix ---------------------------------------------------------------------------------------


def test_a_matrix_holds_the_elements_of_an_array() -> None:
    elements = np.arange(6.0).reshape(2, 3)
    for same in (elements, elements.tolist(), elements.astype("i4"), np.asfortranarray(elements)):
        matrix = rxMatrixExt(same)
        assert (matrix.rows(), matrix.cols(), matrix.isBound()) == (2, 3, 1)
        np.testing.assert_array_equal(matrix.to_array(), elements)
    np.testing.assert_array_equal(np.asarray(matrix), elements)
    assert np.asarray(matrix, dtype="f4").dtype == np.float32
    np.testing.assert_array_equal(matrix[1], [3, 4, 5])
    assert matrix.element(1, 2) == 5.0
    matrix.element(1, 2, 7.5)
    assert matrix.element(1, 2) == 7.5
    assert elements[1, 2] == 5.0
    assert rxMatrixExt(matrix) == matrix
    assert repr(matrix) == "<rxMatrixExt of 2 x 3>"


def test_what_is_handed_out_is_a_copy() -> None:
    matrix = rxMatrixExt(2, 2)
    matrix.to_array()[0, 0] = 1.0
    np.asarray(matrix)[0, 0] = 1.0
    matrix[0][0] = 1.0
    assert matrix == rxMatrixExt(2, 2)


def test_resizing_clears() -> None:
    matrix = rxMatrixExt([[1.0, 2.0]])
    matrix.resize(1, 2)
    np.testing.assert_array_equal(matrix.to_array(), [[0.0, 0.0]])
    matrix.resize(0, 3)
    assert (matrix.rows(), matrix.cols(), matrix.isBound()) == (0, 3, 0)
    assert matrix.to_array().shape == (0, 3)
    assert rxMatrixExt(np.zeros((0, 3))) == matrix
    assert rxMatrixExt().to_array().shape == (0, 0)


@pytest.mark.parametrize(("r", "c"), [(0, 3), (2, 0), (-1, 0), (0, -1)])
def test_elements_outside_are_refused(r: int, c: int) -> None:
    matrix = rxMatrixExt(2, 3)
    calls: Calls = [lambda: matrix.element(r, c), lambda: matrix.element(r, c, 1.0)]
    for call in calls:
        with pytest.raises(IndexError) as error:
            call()
        assert str(error.value) == f"element ({r}, {c}) of a matrix of 2 x 3"
    assert matrix == rxMatrixExt(2, 3)


def test_rows_outside_are_refused() -> None:
    matrix = rxMatrixExt(2, 3)
    for r in (2, -1):
        with pytest.raises(IndexError) as error:
            matrix[r]
        assert str(error.value) == f"row {r} of a matrix of 2 x 3"
    assert matrix[1].shape == (3,)


@pytest.mark.parametrize("sizes", [(-1, 2), (2, -1), (2**31, 1), (2**16, 2**16), (2**62, 4)])
def test_sizes_that_no_matrix_has_are_refused(sizes: tuple[int, int]) -> None:
    with pytest.raises(ValueError, match="^rxMatrixExt: no matrix has "):
        rxMatrixExt(*sizes)


def test_arrays_of_other_dimensions_are_refused() -> None:
    with pytest.raises(ValueError) as error:
        rxMatrixExt([1.0, 2.0])
    assert str(error.value) == "elements: expected an array of two dimensions, got shape (2,)"
    with pytest.raises(TypeError) as wrong_type:
        rxMatrixExt([["a"]])
    assert str(wrong_type.value) == "elements: expected real numbers, got an array of <U1"


# Solvers ------------------------------------------------------------------------------------------


@pytest.mark.parametrize("size", SIZES)
def test_a_decomposition_solves_as_numpy_does(size: int) -> None:
    a = regular(size)
    b = np.arange(1.0, size + 1.0)
    matrix = rxMatrixExt(a)
    index = matrix.ludcmp()
    assert index.dtype == np.int64
    assert index.shape == (size,)
    x = matrix.lubksb(index, b)
    np.testing.assert_allclose(x, np.linalg.solve(a, b), rtol=0, atol=1e-11)
    np.testing.assert_array_equal(b, np.arange(1.0, size + 1.0))
    # Rows exchanged one after the other, then L times U.
    rows = np.arange(size)
    for column, row in enumerate(index):
        rows[[column, row]] = rows[[row, column]]
    packed = matrix.to_array()
    lower, upper = np.tril(packed, -1) + np.eye(size), np.triu(packed)
    np.testing.assert_allclose(lower @ upper, a[rows], rtol=0, atol=1e-13)


@pytest.mark.parametrize("size", SIZES)
def test_gauss_jordan_inverts_and_solves_in_place(size: int) -> None:
    a = regular(size)
    matrix = rxMatrixExt(a)
    right = rxMatrixExt(np.arange(2.0 * size).reshape(size, 2))
    expected = np.linalg.solve(a, right.to_array())
    matrix.gaussj(right)
    np.testing.assert_allclose(matrix.to_array(), np.linalg.inv(a), rtol=0, atol=1e-11)
    np.testing.assert_allclose(right.to_array(), expected, rtol=0, atol=1e-10)
    alone = rxMatrixExt(a)
    alone.gaussj()
    assert alone == matrix


@pytest.mark.parametrize("size", SIZES)
def test_the_condition_is_estimated_from_below(size: int) -> None:
    a = regular(size)
    norm = ptmatch.rfOneNorm(a)
    assert norm == pytest.approx(np.linalg.norm(a, 1), rel=1e-15)
    matrix = rxMatrixExt(a)
    index = matrix.ludcmp()
    exact = np.linalg.cond(a, 1)
    assert exact / 3 <= ptmatch.rfConditionEstimate(matrix, index, norm) <= exact * (1 + 1e-12)


def test_singular_matrices_are_errors() -> None:
    assert rxMatrixExt.SingularMatrix is ptmatch.SingularMatrix
    with_zeros = rxMatrixExt([[1.0, 2.0], [0.0, 0.0]])
    before = copy.copy(with_zeros)
    with pytest.raises(rxMatrixExt.SingularMatrix) as error:
        with_zeros.ludcmp()
    assert str(error.value) == "the matrix is singular"
    assert with_zeros == before
    with pytest.raises(ArithmeticError):
        with_zeros.gaussj()


def test_only_square_matrices_are_decomposed() -> None:
    matrix = rxMatrixExt(2, 3)
    calls: Calls = [
        matrix.ludcmp,
        lambda: matrix.lubksb([0, 1], [1, 2]),
        lambda: ptmatch.rfConditionEstimate(matrix, [0, 1], 1.0),
    ]
    for call in calls:
        with pytest.raises(rxMatrixExt.NotSquareMatrix) as error:
            call()
        assert str(error.value) == "the matrix is not square"


def test_wrong_lengths_are_refused() -> None:
    matrix = rxMatrixExt(np.eye(3))
    index = matrix.ludcmp()
    for b in ([1.0, 2.0], [1.0, 2.0, 3.0, 4.0]):
        with pytest.raises(ValueError) as error:
            matrix.lubksb(index, b)
        assert str(error.value) == f"b: expected 3 numbers, got {len(b)}"
    with pytest.raises(ValueError) as short:
        matrix.lubksb(index[:2], [1.0, 2.0, 3.0])
    assert str(short.value) == "index: expected 3 numbers, got 2"
    with pytest.raises(ValueError) as fraction:
        matrix.lubksb([0, 1, 0.5], [1.0, 2.0, 3.0])
    assert str(fraction.value) == "index: expected whole numbers of 32 bits, got 0.5 at index 2"
    with pytest.raises(IndexError) as outside:
        matrix.lubksb([0, 1, 3], [1.0, 2.0, 3.0])
    assert str(outside.value) == "rxMatrixExt::lubksb: the index does not hold numbers of rows"
    with pytest.raises(ValueError):
        matrix.gaussj(matrix)
    with pytest.raises(IndexError):
        matrix.gaussj(rxMatrixExt(2, 1))


def test_invert_does_nothing() -> None:
    matrix = rxMatrixExt(regular(3))
    matrix.invert()
    assert matrix == rxMatrixExt(regular(3))


# Least squares ------------------------------------------------------------------------------------


def line(count: int = 30) -> tuple[Array, Array]:
    """Equations of y = 2 x + 1 with noise."""
    random = np.random.default_rng(8)
    x = random.uniform(-1.0, 1.0, count)
    return np.column_stack([x, np.ones(count)]), 2 * x + 1 + random.normal(0, 0.1, count)


def answer(sums: Union[rxPsuedoInverse, rxLeastSquares]) -> Array:
    fitted = sums.fit()
    return fitted if isinstance(fitted, np.ndarray) else fitted.x


@pytest.mark.parametrize("kind", [rxPsuedoInverse, rxLeastSquares])
def test_equations_come_one_by_one_or_all_at_once(kind: Any) -> None:
    rows, values = line()
    one_by_one, at_once = kind(2), kind(2)
    for row, value in zip(rows, values):
        one_by_one.update(row, value)
    at_once.update(rows, values)
    expected, *_ = np.linalg.lstsq(rows, values, rcond=None)
    np.testing.assert_allclose(answer(one_by_one), expected, rtol=1e-13)
    np.testing.assert_array_equal(answer(at_once), answer(one_by_one))


@pytest.mark.parametrize("kind", [rxPsuedoInverse, rxLeastSquares])
def test_equations_of_any_real_type_are_taken(kind: Any) -> None:
    sums = kind(1)
    sums.update([2], 4)
    sums.update(np.array([2], dtype="i2"), np.float32(4))
    sums.update([[1], [1]], [2, 2])
    sums.update(rxMatrixExt([[3.0]]), np.array([6]))
    assert answer(sums) == pytest.approx([2.0], rel=1e-15)
    for x, y in (([2], None), ([2], 1j), ([[2]], "4"), ([[2]], ["4"])):
        with pytest.raises(TypeError):
            sums.update(x, y)


@pytest.mark.parametrize("kind", [rxPsuedoInverse, rxLeastSquares])
def test_equations_of_wrong_lengths_are_refused(kind: Any) -> None:
    sums = kind(2)
    for x, y, message in (
        ([1.0], 1.0, "x: expected 2 numbers, got 1"),
        ([1.0, 2.0, 3.0], 1.0, "x: expected 2 numbers, got 3"),
        ([[1.0, 2.0, 3.0]], [1.0], "x: expected 2 columns, got 3"),
        ([[1.0, 2.0]], [1.0, 2.0], "y: expected 1 numbers, got 2"),
        ([1.0, 2.0], [1.0], "x: expected an array of two dimensions, got shape (2,)"),
    ):
        with pytest.raises(ValueError) as error:
            sums.update(x, y)
        assert str(error.value) == message
    with pytest.raises(ValueError):
        kind(-1)
    with pytest.raises(ValueError):
        sums.resize(10**6)
    assert sums.numUnknowns() == 2


def test_normal_equations_are_kept_as_sums() -> None:
    rows, values = line()
    sums = rxPsuedoInverse(2)
    sums.update(rows, values)
    np.testing.assert_allclose(sums.normalMatrix(), rows.T @ rows, rtol=1e-13)
    np.testing.assert_allclose(sums.rightHandSide(), rows.T @ values, rtol=1e-13)
    assert repr(sums) == "<rxPsuedoInverse of 2 unknowns>"
    for same in (pickle.loads(pickle.dumps(sums)), copy.copy(sums), copy.deepcopy(sums)):
        assert same == sums
        same.update([1.0, 1.0], 5.0)
        assert same != sums
    sums.reset()
    with pytest.raises(rxMatrixExt.SingularMatrix):
        sums.fit()
    sums.resize(3)
    assert sums.numUnknowns() == 3
    assert rxPsuedoInverse().numUnknowns() == 0


def test_least_squares_copy_and_reset() -> None:
    rows, values = line()
    sums = rxLeastSquares(2)
    sums.update(rows, values)
    assert sums.numObservations() == 30
    assert repr(sums) == "<rxLeastSquares of 2 unknowns, 30 equations>"
    for same in (copy.copy(sums), copy.deepcopy(sums)):
        assert same.fit() == sums.fit()
        same.reset()
        assert same.numObservations() == 0
    assert sums.numObservations() == 30
    sums.resize(1)
    assert (sums.numUnknowns(), sums.numObservations()) == (1, 0)
    sums.update([np.inf], 1.0)
    with pytest.raises(ptmatch.MathError):
        sums.fit()


@pytest.mark.parametrize("shape", [(5, 5), (20, 4), (4, 9)])
@pytest.mark.parametrize("deficiency", [0, 1, 2])
def test_a_system_of_any_rank_is_solved(shape: tuple[int, int], deficiency: int) -> None:
    random = np.random.default_rng([*shape, deficiency])
    rank = min(shape) - deficiency
    a = random.normal(size=(shape[0], rank)) @ random.normal(size=(rank, shape[1]))
    b = random.normal(size=shape[0])
    expected, _, expected_rank, sizes = np.linalg.lstsq(a, b, rcond=1e-12)
    lefts: list[ArrayLike] = [a, rxMatrixExt(a)]
    for left in lefts:
        solution = ptmatch.rfSolveLeastSquares(left, b, 1e-12)
        np.testing.assert_allclose(solution.x, expected, rtol=0, atol=1e-12)
        assert solution.rank == expected_rank == rank
        assert solution.isDetermined() == (rank == shape[1])
        assert solution.numEquations == shape[0]
        residual = np.linalg.norm(a @ expected - b)
        assert solution.residualNorm == pytest.approx(residual, abs=1e-12)
        assert solution.rmsResidual() == pytest.approx(residual / shape[0] ** 0.5, abs=1e-12)
        np.testing.assert_allclose(ptmatch.rfSingularValues(left), sizes, rtol=0, atol=1e-13)
    if rank == shape[1]:
        assert solution.condition == pytest.approx(sizes[0] / sizes[-1], rel=1e-9)


def test_a_solution_is_a_value() -> None:
    rows, values = line()
    solution = ptmatch.rfSolveLeastSquares(rows, values)
    for same in (pickle.loads(pickle.dumps(solution)), copy.copy(solution)):
        assert same == solution
        np.testing.assert_array_equal(same.x, solution.x)
    assert solution != ptmatch.rfSolveLeastSquares(rows[1:], values[1:])
    assert repr(solution) == (
        f"<rxLeastSquaresSolution: rank 2 of 2, condition {solution.condition!r}, "
        f"rms residual {solution.rmsResidual()!r}>"
    )
    with pytest.raises(AttributeError):
        solution.rank = 1  # type: ignore[misc]


def test_what_is_not_finite_has_no_solution() -> None:
    calls: Calls = [
        lambda: ptmatch.rfSolveLeastSquares([[np.nan]], [1.0]),
        lambda: ptmatch.rfSolveLeastSquares([[1.0]], [np.inf]),
        lambda: ptmatch.rfSolveLeastSquares([[1.0]], [1.0], np.nan),
        lambda: ptmatch.rfSingularValues([[np.inf]]),
    ]
    for call in calls:
        with pytest.raises(ptmatch.MathError):
            call()
    with pytest.raises(ValueError) as error:
        ptmatch.rfSolveLeastSquares([[1.0], [2.0]], [1.0])
    assert str(error.value) == "b: expected 2 numbers, got 1"


# As values ----------------------------------------------------------------------------------------


def test_matrices_pickle_copy_and_compare() -> None:
    matrix = rxMatrixExt(regular(4))
    for same in (
        pickle.loads(pickle.dumps(matrix)),
        copy.copy(matrix),
        copy.deepcopy(matrix),
        rxMatrixExt.from_bytes(matrix.to_bytes()),
    ):
        assert same == matrix
        same.element(0, 0, 99.0)
        assert same != matrix
    assert matrix != matrix.to_array().tolist()
    for bad in (matrix.to_bytes()[:-1], matrix.to_bytes() + b"\0", b""):
        with pytest.raises(ptmatch.ArchiveError):
            rxMatrixExt.from_bytes(bad)
