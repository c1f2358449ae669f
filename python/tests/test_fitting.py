"""The fits against references written with NumPy, and what a Transform gives of them."""

import copy
import csv
import json
import pathlib
import pickle
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest
from numpy.typing import ArrayLike, NDArray

import ptmatch

Points = NDArray[np.float64]
FITS: dict[str, Callable[..., ptmatch.Transform]] = {
    "rigid": ptmatch.fit_rigid,
    "similarity": ptmatch.fit_similarity,
    "affine": ptmatch.fit_affine,
    "perspective": ptmatch.fit_perspective,
}
#: Of coordinates of some hundreds with 16 digits.
CLOSE = 1e-9


# References ---------------------------------------------------------------------------------------


def procrustes(a: Points, b: Points, *, with_scale: bool) -> Points:
    """Rotation, translation and scale by the singular values of the covariance."""
    centre_a, centre_b = a.mean(axis=0), b.mean(axis=0)
    u, sizes, vt = np.linalg.svd((b - centre_b).T @ (a - centre_a))
    signs = np.ones(len(sizes))
    signs[-1] = np.sign(np.linalg.det(u @ vt))
    rotation = u @ np.diag(signs) @ vt
    scale = float(sizes @ signs / np.sum((a - centre_a) ** 2)) if with_scale else 1.0
    return np.column_stack([scale * rotation, centre_b - scale * rotation @ centre_a])


def affine(a: Points, b: Points) -> Points:
    solution, *_ = np.linalg.lstsq(np.column_stack([a, np.ones(len(a))]), b, rcond=None)
    return solution.T


def normalising(points: Points) -> Points:
    centre = points.mean(axis=0)
    scale = np.sqrt(2) / np.mean(np.linalg.norm(points - centre, axis=1))
    return np.array([[scale, 0, -scale * centre[0]], [0, scale, -scale * centre[1]], [0, 0, 1]])


def perspective(a: Points, b: Points) -> tuple[Points, float]:
    """The normalised direct linear transform, and its conditioning."""
    from_a, from_b = normalising(a), normalising(b)
    rows = []
    for (x, y), (u, v) in zip(mapped(from_a, a), mapped(from_b, b)):
        rows.append([x, y, 1, 0, 0, 0, -u * x, -u * y, -u])
        rows.append([0, 0, 0, x, y, 1, -v * x, -v * y, -v])
    _, sizes, vt = np.linalg.svd(np.array(rows))
    matrix = np.linalg.inv(from_b) @ vt[-1].reshape(3, 3) @ from_a
    return matrix / matrix[2, 2], float(sizes[0] / sizes[7])


def mapped(matrix: Points, points: Points) -> Points:
    """By any of the matrices."""
    images = np.column_stack([points, np.ones(len(points))]) @ matrix.T
    if matrix.shape == (3, 3):
        return images[:, :2] / images[:, 2:]
    return images


def reference(model: str, a: Points, b: Points) -> Points:
    if model == "affine":
        return affine(a, b)
    if model == "perspective":
        return perspective(a, b)[0]
    return procrustes(a, b, with_scale=model == "similarity")


# Cases --------------------------------------------------------------------------------------------


def noisy_pairs(model: str, dimensions: int, seed: int) -> tuple[Points, Points]:
    """Between 6 and 40 pairs of a random transform, with noise of about 2 units."""
    random = np.random.default_rng(seed)
    count = int(random.integers(6, 40))
    a = random.uniform(-300, 300, (count, dimensions)) + random.uniform(-500, 500, dimensions)
    matrix = np.linalg.qr(random.normal(size=(dimensions, dimensions)))[0]
    if np.linalg.det(matrix) < 0:
        matrix[:, 0] *= -1
    if model != "rigid":
        matrix = matrix * random.uniform(0.3, 3.0)
    if model in ("affine", "perspective"):
        matrix = matrix + random.uniform(-0.1, 0.1, matrix.shape)
    b = a @ matrix.T + random.uniform(-500, 500, dimensions)
    if model == "perspective":
        b = b / (1 + a @ random.uniform(-3e-4, 3e-4, dimensions))[:, np.newaxis]
    return a, b + random.normal(0.0, 2.0, b.shape)


CASES = [(model, 2) for model in FITS] + [(model, 3) for model in ("rigid", "similarity", "affine")]


@pytest.mark.parametrize(("model", "dimensions"), CASES)
@pytest.mark.parametrize("seed", range(25))
def test_a_fit_is_that_of_numpy(model: str, dimensions: int, seed: int) -> None:
    a, b = noisy_pairs(model, dimensions, seed)
    fitted = FITS[model](a, b)
    expected = reference(model, a, b)
    assert fitted.model == model
    rows = 3 if model == "perspective" else dimensions
    assert fitted.matrix.shape == expected.shape == (rows, dimensions + 1)
    np.testing.assert_allclose(fitted(a), mapped(expected, a), rtol=0, atol=CLOSE)
    np.testing.assert_allclose(fitted.matrix, expected, rtol=1e-8, atol=1e-10)


@pytest.mark.parametrize(("model", "dimensions"), CASES)
def test_residuals_tell_what_is_left(model: str, dimensions: int) -> None:
    a, b = noisy_pairs(model, dimensions, seed=100)
    fitted = FITS[model](a, b)
    residuals = b - mapped(fitted.matrix, a)
    distances = np.linalg.norm(residuals, axis=1)
    np.testing.assert_allclose(fitted.residuals, residuals, rtol=0, atol=CLOSE)
    np.testing.assert_allclose(fitted.distances, distances, rtol=0, atol=CLOSE)
    assert fitted.rms == pytest.approx(np.sqrt(np.mean(distances**2)), rel=1e-10)
    assert fitted.largest == np.max(fitted.distances)
    assert fitted.worst == np.argmax(distances)
    own = ptmatch.rfFitResidual(fitted.core, a, b)
    assert own.worst == fitted.worst
    assert own.largest == pytest.approx(fitted.largest, rel=1e-12)
    assert own.rms == pytest.approx(fitted.rms, rel=1e-12)


@pytest.mark.parametrize(("model", "dimensions"), CASES)
def test_an_inverse_goes_back_and_has_the_pairs_exchanged(model: str, dimensions: int) -> None:
    a, b = noisy_pairs(model, dimensions, seed=200)
    fitted = FITS[model](a, b)
    back = fitted.inverse()
    np.testing.assert_allclose(back(fitted(a)), a, rtol=0, atol=CLOSE)
    np.testing.assert_array_equal(back.matrix, fitted.inverse_matrix)
    np.testing.assert_array_equal(back.inverse_matrix, fitted.matrix)
    np.testing.assert_array_equal(back.source, b)
    np.testing.assert_array_equal(back.target, a)
    np.testing.assert_allclose(back.residuals, a - mapped(back.matrix, b), rtol=0, atol=CLOSE)
    np.testing.assert_allclose(back.core.a2b(b), back(b), rtol=0, atol=CLOSE)
    assert back != fitted
    assert back.inverse() == fitted
    assert back.model == model
    assert back.conditioning == fitted.conditioning


@pytest.mark.parametrize("seed", range(5))
def test_a_perspective_transform_tells_how_well_it_is_known(seed: int) -> None:
    a, b = noisy_pairs("perspective", 2, seed)
    assert ptmatch.fit_perspective(a, b).conditioning == pytest.approx(
        perspective(a, b)[1], rel=1e-9
    )
    assert ptmatch.fit_affine(a, b).conditioning is None


def test_the_fewest_pairs_are_met_exactly() -> None:
    corners = np.array([[0.0, 0.0], [8.0, 1.0], [9.0, 6.0], [-1.0, 5.0]])
    images = np.array([[100.0, 50.0], [180.0, 40.0], [170.0, 140.0], [90.0, 120.0]])
    assert ptmatch.fit_perspective(corners, images).largest < 1e-12
    assert ptmatch.fit_affine(corners[:3], images[:3]).largest < 1e-12
    assert ptmatch.fit_similarity(corners[:2], images[:2]).largest < 1e-12
    turned = np.array([[3.0, 4.0], [2.0, 12.0]])
    assert ptmatch.fit_rigid(corners[:2], turned).largest < 1e-12


def test_perfect_pairs_leave_nothing() -> None:
    points = np.array([[0.0, 0.0], [1.0, 0.0], [0.0, 1.0]])
    fitted = ptmatch.fit_rigid(points, points)
    np.testing.assert_array_equal(fitted.matrix, [[1, 0, 0], [0, 1, 0]])
    assert (fitted.rms, fitted.largest, fitted.worst) == (0.0, 0.0, 0)


def test_the_root_mean_square_of_tiny_and_huge_distances_is_told() -> None:
    for unit in (1e-140, 1e145):
        square = unit * np.array([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0], [0.0, 1.0]])
        moved = square + 0.1 * unit * np.array([[1, 1], [-1, -1], [1, 1], [-1, -1]])
        assert ptmatch.fit_rigid(square, moved).rms == pytest.approx(0.1 * unit * 2**0.5, rel=1e-9)


def test_a_mirror_image_is_not_fitted_by_a_reflection() -> None:
    random = np.random.default_rng(3)
    for dimensions in (2, 3):
        a = random.normal(size=(9, dimensions)) * np.arange(1, dimensions + 1)
        b = a * np.array([-1.0] + [1.0] * (dimensions - 1))
        for model in ("rigid", "similarity"):
            fitted = FITS[model](a, b)
            assert np.linalg.det(fitted.matrix[:, :dimensions]) > 0
            np.testing.assert_allclose(fitted.matrix, reference(model, a, b), atol=1e-12)
        assert np.linalg.det(ptmatch.fit_affine(a, b).matrix[:, :dimensions]) < 0


# Points -------------------------------------------------------------------------------------------


@pytest.mark.parametrize("dtype", ["f4", "f8", ">f8", "i2", "i8", "u1", "f2"])
def test_points_of_any_real_type_are_taken(dtype: str) -> None:
    a = np.array([[0, 0], [10, 0], [10, 5], [3, 7]], dtype=dtype)
    b = (a.astype(float) * 2 + 1).astype(dtype)
    assert ptmatch.fit_similarity(a, b) == ptmatch.fit_similarity(a.tolist(), b.tolist())


def test_points_of_any_layout_are_taken() -> None:
    a, b = noisy_pairs("affine", 2, seed=4)
    wide = np.zeros((len(a), 4))
    wide[:, ::2] = a
    tuples = [tuple(point) for point in a]
    layouts: list[ArrayLike] = [np.asfortranarray(a), wide[:, ::2], a[::-1].copy()[::-1], tuples]
    for same in layouts:
        assert ptmatch.fit_affine(same, b) == ptmatch.fit_affine(a, b)


def test_the_pairs_are_copies_that_cannot_be_written() -> None:
    a, b = noisy_pairs("affine", 2, seed=5)
    fitted = ptmatch.fit_affine(a, b)
    rms = fitted.rms
    a += 100.0
    assert fitted.rms == rms
    for array in (fitted.source, fitted.target):
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 0.0


def test_apply_keeps_the_shape() -> None:
    a, b = noisy_pairs("similarity", 2, seed=6)
    fitted = ptmatch.fit_similarity(a, b)
    assert fitted(a).shape == a.shape
    assert fitted([]).shape == (0, 2)
    np.testing.assert_array_equal(fitted(a[0]), fitted(a)[0])
    np.testing.assert_array_equal(fitted(tuple(a[0])), fitted(a)[0])
    assert np.isnan(fitted([(np.nan, 1.0)])).all()


def test_the_library_transform_is_a_copy() -> None:
    a, b = noisy_pairs("perspective", 2, seed=7)
    for model, kind in (("affine", ptmatch.rx2PtMatchTm), ("perspective", ptmatch.rx2PTm)):
        fitted = FITS[model](a, b)
        core: Any = fitted.core
        assert type(core) is kind
        core.translate((1, 2))
        assert core != fitted.core
        np.testing.assert_array_equal(fitted.core.a2b(a), fitted(a))
    assert type(ptmatch.fit_rigid(*noisy_pairs("rigid", 3, 8)).core) is ptmatch.rx3PtMatchTm


# Errors -------------------------------------------------------------------------------------------


SQUARE: Any = [(0, 0), (1, 0), (1, 1), (0, 1)]
TETRAHEDRON: Any = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1)]


@pytest.mark.parametrize(
    ("a", "b", "message"),
    [
        (SQUARE, SQUARE[:3], "a, b: expected arrays of one shape, got (4, 2) and (3, 2)"),
        (SQUARE, TETRAHEDRON, "a, b: expected arrays of one shape, got (4, 2) and (4, 3)"),
        ([1, 2, 3], SQUARE, "a: expected an array of shape (n, 2) or (n, 3), got shape (3,)"),
        (SQUARE, [(1, 2)] * 0, "b: expected an array of shape (n, 2) or (n, 3), got shape (0,)"),
        ([], [], "a: expected an array of shape (n, 2) or (n, 3), got shape (0,)"),
        (
            [(0, 0), (1, np.nan)],
            SQUARE,
            "a: expected finite coordinates, got nan at [1, 1]",
        ),
        (SQUARE, [(0, 0), (-np.inf, 1)], "b: expected finite coordinates, got -inf at [1, 0]"),
        (
            np.array([(0, 1), (2, np.longdouble("1e400"))]),
            SQUARE,
            "a: expected finite coordinates, got inf at [1, 1]",
        ),
    ],
)
@pytest.mark.parametrize("model", FITS)
def test_wrong_arrays_are_refused(model: str, a: Any, b: Any, message: str) -> None:
    with pytest.raises(ValueError) as error:
        FITS[model](a, b)
    assert type(error.value) is ValueError
    assert str(error.value) == message


@pytest.mark.parametrize(
    ("a", "message"),
    [
        (np.ones((4, 2), dtype=complex), "a: expected real numbers, got an array of complex128"),
        (np.ones((4, 2), dtype=bool), "a: expected real numbers, got an array of bool"),
        ([("a", "b")], "a: expected real numbers, got an array of <U1"),
        (
            np.ma.masked_equal(SQUARE, 7),  # type: ignore[no-untyped-call]
            "a: expected real numbers, got a masked array; choose the points with a mask of your "
            "own first",
        ),
    ],
)
def test_what_is_no_number_is_refused(a: Any, message: str) -> None:
    with pytest.raises(TypeError) as error:
        ptmatch.fit_rigid(a, SQUARE)
    assert str(error.value) == message


def test_no_perspective_transform_in_space() -> None:
    with pytest.raises(ValueError) as error:
        ptmatch.fit_perspective(TETRAHEDRON, TETRAHEDRON)
    assert str(error.value) == "a: expected an array of shape (n, 2), got shape (4, 3)"


@pytest.mark.parametrize(
    ("model", "dimensions", "fewest"),
    [
        ("rigid", 2, 2),
        ("similarity", 2, 2),
        ("affine", 2, 3),
        ("perspective", 2, 4),
        ("rigid", 3, 3),
        ("similarity", 3, 3),
        ("affine", 3, 4),
    ],
)
def test_too_few_pairs_are_counted(model: str, dimensions: int, fewest: int) -> None:
    points = (SQUARE if dimensions == 2 else TETRAHEDRON)[: fewest - 1]
    with pytest.raises(ptmatch.FitError) as error:
        FITS[model](points, points)
    article = "an" if model == "affine" else "a"
    assert str(error.value) == (
        f"{article} {model} transform needs at least {fewest} pairs, got {fewest - 1}"
    )
    with pytest.raises(ValueError):
        FITS[model](points, points)


LINE = [(0, 0), (1, 1), (2, 2), (5, 5), (7, 7)]
CORNERS = [(0, 0), (4, 0), (4, 3), (0, 3), (1, 1)]
SAME = [(3, 4)] * 5


@pytest.mark.parametrize(
    ("model", "a", "b", "kind", "message"),
    [
        (
            "rigid",
            SAME,
            CORNERS,
            ptmatch.FitError,
            "fit with 3 degrees of freedom: the points a lie in one place",
        ),
        (
            "similarity",
            CORNERS,
            SAME,
            ptmatch.FitError,
            "fit with 4 degrees of freedom: the pairs leave the rotation open",
        ),
        (
            "affine",
            LINE,
            CORNERS,
            ptmatch.FitError,
            "fit with 6 degrees of freedom: the points a lie on one line",
        ),
        (
            "affine",
            CORNERS,
            SAME,
            ptmatch.MathError,
            "the points b lie on one line",
        ),
        (
            "perspective",
            LINE,
            CORNERS,
            ptmatch.MathError,
            "the pairs leave the perspective transform open",
        ),
    ],
)
def test_pairs_that_leave_it_open_are_refused(
    model: str, a: Any, b: Any, kind: type[ptmatch.PtmatchError], message: str
) -> None:
    with pytest.raises(kind) as error:
        FITS[model](a, b)
    assert str(error.value) == message


def test_points_of_space_in_a_plane_or_on_a_line_are_refused() -> None:
    flat = [(0, 0, 1), (4, 0, 1), (4, 3, 1), (0, 3, 1), (1, 1, 1)]
    spread = [*TETRAHEDRON, (2, 2, 2)]
    assert ptmatch.fit_rigid(flat, flat).largest < 1e-12
    with pytest.raises(ptmatch.MathError, match="^the points a lie in one plane$"):
        ptmatch.fit_affine(flat, spread)
    with pytest.raises(ptmatch.MathError, match="^the points b lie in one plane$"):
        ptmatch.fit_affine(spread, flat)
    with pytest.raises(ptmatch.MathError, match="^the points lie on one line$"):
        ptmatch.fit_rigid([(0, 0, 0), (1, 1, 1), (3, 3, 3)], TETRAHEDRON[:3])


# As values ----------------------------------------------------------------------------------------


@pytest.mark.parametrize(("model", "dimensions"), CASES)
def test_transforms_pickle_copy_and_compare(model: str, dimensions: int) -> None:
    a, b = noisy_pairs(model, dimensions, seed=300)
    fitted = FITS[model](a, b)
    for one in (fitted, fitted.inverse()):
        for same in (pickle.loads(pickle.dumps(one)), copy.copy(one), copy.deepcopy(one)):
            assert same == one
            assert repr(same) == repr(one)
            np.testing.assert_array_equal(same.matrix, one.matrix)
            np.testing.assert_array_equal(same.residuals, one.residuals)
            assert not same.source.flags.writeable
    assert FITS[model](a, b) == fitted
    assert FITS[model](a[:-1], b[:-1]) != fitted
    assert fitted != fitted.matrix.tolist()
    with pytest.raises(TypeError, match="unhashable"):
        hash(fitted)


def test_models_with_the_same_numbers_differ() -> None:
    assert ptmatch.fit_rigid(SQUARE, SQUARE) != ptmatch.fit_similarity(SQUARE, SQUARE)


def test_a_transform_tells_about_itself() -> None:
    fitted = ptmatch.fit_rigid([(0, 0), (10, 0), (5, 0)], [(0, 0), (12, 0), (6, 0)])
    assert repr(fitted) == (
        "<Transform: rigid in the plane, 3 pairs, rms 0.816, largest 1 of pair 0>"
    )
    assert repr(fitted.inverse()).startswith("<Transform: inverse of rigid in the plane, 3 pairs")
    assert "rigid in the space, 4 pairs" in repr(ptmatch.fit_rigid(TETRAHEDRON, TETRAHEDRON))


# Measured -----------------------------------------------------------------------------------------


def columns(path: pathlib.Path) -> Points:
    with path.open(newline="") as file:
        return np.array(list(csv.reader(file))[1:], dtype=float)


def test_a_plate_seen_obliquely(data: pathlib.Path) -> None:
    pairs = columns(data / "oblique_plate" / "pairs.csv")
    nodes, pixels = pairs[:, :2], pairs[:, 2:]
    fitted = ptmatch.fit_perspective(nodes, pixels)
    expected, conditioning = perspective(nodes, pixels)
    np.testing.assert_allclose(fitted(nodes), mapped(expected, nodes), rtol=0, atol=CLOSE)
    assert fitted.conditioning == pytest.approx(conditioning, rel=1e-9)
    straight = ptmatch.fit_affine(nodes, pixels)
    np.testing.assert_allclose(straight.matrix, affine(nodes, pixels), rtol=0, atol=1e-10)
    assert fitted.rms < straight.rms / 4
    # A dot in steps of the plate, from its pixel.
    np.testing.assert_allclose(fitted.inverse()(pixels), nodes, rtol=0, atol=0.1)


def test_a_camera_over_a_table(data: pathlib.Path) -> None:
    marks = columns(data / "alignment_station" / "calibration.csv")
    fitted = ptmatch.fit_perspective(marks[:, :2], marks[:, 2:])
    np.testing.assert_allclose(
        fitted.matrix, perspective(marks[:, :2], marks[:, 2:])[0], rtol=1e-8, atol=1e-12
    )


def test_boards_measured_by_others(shared_data: pathlib.Path) -> None:
    boards = sorted(path.parent for path in shared_data.glob("grids/*/truth.json"))
    assert boards
    for board in boards:
        truth = json.loads((board / "truth.json").read_text())
        blobs = columns(board / "blobs.csv")[:, :2]
        known = [k for k, node in enumerate(truth["grid"]) if node is not None]
        nodes = np.array([truth["grid"][k] for k in known], dtype=float)
        pixels = blobs[known]
        if len(known) < 4:
            continue
        for model in FITS:
            fitted = FITS[model](nodes, pixels)
            np.testing.assert_allclose(
                fitted(nodes), mapped(reference(model, nodes, pixels), nodes), rtol=0, atol=1e-8
            )


@pytest.mark.parametrize("offset", [0.0, 1000.3])
def test_points_b_on_one_line_to_within_rounding_are_refused(offset: float) -> None:
    a = np.random.default_rng(3).uniform(0, 100, (12, 2))
    along = a @ (0.3, 0.7) + 0.1
    b = np.column_stack([along, along / 3.0 + offset])
    with pytest.raises(ptmatch.MathError, match="the points b lie on one line"):
        ptmatch.fit_affine(a, b)
    b[:, 1] += 1e-6 * a[:, 0]  # narrow, but a plane
    assert ptmatch.fit_affine(a, b).largest < 1e-9


def test_rotation_scale_and_translation_are_those_of_the_matrix() -> None:
    a = np.array([(0.0, 0.0), (10.0, 0.0), (0.0, 10.0), (10.0, 12.0)])
    fitted = ptmatch.fit_similarity(a, 2.0 * a @ np.array([(0.0, 1.0), (-1.0, 0.0)]) + (3.0, 4.0))
    assert fitted.rotation_deg == pytest.approx(90.0)
    assert fitted.scale == pytest.approx(2.0)
    assert fitted.translation == pytest.approx(np.array([3.0, 4.0]))
    assert fitted.inverse().rotation_deg == pytest.approx(-90.0)
    assert fitted.inverse().scale == pytest.approx(0.5)
    flat = ptmatch.fit_perspective(a, a)
    for name in ("rotation_deg", "scale", "translation"):
        with pytest.raises(ValueError, match=name):
            getattr(flat, name)
    in_space = ptmatch.fit_rigid(np.eye(3), np.eye(3) + (1.0, 2.0, 3.0))
    assert in_space.translation == pytest.approx(np.array([1.0, 2.0, 3.0]))
    with pytest.raises(ValueError, match="rotation_deg"):
        in_space.rotation_deg


def test_a_transform_keeps_copies_that_cannot_be_made_writable() -> None:
    a = np.array([(0.0, 0.0), (1.0, 0.0), (0.0, 1.0)])
    fitted = ptmatch.fit_rigid(a, a)
    own = ptmatch.Transform(fitted.core, "rigid", a, a)
    assert a.flags.writeable
    for array in (fitted.source, fitted.target, own.source, own.target):
        with pytest.raises(ValueError, match="WRITEABLE"):
            array.setflags(write=True)


def test_masked_rows_are_refused() -> None:
    a = np.array([(0.0, 0.0), (1.0, 0.0), (0.0, 1.0), (1.0, 1.0)])
    rows = [np.ma.array(point, mask=(True, False)) for point in a]
    for fit in FITS.values():
        with pytest.raises(TypeError, match="b: .*masked"):
            fit(a, rows)
