"""Patterns of dots on a grid found among points, against places known from the start."""

import copy
import os
import pathlib
import pickle
import subprocess
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from typing import Any

import numpy as np
import pytest
from lattices import advances_during, lattice, least_squares, measured, turned
from numpy.typing import NDArray

import ptmatch
from ptmatch import GridMatch, GridMatcher, GridMatches

XV, YV = (25.0, 1.0), (-1.5, 24.0)
ORIGIN = (-3, 2)


def plate() -> NDArray[np.int64]:
    """Six rows of eight dots; those that lack tell how it lies."""
    dots = np.ones((6, 8), dtype=np.int64)
    dots[1, 2] = dots[4, 5] = dots[3, 3] = dots[0, 7] = 0
    return dots


def few_dots() -> NDArray[np.int64]:
    """A sparse pattern, with an empty rim."""
    dots = np.zeros((8, 10), dtype=np.int64)
    for row, column in ((2, 3), (2, 9), (6, 3), (5, 7), (7, 8)):
        dots[row, column] = 7
    return dots


def positions_of(dots: Any) -> NDArray[np.int64]:
    """(i, j) of each dot, row by row."""
    rows, columns = np.nonzero(dots)
    return np.column_stack([columns, rows]) + ORIGIN


def scene(
    dots: Any, degrees: float = 0.0, scale: float = 1.0, noise: float = 0.0, clutter: int = 0
) -> tuple[NDArray[np.float64], NDArray[np.int64]]:
    """Data in which the dots lie somewhere in any order, and the index of each dot in them."""
    random = np.random.default_rng(5)
    places = scale * turned(positions_of(dots) @ np.array([XV, YV]), degrees) + (400.0, 300.0)
    places += random.normal(0.0, noise, places.shape)
    # Beyond the pattern, where no clutter lies on its grid by accident.
    far = places.max(axis=0) + 200.0 + random.uniform(0, 300, (clutter, 2))
    order = random.permutation(len(places) + clutter)
    return np.concatenate([places, far])[order], np.argsort(order)[: len(places)]


def best_of(found: GridMatches) -> GridMatch:
    assert found.best is not None
    return found.best


@pytest.mark.parametrize("degrees", [-12.0, 0.0, 7.5])
def test_a_plate_is_found_and_every_dot_named(degrees: float) -> None:
    dots = plate()
    data, truth = scene(dots, degrees, 1.04, noise=0.3, clutter=20)
    found = GridMatcher.train(dots, XV, YV, origin=ORIGIN).match(data)

    assert len(found) == 1
    match = best_of(found)
    assert match.coverage == 1.0
    assert match.grid_to_data.shape == match.matched.shape == dots.shape
    assert (match.grid_to_data.dtype, match.matched.dtype) == (np.int64, np.bool_)
    assert np.array_equal(match.matched, dots != 0)
    assert np.array_equal(match.grid_to_data[dots != 0], truth)
    assert (match.grid_to_data[dots == 0] == -1).all()
    assert np.array_equal(match.data_points[dots != 0], data[truth])
    assert np.isnan(match.data_points[dots == 0]).all()

    positions = positions_of(dots)
    assert np.array_equal(match.positions[dots != 0], positions)
    expected = least_squares(positions, data[truth])
    np.testing.assert_allclose(match.matrix, expected, rtol=0, atol=1e-8)
    residuals = data[truth] - (positions @ expected[:, :2].T + expected[:, 2])
    np.testing.assert_allclose(match.residuals[dots != 0], residuals, rtol=0, atol=1e-8)
    assert np.isnan(match.residuals[dots == 0]).all()
    assert match.distances.shape == dots.shape
    assert match.fit_error == pytest.approx(np.sqrt((residuals**2).sum(axis=1).mean()), abs=1e-8)
    np.testing.assert_allclose(match.apply((0.5, 2.0)), expected @ (0.5, 2.0, 1.0), atol=1e-8)
    there_and_back = match.inverse_matrix @ np.append(match.apply((4, 3)), 1.0)
    np.testing.assert_allclose(there_and_back, (4, 3), atol=1e-9)
    assert match.rotation_deg == pytest.approx(degrees, abs=0.3)
    assert match.scale == pytest.approx(1.04, abs=0.005)


@pytest.mark.parametrize("dots", [plate(), few_dots()], ids=["dense", "sparse"])
def test_matrix_and_pose_mean_the_same_of_dense_and_sparse_patterns(dots: Any) -> None:
    data, _ = scene(dots, 10.0, 1.1)
    match = best_of(GridMatcher.train(dots, XV, YV, origin=ORIGIN).match(data))
    steps = 1.1 * turned([XV, YV], 10.0)
    np.testing.assert_allclose(match.matrix, np.column_stack([*steps, (400, 300)]), atol=1e-8)
    pose = 1.1 * turned(np.eye(2), 10.0).T
    np.testing.assert_allclose(match.pose, np.column_stack([pose, (400, 300)]), atol=1e-8)
    assert match.rotation_deg == pytest.approx(10.0)
    assert match.scale == pytest.approx(1.1)
    # The library's own transform is the one of a dense pattern, the other of a sparse one.
    xform = match.result.modelToDataXform()
    own = np.column_stack([xform.matrix(), xform.trans()])
    np.testing.assert_allclose(own, match.pose if len(dots) == 6 else match.matrix, atol=1e-8)


def test_missing_dots_lower_the_coverage() -> None:
    dots = plate()
    data, truth = scene(dots)
    gone = truth[[3, 17, 30]]
    left = np.delete(data, gone, axis=0)
    match = best_of(GridMatcher.train(dots, XV, YV).match(left))
    assert match.coverage == 41 / 44
    assert np.count_nonzero(match.matched) == 41
    assert not GridMatcher.train(dots, XV, YV).match(left, min_coverage=1.0)


def test_min_coverage_is_rounded_down_to_whole_dots() -> None:
    dots = np.ones((4, 6))
    data, truth = scene(dots)
    left = np.delete(data, truth[[0, 23]], axis=0)
    matcher = GridMatcher.train(dots, XV, YV)
    assert best_of(matcher.match(left, min_coverage=0.95)).coverage == 22 / 24
    assert not matcher.match(left, min_coverage=0.96)
    assert not matcher.match(left, min_coverage=0.04)


def test_the_next_best_is_the_pattern_moved_by_a_step() -> None:
    dots = np.ones((4, 6))
    data, _ = scene(dots)
    found = GridMatcher.train(dots, XV, YV, origin=ORIGIN).match(data, max_results=3)
    assert [round(match.coverage * 24) for match in found] == [24, 20, 20]
    assert found[1].coverage == found[1:][0].coverage
    shifts = [np.abs(np.round(match.inverse_matrix @ (400, 300, 1))) for match in found]
    assert [shift.sum() for shift in shifts] == [0, 1, 1]


def test_a_step_of_exact_length_is_what_scale_0_accepts() -> None:
    positions = lattice(6, 5)
    matcher = GridMatcher.train(np.ones((5, 6)), (32, 0), (0, 32))
    assert matcher.match(32 * positions, scale=(0, 0))
    assert not matcher.match(32.01 * positions, scale=(0, 0))
    assert matcher.match(32.01 * positions)


def test_capture_range_is_the_largest_distance_from_a_node() -> None:
    dots = plate()
    data, truth = scene(dots)
    data[truth[20]] += (0.0, 3.0)
    matcher = GridMatcher.train(dots, XV, YV)
    assert best_of(matcher.match(data)).coverage == 1.0
    assert best_of(matcher.match(data, capture_range=2.0)).coverage == 43 / 44


def test_of_two_points_at_one_node_the_later_is_matched_and_both_count_in_the_matrix() -> None:
    dots = plate()
    data, truth = scene(dots)
    beside = data[truth[10]] + (2.0, 0.0)
    match = best_of(GridMatcher.train(dots, XV, YV, origin=ORIGIN).match([*data, beside]))
    assert match.grid_to_data[match.pattern][10] == len(data)
    positions = positions_of(dots)
    both = np.concatenate([positions, positions[10:11]]), np.concatenate([data[truth], [beside]])
    np.testing.assert_allclose(match.matrix, least_squares(*both), rtol=0, atol=1e-8)


@pytest.mark.parametrize("degrees", [-95.0, -40.0, 0.0, 45.0, 90.0, 170.0])
def test_sparse_dots_are_found_at_the_rotation_that_was_asked_for(degrees: float) -> None:
    dots = few_dots()
    data, truth = scene(dots, degrees, 0.95, clutter=15)
    matcher = GridMatcher.train(dots, XV, YV, origin=ORIGIN)
    assert matcher.sparse
    around = (degrees - 10.0, degrees + 10.0)
    for rotation in (around, "full"):
        match = best_of(matcher.match(data, rotation=rotation, min_coverage=0.9))
        assert match.coverage == 1.0
        assert match.rotation_deg == pytest.approx(degrees)
        assert np.array_equal(match.grid_to_data[match.pattern], truth)
        assert match.fit_error < 1e-9
    for turn in (-30.0, 30.0):
        elsewhere = (around[0] + turn, around[1] + turn)
        assert not matcher.match(data, rotation=elsewhere, min_coverage=0.9)


def test_an_empty_rim_is_cut_off() -> None:
    for dots in (few_dots(), np.pad(plate(), ((2, 0), (3, 1)))):
        matcher = GridMatcher.train(dots, XV, YV, origin=ORIGIN)
        assert matcher.origin == (0, 4)
        assert matcher.pattern.shape == (6, 8 if len(matcher) > 5 else 7)
        assert np.array_equal(matcher.positions[matcher.pattern], positions_of(dots))
        data, truth = scene(dots)
        match = best_of(matcher.match(data))
        assert np.array_equal(match.grid_to_data[match.pattern], truth)
        assert np.array_equal(match.positions, matcher.positions)


def is_sparse(dots: Any) -> tuple[bool, bool]:
    """Staggered and sparse, place by place."""
    places = {tuple(place) for place in positions_of(dots).tolist()}

    def most(sides: Any) -> int:
        return max(sum((i + a, j + b) in places for a, b in sides) for i, j in places)

    straight = [(1, 0), (-1, 0), (0, 1), (0, -1)]
    staggered = most(straight) == 0
    oblique = [(1, 1), (1, -1), (-1, 1), (-1, -1)]
    return staggered, len(places) < 10 or most(oblique if staggered else straight) < 2


def test_the_kind_of_a_pattern() -> None:
    random = np.random.default_rng(2)
    kinds = set()
    for share in (0.02, 0.05, 0.1, 0.2, 0.6):
        for size in (4, 7, 20):
            for kept in (1, np.indices((size, size)).sum(axis=0) % 2 == 0):
                dots = (random.random((size, size)) < share) * kept
                if np.count_nonzero(dots) < 3:
                    continue
                matcher = GridMatcher.train(dots, XV, YV)
                kinds.add((matcher.staggered, matcher.sparse))
                assert (matcher.staggered, matcher.sparse) == is_sparse(dots)
    assert len(kinds) == 4
    assert repr(GridMatcher.train(few_dots(), XV, YV)) == (
        "<GridMatcher of 5 dots in 6 rows and 7 columns, staggered, sparse>"
    )


def test_what_was_trained_is_told() -> None:
    matcher = GridMatcher.train(plate(), XV, YV, origin=ORIGIN)
    assert len(matcher) == 44
    assert np.array_equal(matcher.pattern, plate() != 0)
    assert matcher.pattern.dtype == np.bool_
    assert matcher.origin == ORIGIN
    assert matcher.xv.tolist() == list(XV)
    assert matcher.yv.tolist() == list(YV)
    assert (matcher.staggered, matcher.sparse) == (False, False)
    assert matcher.core.trainMode() == ptmatch.rxPointMatcherDefs.ePointToGrid
    assert repr(matcher) == "<GridMatcher of 44 dots in 6 rows and 8 columns>"
    for other in (plate().astype(bool), plate().tolist(), -0.5 * plate(), plate().astype(np.uint8)):
        assert GridMatcher.train(other, XV, YV, origin=ORIGIN) == matcher
    with pytest.raises(ValueError, match="read-only"):
        matcher.pattern[0, 0] = False


@pytest.mark.parametrize(
    ("arguments", "error", "message"),
    [
        (
            {"pattern": np.ones(5)},
            ValueError,
            "pattern: expected an array of shape (rows, columns), got shape (5,)",
        ),
        ({"pattern": [[1.0, np.nan]]}, ValueError, "pattern: expected numbers, got nan at [0, 1]"),
        ({"pattern": [["x"]]}, TypeError, "pattern: expected real numbers, got an array of <U1"),
        (
            {"pattern": np.ma.masked_equal(plate(), 0)},
            TypeError,
            "pattern: expected real numbers, got a masked array; choose the points with a mask of "
            "your own first",
        ),
        (
            {"pattern": np.eye(2)},
            ptmatch.InsufficientModelPoints,
            "pattern: expected at least 3 dots, got 2",
        ),
        (
            {"pattern": np.zeros((0, 4))},
            ptmatch.InsufficientModelPoints,
            "pattern: expected at least 3 dots, got 0",
        ),
        ({"xv": 25.0}, ValueError, "xv: expected a pair of numbers, got 25.0"),
        (
            {"yv": (50, 2)},
            ValueError,
            "xv, yv: expected steps that are not parallel, got (25.0, 1.0) and (50.0, 2.0)",
        ),
        (
            {"origin": (0, 0.5)},
            ValueError,
            "origin: expected a pair of whole numbers of 32 bits, got (0, 0.5)",
        ),
        (
            {"origin": (2**31, 0)},
            ValueError,
            "origin: expected a pair of whole numbers of 32 bits, got (2147483648, 0)",
        ),
    ],
)
def test_what_makes_no_pattern_is_refused(arguments: Any, error: Any, message: str) -> None:
    with pytest.raises(error) as raised:
        GridMatcher.train(**{"pattern": plate(), "xv": XV, "yv": YV, **arguments})
    assert str(raised.value) == message


def test_what_the_library_refuses_is_its_own_error() -> None:
    with pytest.raises(ptmatch.BadParams) as raised:
        GridMatcher.train(plate(), (np.nan, 0), YV)
    assert str(raised.value) == "The transform of the training image must be finite"
    with pytest.raises(ptmatch.ImageError):
        GridMatcher.train(plate(), XV, YV, origin=(2**31 - 2, 0))
    matcher = GridMatcher.train(plate(), XV, YV)
    with pytest.raises(ptmatch.BadParams):
        matcher.match([(0, 0)], min_coverage=1.5)
    with pytest.raises(ValueError) as shape:
        matcher.match(np.zeros((4, 3)))
    assert str(shape.value) == "data: expected an array of shape (n, 2), got shape (4, 3)"
    with pytest.raises(ptmatch.NotTrained) as points:
        GridMatcher(ptmatch.Matcher.train([(0, 0), (1, 0), (0, 1)]).core)
    assert str(points.value) == "the matcher is not trained on a grid pattern"
    with pytest.raises(ptmatch.NotTrained):
        GridMatcher(ptmatch.rxPointMatcher())


def test_nothing_found_is_an_empty_sequence() -> None:
    matcher = GridMatcher.train(plate(), XV, YV)
    for data in ([], [(1, 2)], np.random.default_rng(1).uniform(0, 1000, (50, 2))):
        found = matcher.match(data)
        assert not found and len(found) == 0 and found.best is None
        assert found.params.scaleUncertainty() == ptmatch.rxRange(-0.2, 0.2)


def test_a_run_is_told_of_and_may_be_limited() -> None:
    told: list[float] = []
    data, _ = scene(plate())
    assert GridMatcher.train(plate(), XV, YV).match(data, progress=told.append, time_limit=60)
    assert told == [1.0]
    sparse = GridMatcher.train(few_dots(), XV, YV)
    with pytest.raises(ptmatch.DeadlinePassed):
        sparse.match(
            np.random.default_rng(1).uniform(0, 3000, (3000, 2)),
            rotation="full",
            grid_size=0.5,
            time_limit=0.05,
        )


def found_by(matcher: GridMatcher, data: NDArray[np.float64]) -> GridMatches:
    return matcher.match(data, max_results=2)


@pytest.mark.parametrize("dots", [plate(), few_dots()], ids=["dense", "sparse"])
def test_everything_travels_copies_and_compares(dots: Any, tmp_path: pathlib.Path) -> None:
    matcher = GridMatcher.train(dots, XV, YV, origin=ORIGIN)
    data, _ = scene(dots, 5.0)
    here = found_by(matcher, data)
    assert here
    with ProcessPoolExecutor(1) as pool:
        assert pool.submit(found_by, matcher, data).result() == here
    with ThreadPoolExecutor(4) as threads:
        side_by_side = list(threads.map(lambda _: found_by(matcher, data), range(4)))
    assert side_by_side == [here] * 4

    matcher.save(tmp_path / "plate.ptm")
    for same in (
        pickle.loads(pickle.dumps(matcher)),
        copy.copy(matcher),
        copy.deepcopy(matcher),
        GridMatcher.from_bytes(matcher.to_bytes()),
        GridMatcher.load(tmp_path / "plate.ptm"),
    ):
        assert same == matcher
        assert same.origin == matcher.origin
        assert found_by(same, data) == here
    assert matcher != GridMatcher.train(dots, XV, YV)
    assert matcher != "a matcher"

    match = best_of(here)
    for other in (pickle.loads(pickle.dumps(match)), copy.copy(match), copy.deepcopy(match)):
        assert other == match
        assert np.array_equal(other.matrix, match.matrix)
        with pytest.raises(ValueError, match="read-only"):
            other.grid_to_data[0, 0] = 0
    assert match != best_of(found_by(matcher, data + 1.0))
    assert pickle.loads(pickle.dumps(here)) == here


def test_records_of_other_things_are_refused() -> None:
    with pytest.raises(ptmatch.NotTrained):
        GridMatcher.from_bytes(ptmatch.Matcher.train([(0, 0), (1, 0), (0, 1)]).to_bytes())
    record = GridMatcher.train(plate(), XV, YV).to_bytes()
    for damaged in (b"", record[:-1], record + b"?"):
        with pytest.raises(ptmatch.ArchiveError):
            GridMatcher.from_bytes(damaged)


def test_other_threads_advance_during_a_search() -> None:
    matcher = GridMatcher.train(np.ones((40, 40)), (25, 0), (0, 25))
    data = 25 * lattice(180, 180)
    params, found = ptmatch.rxPointMatcherRunParams(), ptmatch.rxPointMatcherResultSet()
    params.scaleUncertainty(ptmatch.rxRange(-0.2, 0.2))
    assert advances_during(lambda: matcher.core.run(data, params, found))
    assert found.results()


def test_positions_of_a_result_are_asked_for_one_by_one_or_together() -> None:
    data, _ = scene(plate())
    match = best_of(GridMatcher.train(plate(), XV, YV, origin=ORIGIN).match(data))
    places = match.positions.reshape(-1, 2)
    together = match.result.gridToDataMap(places)
    assert (together.dtype, together.shape) == (np.int64, (48,))
    assert together.tolist() == [match.result.gridToDataMap(tuple(p)) for p in places.tolist()]
    with pytest.raises(ptmatch.ImageError):
        match.result.gridToDataMap([(0, 2), (100, 0)])


# --- the command-line tool -----------------------------------------------------------------------


def tool() -> str:
    """The tool of the same build, or the one that PTMATCH_TOOL names."""
    built = pathlib.Path(ptmatch.__file__).parents[2] / "tool" / "ptmatch"
    path = os.environ.get("PTMATCH_TOOL", str(built))
    if not pathlib.Path(path).is_file():
        pytest.skip(f"there is no tool in {path}")
    return path


def staggered_pattern(path: pathlib.Path) -> NDArray[np.bool_]:
    return np.array([[c == "x" for c in line] for line in path.read_text().split()])


def test_the_tool_and_this_package_write_the_same_file(
    data: pathlib.Path, tmp_path: pathlib.Path
) -> None:
    pattern = data / "dots_staggered" / "pattern.txt"
    steps = ["--xv", "18,3.2", "--yv=-4,16.6"]
    arguments = ["train", "--pattern", str(pattern), *steps, "--out", str(tmp_path / "tool.ptm")]
    subprocess.run([tool(), *arguments], check=True, capture_output=True)
    matcher = GridMatcher.train(staggered_pattern(pattern), (18, 3.2), (-4, 16.6))
    matcher.save(tmp_path / "python.ptm")
    assert (tmp_path / "tool.ptm").read_bytes() == (tmp_path / "python.ptm").read_bytes()
    assert GridMatcher.load(tmp_path / "tool.ptm") == matcher

    points = data / "dots_staggered" / "data.csv"
    arguments = ["grid-match", "--pattern", str(tmp_path / "python.ptm"), "--data", str(points)]
    told = subprocess.run([tool(), *arguments], check=True, capture_output=True, text=True)
    assert "25 set, staggered, 85 data points: 1 placement found" in told.stdout


# --- measured dots -------------------------------------------------------------------------------


def check_against(truth: dict[str, Any], match: GridMatch, at_least: int) -> None:
    """Each matched place has the data point that lies there."""
    index = np.flatnonzero(truth["is_dot"])
    where = {tuple(place): k for place, k in zip(truth["places"].tolist(), index.tolist())}
    for place, k in zip(match.positions.reshape(-1, 2).tolist(), match.grid_to_data.ravel()):
        assert k == -1 or where[tuple(place)] == k
    assert np.count_nonzero(match.matched) >= at_least


def dots_of(truth: dict[str, Any]) -> NDArray[np.bool_]:
    dots = np.zeros((truth["rows"], truth["cols"] + 1), dtype=bool)
    dots[truth["places"][:, 1], truth["places"][:, 0]] = True
    return dots


def test_the_staggered_sheet_before_a_bookshelf(data: pathlib.Path) -> None:
    points, truth = measured(data / "dots_staggered")
    pattern = staggered_pattern(data / "dots_staggered" / "pattern.txt")
    # Columns of the sheet are counted from 1.
    matcher = GridMatcher.train(pattern, truth["xv_centre"], truth["yv_centre"], origin=(1, 0))
    assert (matcher.staggered, len(matcher)) == (True, 25)
    # Beside one dot there is a blob of the shelf, 4.6 px away, about as far as the automatic range.
    match = best_of(matcher.match(points, min_coverage=0.9, capture_range=4))
    assert match.coverage == 1.0
    check_against(truth, match, 25)
    assert match.fit_error == pytest.approx(truth["affine_rms_px"], abs=0.01)


@pytest.mark.parametrize(
    ("name", "least"), [("marks3_a", 77), ("stag27_09", 25), ("sym7x7_10", 48), ("colony_a", 1200)]
)
def test_more_measured_plates(shared_data: pathlib.Path, name: str, least: int) -> None:
    points, truth = measured(shared_data / "grids" / name)
    matcher = GridMatcher.train(dots_of(truth), truth["xv_centre"], truth["yv_centre"])
    match = best_of(matcher.match(points))
    check_against(truth, match, least)


def test_an_empty_rim_of_a_core_does_not_shift_a_sparse_pattern(tmp_path: pathlib.Path) -> None:
    dots = few_dots()
    data, truth = scene(dots)
    core = ptmatch.rxPointMatcher()
    steps = ptmatch.rxXform(np.column_stack([XV, YV]), (0.0, 0.0))
    core.train(ptmatch.rxPelBuffer(dots != 0, ORIGIN, steps))
    file = tmp_path / "rim"
    file.write_bytes(core.to_bytes())
    made = GridMatcher(core)
    trained = GridMatcher.train(dots, XV, YV, origin=ORIGIN)
    expected = best_of(trained.match(data)).apply(positions_of(dots))
    np.testing.assert_allclose(expected, data[truth], rtol=0, atol=1e-6)
    for matcher in (
        made,
        GridMatcher.from_bytes(core.to_bytes()),
        GridMatcher.load(file),
        pickle.loads(pickle.dumps(made)),
    ):
        assert matcher.origin == trained.origin
        found = best_of(matcher.match(data))
        assert np.array_equal(found.grid_to_data[found.pattern], truth)
        np.testing.assert_allclose(found.apply(positions_of(dots)), expected, rtol=0, atol=1e-6)


def test_hostile_arguments_of_a_search_are_refused() -> None:
    data, _ = scene(plate())
    matcher = GridMatcher.train(plate(), XV, YV)
    with pytest.raises(ValueError, match="capture_range: expected a number above 0"):
        matcher.match(data, capture_range=0)
    with pytest.raises(TypeError, match="data: .*masked"):
        matcher.match([np.ma.array(point, mask=(True, False)) for point in data])
    match = best_of(matcher.match(data))
    for array in (match.grid_to_data, match.data_points, match.positions, match.pattern):
        with pytest.raises(ValueError, match="WRITEABLE"):
            array.setflags(write=True)
    assert np.isnan(match.apply([(ptmatch.UNASSIGNED, ptmatch.UNASSIGNED), (0, 0)])).tolist() == [
        [True, True],
        [False, False],
    ]
    assert match.__eq__(1) is NotImplemented and matcher.__eq__(1) is NotImplemented


def test_the_matcher_of_the_library_may_be_trained_anew() -> None:
    core = copy.copy(GridMatcher.train(plate(), (25, 0), (0, 25)).core)
    matcher = GridMatcher(core)
    before = matcher.to_bytes()
    core.untrain()
    assert matcher.to_bytes() == before


def test_a_pattern_in_place_of_a_matcher_is_told_where_to_go() -> None:
    with pytest.raises(TypeError, match=r"for a pattern use GridMatcher.train\(pattern\)"):
        GridMatcher(plate())  # type: ignore[arg-type]
