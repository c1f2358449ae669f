"""Points mapped onto a regular grid, against positions known from the start."""

import copy
import pathlib
import pickle
from concurrent.futures import ProcessPoolExecutor
from typing import Any

import numpy as np
import pytest
from lattices import (
    advances_during,
    lattice,
    least_squares,
    measured,
    same_up_to_a_shift,
    turned,
)
from numpy.typing import NDArray

import ptmatch
from ptmatch import UNASSIGNED, GridMap, grid_map

XV, YV = (25.0, 1.0), (-1.5, 24.0)


def points_at(positions: NDArray[np.int64], degrees: float = 0.0) -> NDArray[np.float64]:
    return turned(positions @ np.array([XV, YV]), degrees) + (300.0, 200.0)


@pytest.mark.parametrize("degrees", [-17.0, 0.0, 12.5])
def test_dots_in_any_order_with_noise_gaps_and_clutter_get_their_positions(degrees: float) -> None:
    random = np.random.default_rng(7)
    true = random.permutation(lattice(9, 8))[:60]
    dots = points_at(true, degrees) + random.normal(0.0, 0.4, (60, 2))
    # Clutter well off the nodes.
    clutter = points_at(lattice(4, 4), degrees) + turned((12.0, 12.0), degrees)
    found = grid_map(np.concatenate([dots, clutter]), XV, YV)

    assert found and found.valid
    assert found.num_assigned == 60
    assert found.assigned.tolist() == [True] * 60 + [False] * 16
    assert (found.positions[60:] == UNASSIGNED).all()
    assert same_up_to_a_shift(found.positions[:60], true)
    expected = least_squares(found.positions[:60], dots)
    np.testing.assert_allclose(found.matrix, expected, rtol=0, atol=1e-9)
    residuals = dots - (found.positions[:60] @ expected[:, :2].T + expected[:, 2])
    np.testing.assert_allclose(found.residuals[:60], residuals, rtol=0, atol=1e-9)
    assert np.isnan(found.residuals[60:]).all()
    np.testing.assert_allclose(found.distances[:60], np.linalg.norm(residuals, axis=1), atol=1e-9)
    assert found.rms == pytest.approx(np.sqrt((residuals**2).sum(axis=1).mean()), abs=1e-9)
    np.testing.assert_allclose(found.apply((2.5, 1.0)), expected @ (2.5, 1.0, 1.0), atol=1e-9)
    assert 0.0 <= found.time < 60.0


def test_shapes_and_types_are_the_same_for_every_number_of_points() -> None:
    for number in (0, 1, 2, 3, 12):
        found = grid_map(points_at(lattice(4, 3))[:number], XV, YV)
        assert found.points.shape == found.positions.shape == found.residuals.shape == (number, 2)
        assert found.assigned.shape == found.distances.shape == (number,)
        assert (found.points.dtype, found.positions.dtype) == (np.float64, np.int64)
        assert (found.assigned.dtype, found.residuals.dtype) == (np.bool_, np.float64)
        assert found.matrix.shape == (2, 3)
        assert found.valid == bool(found) == (found.num_assigned >= 3) == (number >= 3)


def test_without_a_grid_there_is_no_matrix() -> None:
    found = grid_map([(0, 0), (100, 3), (7, 300)], XV, YV)
    assert not found
    assert found.num_assigned == 0
    assert found.positions.tolist() == [[UNASSIGNED] * 2] * 3
    assert np.isnan(found.matrix).all()
    assert np.isnan(found.residuals).all() and np.isnan(found.rms)
    assert np.isnan(found.apply((1, 2))).all()
    assert repr(found) == "<GridMap, not valid: 0 of 3 points>"
    assert grid_map([], XV, YV).points.shape == (0, 2)


def test_staggered_dots_lie_at_positions_with_an_even_sum() -> None:
    true = lattice(8, 9)
    true = true[true.sum(axis=1) % 2 == 0]
    found = grid_map(points_at(true), XV, YV, staggered=True)
    assert found.num_assigned == len(true)
    assert (found.positions.sum(axis=1) % 2 == 0).all()
    assert same_up_to_a_shift(found.positions, true)


def test_a_single_known_step_makes_a_row_or_a_column() -> None:
    steps = np.arange(6)
    row = grid_map(np.outer(steps, XV), XV, None)
    column = grid_map(np.outer(steps, YV), (0, 0), YV)
    assert (row.num_assigned, column.num_assigned) == (6, 6)
    assert row.positions[:, 0].tolist() == (steps + row.positions[0, 0]).tolist()
    assert len(set(row.positions[:, 1])) == 1
    assert column.positions[:, 1].tolist() == (steps + column.positions[0, 1]).tolist()
    assert len(set(column.positions[:, 0])) == 1


def test_tolerances_decide() -> None:
    larger = 1.15 * points_at(lattice(6, 6))
    assert grid_map(larger, XV, YV)
    assert not grid_map(larger, XV, YV, size_tol=(0.9, 1.1))
    assert grid_map(larger, XV, YV, size_tol="full").num_assigned == 36
    oblique = points_at(lattice(6, 6), 35.0)
    assert not grid_map(oblique, XV, YV)
    assert grid_map(oblique, XV, YV, angle_tol=(25, 45)).num_assigned == 36
    assert grid_map(oblique, XV, YV, angle_tol="full").num_assigned == 36
    displaced = points_at(lattice(6, 6))
    displaced[14] += (3.0, 0.0)
    assert grid_map(displaced, XV, YV).num_assigned == 36
    assert grid_map(displaced, XV, YV, snap_size=2.0).num_assigned == 35


@pytest.mark.parametrize(
    "change",
    [
        lambda points: points.astype(np.float32),
        lambda points: points.astype(np.int16),
        lambda points: np.asfortranarray(points),
        lambda points: np.repeat(points, 2, axis=0)[::2],
        lambda points: points.tolist(),
    ],
    ids=["float32", "int16", "columns", "strides", "lists"],
)
def test_any_real_type_and_layout_is_taken(change: Any) -> None:
    points = 25 * lattice(5, 4) + (100, 50)
    expected = grid_map(points.astype(np.float64), (25, 0), (0, 25))
    assert expected.num_assigned == 20
    assert grid_map(change(points), (25, 0), (0, 25)) == expected


def test_the_points_are_not_shared_and_cannot_be_written() -> None:
    points = points_at(lattice(5, 4))
    found = grid_map(points, XV, YV)
    points[:] = 0.0
    assert found.distances.max() < 1e-9
    for array in (found.points, found.positions):
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 0


@pytest.mark.parametrize(
    ("points", "error", "message"),
    [
        (
            np.zeros((4, 3)),
            ValueError,
            "points: expected an array of shape (n, 2), got shape (4, 3)",
        ),
        (np.zeros(4), ValueError, "points: expected an array of shape (n, 2), got shape (4,)"),
        (
            [(0, 0), (0, np.nan)],
            ValueError,
            "points: expected finite coordinates, got nan at [1, 1]",
        ),
        ([(0, 1j)], TypeError, "points: expected real numbers, got an array of complex128"),
        ([("a", "b")], TypeError, "points: expected real numbers, got an array of <U1"),
        (
            np.ma.masked_array(np.zeros((4, 2)), True),
            TypeError,
            "points: expected real numbers, got a masked array; choose the points with a mask of "
            "your own first",
        ),
    ],
)
def test_points_that_are_none_are_refused(points: Any, error: Any, message: str) -> None:
    with pytest.raises(error) as raised:
        grid_map(points, XV, YV)
    assert str(raised.value) == message


@pytest.mark.parametrize(
    ("arguments", "message"),
    [
        ({"xv": None, "yv": None}, "xv, yv: expected at least one step that is not null, got none"),
        (
            {"xv": (0, 0), "yv": None},
            "xv, yv: expected at least one step that is not null, got none",
        ),
        (
            {"xv": None, "staggered": True},
            "xv, yv: expected both steps for a staggered grid, got one",
        ),
        (
            {"xv": (1, 3), "yv": (-2, -6)},
            "xv, yv: expected steps that are not parallel, got (1.0, 3.0) and (-2.0, -6.0)",
        ),
        ({"xv": (1, 2, 3)}, "xv: expected a pair of numbers, got (1, 2, 3)"),
        ({"snap_size": 0}, "snap_size: expected a number above 0, or None, got 0"),
        ({"size_tol": 0.1}, "size_tol: expected a pair of numbers, got 0.1"),
        ({"size_tol": "all"}, "size_tol: expected a pair of numbers or \"full\", got 'all'"),
        ({"angle_tol": "all"}, "angle_tol: expected a pair of degrees or \"full\", got 'all'"),
    ],
)
def test_arguments_that_make_no_grid_are_refused(arguments: Any, message: str) -> None:
    with pytest.raises(ValueError) as raised:
        grid_map([(0, 0)], **{"xv": XV, "yv": YV, **arguments})
    assert str(raised.value) == message


def test_what_the_library_refuses_is_its_own_error() -> None:
    with pytest.raises(ptmatch.BadParams) as raised:
        grid_map([(0, 0)], (np.inf, 0), YV)
    assert raised.value.number == 0x10005F00
    with pytest.raises(ptmatch.BadParams):
        grid_map([(0, 0)], XV, YV, snap_size=np.nan)


def mapped(points: NDArray[np.float64]) -> GridMap:
    return grid_map(points, XV, YV)


def test_a_result_travels_copies_and_compares() -> None:
    points = points_at(lattice(6, 5))
    found = grid_map(points, XV, YV)
    with ProcessPoolExecutor(1) as pool:
        elsewhere = pool.submit(mapped, points).result()
    assert elsewhere == found
    for other in (pickle.loads(pickle.dumps(found)), copy.copy(found), copy.deepcopy(found)):
        assert other == found
        assert other.time == found.time
        with pytest.raises(ValueError, match="read-only"):
            other.positions[0] = 0
    assert found != grid_map(points + 1.0, XV, YV)
    assert found != grid_map(points, XV, YV, snap_size=1.0)
    assert found != "a map"


def test_other_threads_advance_during_a_mapping() -> None:
    points = points_at(lattice(220, 220))
    params, result = ptmatch.rxPtToGridMapRunParams(XV, YV), ptmatch.rxPtToGridMapResult()
    assert advances_during(lambda: ptmatch.rfPtToGridMap(points, params, result))
    assert result.valid()


def test_a_call_that_keeps_the_interpreter_is_noticed() -> None:
    numbers = np.random.default_rng(0).random(50_000).tolist()
    assert not advances_during(lambda: sorted(numbers))


# --- the library's own classes -------------------------------------------------------------------


def test_the_parameters_keep_what_they_are_given() -> None:
    params = ptmatch.rxPtToGridMapRunParams()
    assert (params.xv(), params.yv()) == ((0.0, 0.0), (0.0, 0.0))
    assert (params.staggered(), params.snapSize()) == (False, 0.0)
    assert params.sizeTol().range() == params.angleTol().range() == ptmatch.rxRangeDefs.Empty
    params.xv((25, 1))
    params.yv([0, 24])
    params.staggered(True)
    params.snapSize(-3.5)
    params.sizeTol(ptmatch.rxRange(0.5, 2))
    params.angleTol(ptmatch.rxAngleRange(ptmatch.rxDegree(-90), ptmatch.rxRadian(1)))
    assert (params.xv(), params.yv()) == ((25.0, 1.0), (0.0, 24.0))
    assert (params.staggered(), params.snapSize()) == (True, -3.5)
    assert params.sizeTol() == ptmatch.rxRange(0.5, 2)
    assert params.angleTol().start().toDouble() == pytest.approx(-np.pi / 2)
    assert repr(params) == (
        "<rxPtToGridMapRunParams: xv (25.0, 1.0), yv (0.0, 24.0), staggered True, snapSize -3.5, "
        f"sizeTol {params.sizeTol()!r}, angleTol {params.angleTol()!r}>"
    )
    with pytest.raises(TypeError):
        params.angleTol((-20, 20))
    for other in (
        pickle.loads(pickle.dumps(params)),
        copy.copy(params),
        copy.deepcopy(params),
        ptmatch.rxPtToGridMapRunParams.from_bytes(params.to_bytes()),
    ):
        assert other == params
        other.snapSize(1.0)
        assert other != params
    with pytest.raises(ptmatch.ArchiveError):
        ptmatch.rxPtToGridMapRunParams.from_bytes(params.to_bytes() + b"?")


def test_a_result_of_the_library_is_filled_by_the_mapping() -> None:
    assert ptmatch.rxPtToGridMapResult.kUnassigned == UNASSIGNED == 2**31 - 1
    result = ptmatch.rxPtToGridMapResult()
    assert (result.valid(), result.time(), result.map().shape) == (False, 0.0, (0, 2))
    points = points_at(lattice(4, 3))
    params = ptmatch.rxPtToGridMapRunParams(XV, YV)
    assert ptmatch.rfPtToGridMap(points, params, result) == 12
    assert result.valid()
    assert (result.map().dtype, result.map().shape) == (np.int64, (12, 2))
    assert repr(result) == "<rxPtToGridMapResult, valid, of 12 points>"
    assert pickle.loads(pickle.dumps(result)) == copy.deepcopy(result) == result
    step = np.subtract(result.grid2point() * (1, 0), result.grid2point() * (0, 0))
    np.testing.assert_allclose(step, XV, atol=1e-9)
    # What a mapping does not find stays; that it is not valid does not.
    kept = result.map()
    assert ptmatch.rfPtToGridMap(points, ptmatch.rxPtToGridMapRunParams(), result) == 0
    assert not result.valid()
    assert np.array_equal(result.map(), kept)


# --- measured dots -------------------------------------------------------------------------------


@pytest.mark.parametrize(("name", "dots"), [("dots7x7", 49), ("dots_staggered", 25)])
def test_photographed_dots_among_clutter(data: pathlib.Path, name: str, dots: int) -> None:
    points, truth = measured(data / name)
    found = grid_map(
        points, truth["xv_centre"], truth["yv_centre"], staggered=truth["staggered"], snap_size=6
    )
    assert len(truth["places"]) == dots
    assert found.assigned[truth["is_dot"]].all()
    assert same_up_to_a_shift(found.positions[truth["is_dot"]], truth["places"])
    assert found.rms < 3.0


@pytest.mark.parametrize(
    ("name", "least"), [("sym7x7_14", 48), ("marks3_a", 77), ("colony_a", 1200), ("stag25_05", 25)]
)
def test_more_photographed_dots(shared_data: pathlib.Path, name: str, least: int) -> None:
    points, truth = measured(shared_data / "grids" / name)
    found = grid_map(points, truth["xv_centre"], truth["yv_centre"], staggered=truth["staggered"])
    assigned = found.assigned[truth["is_dot"]]
    places = found.positions[truth["is_dot"]]
    assert np.count_nonzero(assigned) >= least
    assert same_up_to_a_shift(places[assigned], truth["places"][assigned])


def test_unassigned_positions_are_mapped_to_nan_and_pairs_leave_them_out() -> None:
    true = lattice(5, 4)
    points = np.concatenate([points_at(true), [(312.0, 212.0)]])
    found = grid_map(points, XV, YV)
    assert np.isnan(found.apply(found.positions)[20]).all()
    assert np.isnan(found.apply((UNASSIGNED, UNASSIGNED))).all()
    positions, dots = found.pairs
    assert np.array_equal(positions, found.positions[:20])
    assert np.array_equal(dots, points[:20])
    np.testing.assert_allclose(found.apply(positions), dots, rtol=0, atol=1e-9)
    with pytest.raises(ValueError, match=r"positions: expected an array of shape \(n, 2\)"):
        found.apply([(1, 2, 3)])


def test_arrays_cannot_be_made_writable() -> None:
    points = points_at(lattice(4, 4))
    found = grid_map(points, XV, YV)
    for array in (found.points, found.positions):
        with pytest.raises(ValueError, match="WRITEABLE"):
            array.setflags(write=True)
    assert points.flags.writeable


def test_masked_rows_are_refused() -> None:
    rows = [np.ma.array(point, mask=(True, False)) for point in points_at(lattice(4, 4))]
    for masked in (rows, tuple(rows)):
        with pytest.raises(TypeError, match="points: .*masked"):
            grid_map(masked, XV, YV)


def test_a_tolerance_and_a_snap_size_that_are_none_are_named() -> None:
    points = points_at(lattice(4, 4))
    for size_tol in ((-0.2, 0.2), (0.0, 1.2)):
        with pytest.raises(ValueError, match=r"size_tol: expected a ratio, such as \(0.8, 1.2\)"):
            grid_map(points, XV, YV, size_tol=size_tol)
    with pytest.raises(ValueError, match="snap_size: expected a number above 0"):
        grid_map(points, XV, YV, snap_size=-1.0)
    with pytest.raises(TypeError, match="snap_size: expected a number above 0"):
        grid_map(points, XV, YV, snap_size="5")  # type: ignore[arg-type]


def test_equality_leaves_other_types_to_themselves_and_subclasses_stay_what_they_are() -> None:
    class Named(GridMap):
        pass

    found = grid_map(points_at(lattice(4, 4)), XV, YV)
    assert found.__eq__(1) is NotImplemented
    named = Named(found.points, found.result, found.params)
    assert type(copy.copy(named)) is Named


@pytest.mark.parametrize("degrees", [-20.0, 20.0, 20.1])
def test_a_rotation_at_the_ends_of_the_range_is_found(degrees: float) -> None:
    true = lattice(8, 7)
    found = grid_map(points_at(true, degrees), XV, YV, angle_tol=(-20.0, 20.0))
    assert found.num_assigned == len(true)
    assert same_up_to_a_shift(found.positions, true)
