"""The transforms of plane and space under their own names."""

import copy
import pickle
from typing import Any

import numpy as np
import pytest
from numpy.typing import NDArray

import ptmatch
from ptmatch import (
    rx2PtMatchTm,
    rx2PTm,
    rx3PtMatchTm,
    rxDegree,
    rxLSPointToPointFitter,
    rxRadian,
    rxRectangle,
    rxXform,
)

Points = NDArray[np.float64]
SQUARE = np.array([[0.0, 0.0], [4.0, 0.0], [4.0, 3.0], [0.0, 3.0], [1.0, 2.0]])
PERSPECTIVE = np.array([1.1, 0.2, 3.0, -0.1, 0.9, 2.0, 0.01, -0.02])
SPACE = np.array([1.0, 0.2, 0.1, 5.0, -0.3, 0.9, 0.0, -2.0, 0.1, 0.1, 1.2, 1.0])


def plane(xform: rxXform) -> rx2PtMatchTm:
    return rx2PtMatchTm(xform)


def of_plane() -> rx2PtMatchTm:
    return rx2PtMatchTm(rxXform([[2.0, 0.5], [-1.0, 3.0]], (10.0, 20.0)))


def of_perspective() -> rx2PTm:
    return ptmatch.rfExactPerspective(PERSPECTIVE)


def of_space() -> rx3PtMatchTm:
    return ptmatch.rfExactSpaceTransform(SPACE)


def reference(tm: Any, points: Points) -> Points:
    """The images of points, as NumPy has them."""
    if isinstance(tm, rx2PtMatchTm):
        xform = tm.a2bXform()
        return np.asarray(points @ xform.matrix().T + xform.trans())
    if isinstance(tm, rx3PtMatchTm):
        matrix = tm.a2bParams().reshape(3, 4)
        return np.asarray(points @ matrix[:, :3].T + matrix[:, 3])
    images = np.column_stack([points, np.ones(len(points))]) @ np.append(
        tm.a2bParams(), 1.0
    ).reshape(3, 3).T
    return np.asarray(images[:, :2] / images[:, 2:])


MADE = [(of_plane, 2), (of_perspective, 2), (of_space, 3)]
KINDS = [(rx2PtMatchTm, 2), (rx2PTm, 2), (rx3PtMatchTm, 3)]


def spread(dimensions: int, count: int = 12) -> Points:
    return np.random.default_rng(11).uniform(-5.0, 5.0, (count, dimensions))


# Mapping ------------------------------------------------------------------------------------------


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_arrays_of_points_are_mapped(made: Any, dimensions: int) -> None:
    tm, points = made(), spread(dimensions)
    images = tm.a2b(points)
    assert images.dtype == np.float64
    np.testing.assert_allclose(images, reference(tm, points), rtol=1e-14, atol=1e-13)
    np.testing.assert_allclose(tm.b2a(images), points, rtol=0, atol=1e-12)
    np.testing.assert_array_equal(tm.a2b(points.tolist()), images)
    np.testing.assert_array_equal(tm.a2b(np.asfortranarray(points)), images)
    np.testing.assert_array_equal(tm.a2b(points[::-1])[::-1], images)
    assert tm.a2b([]).shape == (0, dimensions)
    assert tm.a2b(np.zeros((0, dimensions))).shape == (0, dimensions)


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_one_point_is_mapped(made: Any, dimensions: int) -> None:
    tm, points = made(), spread(dimensions)
    images = tm.a2b(points)
    one = tm.a2b(tuple(points[0].tolist()))
    assert type(one) is tuple
    assert one == tuple(images[0].tolist())
    assert type(tm.b2a([1, 2, 3][:dimensions])) is tuple
    as_array = tm.a2b(points[0])
    assert as_array.shape == (dimensions,)
    np.testing.assert_array_equal(as_array, images[0])


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_what_is_not_finite_is_mapped_as_it_is(made: Any, dimensions: int) -> None:
    tm, points = made(), spread(dimensions)
    points[3] = np.nan
    images = tm.a2b(points)
    assert np.isnan(images[3]).all()
    assert np.isfinite(np.delete(images, 3, axis=0)).all()


@pytest.mark.parametrize(("made", "dimensions"), MADE)
@pytest.mark.parametrize("direction", ["a2b", "b2a"])
def test_points_of_a_wrong_shape_are_refused(made: Any, dimensions: int, direction: str) -> None:
    map_points = getattr(made(), direction)
    wanted = (
        f"points: expected a point of shape ({dimensions},) or an array of shape (n, {dimensions}),"
    )
    for points, shape in (
        (np.zeros((3, 4)), "(3, 4)"),
        (np.zeros((dimensions, 1)), f"({dimensions}, 1)"),
        ([1.0], "(1,)"),
        (5.0, "()"),
        (np.zeros((1, 1, dimensions)), f"(1, 1, {dimensions})"),
    ):
        with pytest.raises(ValueError) as error:
            map_points(points)
        assert str(error.value) == f"{wanted} got shape {shape}"
    with pytest.raises(TypeError) as wrong_type:
        map_points([("a",) * dimensions])
    assert str(wrong_type.value) == "points: expected real numbers, got an array of <U1"


def test_directions_are_mapped() -> None:
    tm = plane(rxXform([[0.0, -1.0], [1.0, 0.0]], (5.0, 5.0)))
    assert tm.a2b(rxRadian(0.0)).toDouble() == pytest.approx(np.pi / 2)
    assert tm.a2b(rxDegree(90)).toDouble() == pytest.approx(np.pi)
    assert tm.b2a(rxDegree(90)).toDouble() == pytest.approx(0.0, abs=1e-15)


# Pairs and fits -----------------------------------------------------------------------------------


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_pairs_come_one_by_one_or_all_at_once(made: Any, dimensions: int) -> None:
    tm, a = made(), spread(dimensions)
    b = tm.a2b(a)
    dof = (6,) if isinstance(tm, rx2PtMatchTm) else ()
    one_by_one, at_once = type(tm)(), type(tm)()
    for p, q in zip(a.tolist(), b.tolist()):
        one_by_one.update(tuple(p), q)
    at_once.update(a, b)
    one_by_one.fit(*dof)
    at_once.fit(*dof)
    assert one_by_one == at_once == type(tm)(a, b, *dof)
    again = type(tm)()
    again.fit(a, b, *dof)
    assert again == at_once
    np.testing.assert_allclose(at_once.a2b(a), b, rtol=0, atol=1e-10)


@pytest.mark.parametrize(("kind", "dimensions"), KINDS)
def test_pairs_that_do_not_fit_are_refused(kind: Any, dimensions: int) -> None:
    tm, points = kind(), spread(dimensions)
    dof = (6,) if kind is rx2PtMatchTm else ()
    for call in (tm.update, lambda a, b: tm.fit(a, b, *dof), lambda a, b: kind(a, b, *dof)):
        with pytest.raises(kind.BadArgs) as error:
            call(points, points[1:])
        assert str(error.value) == "two sequences of points differ in length"
    assert kind.BadArgs is ptmatch.BadArgs
    with pytest.raises(ValueError) as mixed:
        tm.update(points[0], points)
    assert str(mixed.value) == "a, b: expected two points or two arrays of points, got one of each"
    broken = points.copy()
    broken[2, 1] = np.inf
    with pytest.raises(ValueError) as infinite:
        tm.update(points, broken)
    assert str(infinite.value) == "b: expected finite coordinates, got inf at [2, 1]"
    with pytest.raises(ValueError) as one_infinite:
        tm.update(broken[2], points[2])
    assert str(one_infinite.value) == "a: expected finite coordinates, got inf at [1]"
    # Nothing of these was added.
    with pytest.raises((ptmatch.FitError, ptmatch.SingularMatrix)):
        tm.fit(*dof)


@pytest.mark.parametrize("dof", [3, 4, 5, 6])
def test_the_fitter_maps_second_points_onto_first(dof: int) -> None:
    xform = rxXform([[0.6, -0.8], [0.8, 0.6]], (100.0, -50.0))
    first = SQUARE @ xform.matrix().T + xform.trans()
    fitter = rxLSPointToPointFitter(first, SQUARE)
    by_hand = rxLSPointToPointFitter()
    for p, q in zip(first, SQUARE):
        by_hand.update(p, q)
    fitted = fitter.fit(dof)
    assert fitted == by_hand.fit(dof)
    np.testing.assert_allclose(fitted.matrix(), xform.matrix(), rtol=0, atol=1e-14)
    np.testing.assert_allclose(fitted.trans(), xform.trans(), rtol=0, atol=1e-12)
    assert fitter.numPairs() == 5
    assert repr(fitter) == "<rxLSPointToPointFitter of 5 pairs>"


def test_the_fitter_copies_and_resets() -> None:
    fitter = rxLSPointToPointFitter(SQUARE, SQUARE)
    for same in (copy.copy(fitter), copy.deepcopy(fitter)):
        same.update((9, 9), (9, 8))
        assert same.numPairs() == 6
    assert fitter.numPairs() == 5
    fitter.reset()
    assert fitter.numPairs() == 0
    with pytest.raises(TypeError, match="pickle"):
        pickle.dumps(fitter)


@pytest.mark.parametrize(
    ("call", "message"),
    [
        (
            lambda: rxLSPointToPointFitter(SQUARE, SQUARE[1:]),
            "the fitter needs as many first as second points, has 5 and 4",
        ),
        (
            lambda: rxLSPointToPointFitter(SQUARE, SQUARE).fit(7),
            "fit with 7 degrees of freedom: the models have 3, 4, 5 or 6",
        ),
        (
            lambda: rxLSPointToPointFitter(SQUARE[:2], SQUARE[:2]).fit(6),
            "fit with 6 degrees of freedom: 3 pairs needed, 2 given",
        ),
        (
            lambda: rx2PtMatchTm(SQUARE, SQUARE * 0 + 1, 3),
            "fit with 3 degrees of freedom: the pairs leave the rotation open",
        ),
    ],
)
def test_fits_that_are_not_determined_are_errors(call: Any, message: str) -> None:
    with pytest.raises(rxLSPointToPointFitter.Errors) as error:
        call()
    assert type(error.value) is ptmatch.FitError
    assert str(error.value) == message


def test_the_singular_is_refused() -> None:
    flat = rxXform([[1.0, 2.0], [2.0, 4.0]], (0.0, 0.0))
    with pytest.raises(ptmatch.MathError) as error:
        rx2PtMatchTm(flat)
    assert str(error.value) == "a singular transform has no inverse"
    with pytest.raises(ptmatch.MathError):
        ptmatch.rfExactPerspective([1, 2, 0, 2, 4, 0, 0, 0])
    with pytest.raises(ptmatch.MathError):
        ptmatch.rfExactSpaceTransform(np.zeros(12))
    for kind in (rx2PTm, rx3PtMatchTm):
        with pytest.raises(ptmatch.SingularMatrix) as no_pairs:
            kind().fit()
        assert str(no_pairs.value) == "the matrix is singular"


# Changes ------------------------------------------------------------------------------------------


def test_changes_of_the_plane_come_before_the_transform() -> None:
    points, before = spread(2), of_plane()
    tm = of_plane()
    tm.translate((1.0, 2.0))
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points + (1.0, 2.0)), atol=1e-12)
    tm = of_plane()
    tm.rotate(rxDegree(90))
    turned = points @ np.array([[0.0, 1.0], [-1.0, 0.0]])
    np.testing.assert_allclose(tm.a2b(points), before.a2b(turned), atol=1e-12)
    tm = of_plane()
    tm.scale((2.0, 3.0))
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points * (2.0, 3.0)), atol=1e-12)
    tm = of_plane()
    tm.scale(2)
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points * 2.0), atol=1e-12)
    with pytest.raises(ptmatch.MathError):
        tm.scale(0)
    with pytest.raises(TypeError):
        tm.rotate(1.0)  # type: ignore[arg-type]


def test_transforms_of_the_plane_are_chained() -> None:
    points = spread(2)
    first, second = of_plane(), plane(rxXform((3.0, 4.0), rxDegree(30), rxDegree(30), 2.0, 2.0))
    appended, concatenated = of_plane(), of_plane()
    appended.append(second)
    concatenated.concat(second)
    np.testing.assert_allclose(appended.a2b(points), second.a2b(first.a2b(points)), atol=1e-12)
    np.testing.assert_allclose(concatenated.a2b(points), first.a2b(second.a2b(points)), atol=1e-12)
    np.testing.assert_allclose(appended.b2a(appended.a2b(points)), points, atol=1e-12)


def test_only_reset_and_identity_forget_pairs() -> None:
    tm = rx2PtMatchTm(SQUARE, SQUARE + 1.0, 6)
    tm.translate((5.0, 5.0))
    tm.fit(6)
    np.testing.assert_allclose(tm.a2b(SQUARE), SQUARE + 1.0, atol=1e-13)
    tm.reset()
    assert tm.a2bXform().trans() == pytest.approx((1.0, 1.0))
    with pytest.raises(ptmatch.FitError):
        tm.fit(6)
    tm.identity()
    assert tm == rxXform()


def test_changes_of_a_perspective_transform() -> None:
    points, before = spread(2), of_perspective()
    tm = of_perspective()
    tm.translate((0.5, -0.25))
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points + (0.5, -0.25)), atol=1e-9)
    tm = of_perspective()
    tm.scale((0.5, 2.0))
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points * (0.5, 2.0)), atol=1e-9)
    tm = of_perspective()
    tm.rotate(rxDegree(90))
    turned = points @ np.array([[0.0, 1.0], [-1.0, 0.0]])
    np.testing.assert_allclose(tm.a2b(points), before.a2b(turned), atol=1e-9)
    tm.identity()
    assert tm == rx2PTm()


def test_changes_of_space_turn_after_the_transform() -> None:
    points, before = spread(3), of_space()
    origin = np.array(before.a2b((0, 0, 0)))
    c, s = np.cos(0.3), np.sin(0.3)
    for name, turn in (
        ("rotateOnX", [[1, 0, 0], [0, c, -s], [0, s, c]]),
        ("rotateOnY", [[c, 0, s], [0, 1, 0], [-s, 0, c]]),
        ("rotateOnZ", [[c, -s, 0], [s, c, 0], [0, 0, 1]]),
    ):
        tm = of_space()
        getattr(tm, name)(rxRadian(0.3))
        expected = (before.a2b(points) - origin) @ np.array(turn).T + origin
        np.testing.assert_allclose(tm.a2b(points), expected, atol=1e-13)
    tm = of_space()
    tm.scale((1.0, 2.0, 3.0))
    expected = (before.a2b(points) - origin) * (1.0, 2.0, 3.0) + origin
    np.testing.assert_allclose(tm.a2b(points), expected, atol=1e-13)
    tm = of_space()
    tm.translate((1.0, 2.0, 3.0))
    np.testing.assert_allclose(tm.a2b(points), before.a2b(points + (1.0, 2.0, 3.0)), atol=1e-13)
    tm.identity()
    assert tm == rx3PtMatchTm()


# Functions ----------------------------------------------------------------------------------------


def test_exact_transforms_have_the_inverse_of_numpy() -> None:
    inverse = np.linalg.inv(np.append(PERSPECTIVE, 1.0).reshape(3, 3))
    expected = (inverse / inverse[2, 2]).ravel()[:8]
    np.testing.assert_allclose(of_perspective().b2aParams(), expected, rtol=1e-13, atol=1e-14)
    whole = np.vstack([SPACE.reshape(3, 4), [0, 0, 0, 1]])
    expected = np.linalg.inv(whole)[:3].ravel()
    np.testing.assert_allclose(of_space().b2aParams(), expected, rtol=1e-13, atol=1e-14)


@pytest.mark.parametrize(
    ("function", "count"), [(ptmatch.rfExactPerspective, 8), (ptmatch.rfExactSpaceTransform, 12)]
)
def test_parameters_have_a_length(function: Any, count: int) -> None:
    with pytest.raises(ValueError) as error:
        function(np.ones(9))
    assert str(error.value) == f"a2b: expected {count} numbers, got 9"


def test_perspective_transforms_are_chained() -> None:
    points, first = spread(2), of_perspective()
    second = ptmatch.rfExactPerspective([0.9, 0.0, 1.0, 0.1, 1.0, 0.0, -0.005, 0.001])
    both = ptmatch.rfConcatPerspective(first, second)
    np.testing.assert_allclose(both.a2b(points), second.a2b(first.a2b(points)), atol=1e-12)
    np.testing.assert_allclose(both.b2a(both.a2b(points)), points, atol=1e-12)


def test_an_affine_approximation_is_that_of_36_points() -> None:
    tm, area = of_perspective(), rxRectangle(-4.0, -2.0, 10.0, 6.0)
    x, y = np.meshgrid(np.linspace(-4.0, 6.0, 6), np.linspace(-2.0, 4.0, 6))
    a = np.column_stack([x.ravel(), y.ravel()])
    ones = np.column_stack([a, np.ones(36)])
    expected = np.linalg.lstsq(ones, tm.a2b(a), rcond=None)[0].T
    xform = ptmatch.rfAffineApproximation(tm, area).a2bXform()
    np.testing.assert_allclose(xform.matrix(), expected[:, :2], atol=1e-12)
    np.testing.assert_allclose(xform.trans(), expected[:, 2], atol=1e-12)
    square = rxRectangle(-5.0, -5.0, 10.0, 10.0)
    around = ptmatch.rfAffineApproximation(tm, square).a2bXform()
    np.testing.assert_allclose(tm.a2bXform().matrix(), around.matrix(), atol=1e-12)
    assert tm.a2bTm() == tm.a2bXform()
    with pytest.raises(ptmatch.MathError):
        ptmatch.rfAffineApproximation(tm, rxRectangle(-200.0, -1.0, 400.0, 2.0))
    with pytest.raises(ptmatch.FitError):
        ptmatch.rfAffineApproximation(tm, rxRectangle(0.0, 0.0, 1.0, 0.0))


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_a_residual_is_told(made: Any, dimensions: int) -> None:
    tm, a = made(), spread(dimensions)
    b = tm.a2b(a)
    b[4] += 3.0
    told: Any = ptmatch.rfFitResidual(tm, a, b)
    distances = np.linalg.norm(tm.a2b(a) - b, axis=1)
    assert told.worst == 4
    assert told.largest == pytest.approx(distances.max(), rel=1e-14)
    assert told.rms == pytest.approx(np.sqrt(np.mean(distances**2)), rel=1e-14)
    assert pickle.loads(pickle.dumps(told)) == told
    assert told != ptmatch.rfFitResidual(tm, a, tm.a2b(a))
    assert repr(told) == f"<rxFitResidual: rms {told.rms!r}, largest {told.largest!r} of pair 4>"
    with pytest.raises(ptmatch.BadArgs):
        ptmatch.rfFitResidual(tm, a, b[1:])
    with pytest.raises(AttributeError):
        told.rms = 0.0


def test_fits_of_space_and_perspective_hold_no_pairs() -> None:
    a = spread(3)
    for fit in (ptmatch.rfFitRigid3D, ptmatch.rfFitSimilarity3D, ptmatch.rfFitAffine3D):
        fitted = fit(a, a)
        np.testing.assert_allclose(fitted.a2b(a), a, atol=1e-13)
        with pytest.raises(ptmatch.SingularMatrix):
            fitted.fit()
        with pytest.raises(ptmatch.BadArgs):
            fit(a, a[1:])
    a = spread(2)
    with pytest.raises(ptmatch.SingularMatrix):
        ptmatch.rfFitPerspectiveNormalized(a, a).fit()
    for function in (ptmatch.rfFitPerspectiveNormalized, ptmatch.rfPerspectiveConditioning):
        with pytest.raises(ptmatch.BadArgs):
            function(a, a[1:])
        with pytest.raises(ValueError) as error:
            function(a, spread(3))
        assert str(error.value) == "b: expected an array of shape (n, 2), got shape (12, 3)"
    on_a_line = np.column_stack([np.arange(6.0), np.arange(6.0)])
    assert ptmatch.rfPerspectiveConditioning(on_a_line, on_a_line) == np.inf


# As values ----------------------------------------------------------------------------------------


@pytest.mark.parametrize(("made", "dimensions"), MADE)
def test_transforms_pickle_copy_and_compare(made: Any, dimensions: int) -> None:
    tm, points = made(), spread(dimensions)
    for same in (
        pickle.loads(pickle.dumps(tm)),
        copy.copy(tm),
        copy.deepcopy(tm),
        type(tm).from_bytes(tm.to_bytes()),
    ):
        assert same == tm
        assert repr(same) == repr(tm)
        np.testing.assert_array_equal(same.b2a(points), tm.b2a(points))
        same.translate((1,) * dimensions)
        assert same != tm
    assert tm != type(tm)()
    assert tm != "another"
    with pytest.raises(TypeError, match="unhashable"):
        hash(tm)


@pytest.mark.parametrize(("kind", "dimensions"), KINDS)
def test_bad_records_are_refused(kind: Any, dimensions: int) -> None:
    record = kind().to_bytes()
    for bad in (record[:-1], record + b"x", b"", b"\xff" * len(record)):
        with pytest.raises(ptmatch.ArchiveError):
            kind.from_bytes(bad)


def test_records_hold_the_pairs_but_those_of_the_plane() -> None:
    for kind, dimensions in KINDS:
        points = spread(dimensions)
        tm = kind(points, points, *((6,) if kind is rx2PtMatchTm else ()))
        back = pickle.loads(pickle.dumps(tm))
        if kind is rx2PtMatchTm:
            with pytest.raises(ptmatch.FitError):
                back.fit(6)
            copy.copy(tm).fit(6)
        else:
            back.fit()
            assert back == tm


@pytest.mark.parametrize("kind", [rxXform, rx2PtMatchTm, rx2PTm, rx3PtMatchTm])
def test_the_identity_of_a_class_cannot_be_changed(kind: Any) -> None:
    assert kind.I == kind()
    assert kind.I is not kind.I
    if kind is rxXform:
        kind.I.trans((5, 5))
    else:
        kind.I.translate((5,) * (3 if kind is rx3PtMatchTm else 2))
        kind().identity()
    assert kind.I == kind()
    with pytest.raises(AttributeError):
        kind.I = kind()


def test_what_is_handed_out_is_a_copy() -> None:
    tm = of_plane()
    tm.a2bXform().trans((0, 0))
    assert tm.a2bXform().trans() == (10.0, 20.0)
    perspective = of_perspective()
    perspective.a2bParams()[0] = 99.0
    np.testing.assert_array_equal(perspective.a2bParams(), PERSPECTIVE)


def test_transforms_tell_about_themselves() -> None:
    assert repr(rx2PtMatchTm()) == (
        "<rx2PtMatchTm: a2b rxXform([[1.0, 0.0], [0.0, 1.0]], (0.0, 0.0))>"
    )
    assert repr(rx2PTm()) == "<rx2PTm: a2b (1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0)>"
    assert repr(rx3PtMatchTm()) == (
        "<rx3PtMatchTm: a2b (1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0)>"
    )


def test_a_column_is_no_point() -> None:
    with pytest.raises(TypeError):
        rxXform() * np.array([[1.0], [2.0]])
    assert rxXform() * np.array([1, 2]) == (1.0, 2.0)
