"""What is taken for points, and what is said of the rest."""

import tracemalloc
from fractions import Fraction

import numpy as np
import pytest

import ptmatch

MODEL = np.array([[0, 0], [40, 0], [40, 25], [10, 30]], dtype=np.float64)


def trained_points(points):
    return ptmatch.Matcher.train(points).points


@pytest.mark.parametrize(
    "kind", ["f2", "f4", "f8", "g", "i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", ">f8", ">i4"]
)
def test_any_real_type_is_taken(kind):
    assert np.array_equal(trained_points(MODEL.astype(kind)), MODEL)


@pytest.mark.parametrize(
    "laid_out",
    [
        np.asfortranarray(MODEL),
        np.repeat(np.repeat(MODEL, 2, axis=0), 3, axis=1)[::2, ::3],
        MODEL[::-1, ::-1].copy()[::-1, ::-1],
        MODEL.T.copy().T,
        MODEL.view(np.matrix),
    ],
    ids=["fortran", "strided", "backwards", "transposed", "matrix"],
)
def test_any_layout_is_taken(laid_out):
    assert np.array_equal(trained_points(laid_out), MODEL)


def test_a_point_that_is_repeated_by_a_stride_of_zero_is_taken():
    repeated = np.broadcast_to([3.0, 4.0], (5, 2))
    assert repeated.strides[0] == 0
    assert np.array_equal(trained_points(repeated), [[3.0, 4.0]] * 5)


def test_lists_tuples_and_objects_with_an_array_are_taken():
    class Table:
        def __array__(self, dtype=None):
            return MODEL

    for points in (MODEL.tolist(), [tuple(p) for p in MODEL], list(MODEL), Table()):
        assert np.array_equal(trained_points(points), MODEL)


def test_read_only_arrays_are_taken():
    points = MODEL.copy()
    points.setflags(write=False)
    assert np.array_equal(trained_points(points), MODEL)


def test_float64_in_c_order_is_read_without_a_copy_of_the_array():
    matcher = ptmatch.Matcher.train(MODEL)
    params = ptmatch.rxPointMatcherRunParams()
    found = ptmatch.rxPointMatcherResultSet()
    rng = np.random.default_rng(1)
    data = rng.uniform(0.0, 1000.0, (100_000, 2))
    params.xTranslationUncertainty(ptmatch.rxRange(0.0, 0.0))  # hardly anything to search
    params.yTranslationUncertainty(ptmatch.rxRange(0.0, 0.0))

    def allocated(points):
        # NumPy reports the memory of its arrays.
        tracemalloc.start()
        matcher.core.run(points, params, found)
        peak = tracemalloc.get_traced_memory()[1]
        tracemalloc.stop()
        return peak

    assert allocated(data) < 10_000
    assert allocated(np.asfortranarray(data)) >= data.nbytes  # so the measurement can fail
    assert allocated(data.astype("f4")) >= data.nbytes


def test_the_array_is_as_it_was_after_a_run():
    points = MODEL + 100.0
    before = points.copy()
    ptmatch.Matcher.train(MODEL).match(points)
    assert np.array_equal(points, before)


def test_no_points_are_an_empty_list_or_an_array_without_rows():
    matcher = ptmatch.Matcher.train(MODEL)
    for nothing in ([], np.empty((0, 2)), np.empty((0, 2), dtype=int)):
        assert len(matcher.match(nothing)) == 0


@pytest.mark.parametrize(
    "points, message",
    [
        ([1, 2, 3], "data: expected an array of shape (n, 2), got shape (3,)"),
        ([[1, 2, 3]], "data: expected an array of shape (n, 2), got shape (1, 3)"),
        (5.0, "data: expected an array of shape (n, 2), got shape ()"),
        (np.zeros((2, 2, 2)), "data: expected an array of shape (n, 2), got shape (2, 2, 2)"),
        (np.zeros((0, 3)), "data: expected an array of shape (n, 2), got shape (0, 3)"),
        ([[0, 1], [2, np.nan]], "data: expected finite coordinates, got nan at [1, 1]"),
        ([[0, 1], [-np.inf, 0]], "data: expected finite coordinates, got -inf at [1, 0]"),
    ],
)
def test_wrong_shapes_and_numbers_are_value_errors_that_say_what_came(points, message):
    matcher = ptmatch.Matcher.train(MODEL)
    with pytest.raises(ValueError) as caught:
        matcher.match(points)
    assert str(caught.value) == message


def test_a_list_of_rows_of_unequal_length_is_a_value_error():
    with pytest.raises(ValueError):
        ptmatch.Matcher.train([[0, 1], [2]])


@pytest.mark.parametrize(
    "points, came",
    [
        (np.zeros((4, 2), dtype=complex), "complex128"),
        ([["a", "b"]], "<U1"),
        (None, "object"),
        ([[None, 1.0]], "object"),
        ([[Fraction(1, 2), 1]], "object"),
        (np.zeros((4, 2), dtype=bool), "bool"),
        (np.zeros((4, 2), dtype="M8[s]"), "datetime64[s]"),
    ],
)
def test_what_is_no_real_number_is_a_type_error(points, came):
    with pytest.raises(TypeError) as caught:
        ptmatch.Matcher.train(points)
    assert str(caught.value) == f"points: expected real numbers, got an array of {came}"


def test_masked_arrays_are_refused_as_their_mask_would_be_lost():
    with pytest.raises(TypeError, match="masked array"):
        ptmatch.Matcher.train(np.ma.masked_greater(MODEL, 30))


def test_numbers_beyond_the_range_of_double_are_refused():
    if np.finfo(np.longdouble).max == np.finfo(np.float64).max:
        pytest.skip("long double is double here")
    points = MODEL.astype(np.longdouble)
    points[2, 0] = np.longdouble(10) ** 400
    with np.errstate(over="ignore"), pytest.raises(ValueError, match=r"got inf at \[2, 0\]"):
        ptmatch.Matcher.train(points)


@pytest.mark.parametrize(
    "weights, message",
    [
        ([1.5, 1, 1, 1], "weights: expected whole numbers of 32 bits, got 1.5 at index 0"),
        ([1, 1, 1, 2**31], "weights: expected whole numbers of 32 bits, got 2.14748e+09 at index 3"),
        ([1, np.nan, 1, 1], "weights: expected whole numbers of 32 bits, got nan at index 1"),
        ([[1, 1], [1, 1]], "weights: expected an array of shape (n,), got shape (2, 2)"),
    ],
)
def test_wrong_weights_are_value_errors_that_say_what_came(weights, message):
    with pytest.raises(ValueError) as caught:
        ptmatch.Matcher.train(MODEL, weights)
    assert str(caught.value) == message


def test_another_number_of_weights_than_of_points_is_told_with_both_numbers():
    with pytest.raises(ValueError) as caught:
        ptmatch.Matcher.train(MODEL, [1, 2, 3])
    assert str(caught.value) == "weights: expected one for each of 4 points, got 3"
