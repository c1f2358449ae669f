"""What the pictures show: the artists, where they lie, what titles and legends say."""

from __future__ import annotations

import json
import pathlib
import re
import subprocess
import sys
from collections.abc import Iterator
from types import SimpleNamespace
from typing import Any

import matplotlib
import numpy as np
import pytest
from matplotlib import pyplot
from matplotlib.collections import LineCollection
from matplotlib.figure import Figure
from matplotlib.quiver import Quiver

import ptmatch
from ptmatch import plot

matplotlib.use("Agg")

DATA = pathlib.Path(__file__).resolve().parents[2] / "data"


def load(name: str) -> Any:
    return np.loadtxt(DATA / name, delimiter=",", skiprows=1)


@pytest.fixture(autouse=True)
def no_figures_left() -> Iterator[None]:
    yield
    pyplot.close("all")


@pytest.fixture(scope="module")
def dots() -> Any:
    return load("demo_pick/data.csv")


@pytest.fixture(scope="module")
def card() -> ptmatch.Matcher:
    return ptmatch.Matcher.train(load("demo_pick/model.csv"))


@pytest.fixture(scope="module")
def card_found(card: ptmatch.Matcher, dots: Any) -> ptmatch.Match:
    best = card.match(dots).best
    assert best is not None
    return best


@pytest.fixture(scope="module")
def plate() -> Any:
    """The 7 x 7 dots of a board, and four points between its nodes."""
    truth = json.loads((DATA / "dots7x7" / "truth.json").read_text())
    is_dot = [position is not None for position in truth["grid"]]
    dots = load("dots7x7/data.csv")[is_dot]
    steps = np.array([truth["xv"], truth["yv"]])
    between = truth["origin"] + np.array([(0.5, 0.5), (2.5, 1.5), (4.5, 4.5), (1.5, 5.5)]) @ steps
    found = ptmatch.grid_map(np.concatenate([dots, between]), steps[0], steps[1])
    assert found.num_assigned == 49
    return found


def drawn(ax: Any, label: str) -> Any:
    """The points of the line or collection whose label begins like this."""
    for line in ax.lines:
        if line.get_label().startswith(label):
            return line.get_xydata()
    for collection in ax.collections:
        if collection.get_label().startswith(label):
            return np.array(collection.get_segments())
    raise AssertionError(f"nothing is labelled {label}")


def only(ax: Any, kind: type) -> Any:
    found = [child for child in ax.get_children() if isinstance(child, kind)]
    assert len(found) == 1
    return found[0]


def factor_in_legend(ax: Any) -> float:
    texts = [text.get_text() for text in ax.get_legend().get_texts()]
    stated = [re.search(r"drawn ([\d.e+]+)×", text) for text in texts]
    return next((float(match[1]) for match in stated if match), 1.0)


def texts_on(ax: Any) -> list[str]:
    return [text.get_text() for text in ax.texts]


# A match -------------------------------------------------------------------------------------------


def test_match_draws_each_point_once_and_where_it_lies(card_found: Any, dots: Any) -> None:
    ax = plot.match(card_found, dots)
    taken = np.sort(card_found.model_to_data)
    np.testing.assert_array_equal(drawn(ax, "data point with a partner (30)"), dots[taken])
    free = np.delete(dots, taken, axis=0)
    np.testing.assert_array_equal(drawn(ax, "data point, free (256)"), free)
    np.testing.assert_array_equal(
        drawn(ax, "model point with a partner (30)"), card_found.apply(card_found.model_points)
    )
    assert len(drawn(ax, "model point without (0)")) == 0


def test_match_links_circles_with_their_partners(card_found: Any, dots: Any) -> None:
    ax = plot.match(card_found, dots, scale=1)
    links = drawn(ax, "error")
    assert links.shape == (30, 2, 2)
    np.testing.assert_allclose(links[:, 0], card_found.apply(card_found.model_points))
    np.testing.assert_allclose(links[:, 1], card_found.data_points)


def test_match_draws_links_longer_by_the_factor_that_the_legend_tells(
    card_found: Any, dots: Any
) -> None:
    ax = plot.match(card_found, dots)
    factor = factor_in_legend(ax)
    assert factor in (2, 5, 10, 20)
    links = drawn(ax, "error")
    np.testing.assert_allclose(links[:, 1] - links[:, 0], factor * card_found.residuals)
    asked = plot.match(card_found, dots, scale=7)
    assert factor_in_legend(asked) == 7
    links = drawn(asked, "error")
    np.testing.assert_allclose(links[:, 1] - links[:, 0], 7 * card_found.residuals)


def test_match_crosses_model_points_without_a_partner(card: Any, dots: Any) -> None:
    whole = card.match(dots).best
    hidden = whole.model_to_data[[3, 11, 20]]
    seen = np.delete(dots, hidden, axis=0)
    found = card.match(seen).best
    lost = ~found.matched
    assert lost[[3, 11, 20]].all()
    ax = plot.match(found, seen)
    crosses = drawn(ax, f"model point without ({lost.sum()})")
    np.testing.assert_allclose(crosses, found.apply(found.model_points[lost]))
    assert len(drawn(ax, "error")) == 30 - lost.sum()
    assert ax.get_title("left").startswith(f"{30 - lost.sum()} of 30 points found\n")


def test_match_title_tells_pose_and_error(card_found: Any, dots: Any) -> None:
    ax = plot.match(card_found, dots)
    assert ax.get_title("left") == (
        "30 of 30 points found\nturned by -5.335°, scale 1.0078, fit error 1.79"
    )


def test_match_outlines_the_model_unless_told_not_to(card_found: Any, dots: Any) -> None:
    corners = plot.match(card_found, dots).patches[0].get_xy()
    placed = card_found.apply(card_found.model_points)
    on_hull = [bool(np.isclose(placed, corner).all(axis=1).any()) for corner in corners]
    assert all(on_hull)
    # Every point is on the same side of every edge.
    edges, to_points = np.diff(corners, axis=0), placed[:, np.newaxis] - corners[:-1]
    sides = edges[:, 0] * to_points[..., 1] - edges[:, 1] * to_points[..., 0]
    assert (sides > -1e-6).all()
    assert not plot.match(card_found, dots, outline=False).patches


def test_match_of_none_draws_the_data_alone(dots: Any) -> None:
    ax = plot.match(None, dots)
    assert ax.get_title("left") == "nothing found"
    np.testing.assert_array_equal(drawn(ax, "data point, free (286)"), dots)
    assert len(ax.lines) == 1 and not ax.collections


def test_all_that_is_drawn_lies_inside_the_axes(card_found: Any, dots: Any) -> None:
    for ax in (plot.match(card_found, dots, scale=50), plot.residuals(card_found, scale=50)):
        placed = card_found.apply(card_found.model_points)
        tips = placed + 50 * card_found.residuals
        (left, right), (bottom, top) = sorted(ax.get_xlim()), sorted(ax.get_ylim())
        assert left < min(placed[:, 0].min(), tips[:, 0].min())
        assert right > max(placed[:, 0].max(), tips[:, 0].max())
        assert bottom < min(placed[:, 1].min(), tips[:, 1].min())
        assert top > max(placed[:, 1].max(), tips[:, 1].max())


def test_match_refuses_data_that_were_not_searched(card_found: Any, dots: Any) -> None:
    with pytest.raises(ValueError, match="data: expected the points that were searched, got others"):
        plot.match(card_found, dots[::-1])
    with pytest.raises(ValueError, match=r"more than \d+, got 40"):
        plot.match(card_found, dots[:40])
    with pytest.raises(ValueError, match=r"data: expected an array of shape \(n, 2\), got \(3, 3\)"):
        plot.match(card_found, np.zeros((3, 3)))
    with pytest.raises(ValueError, match="data: expected finite numbers"):
        plot.match(card_found, np.where(dots == dots[5], np.nan, dots))
    with pytest.raises(TypeError, match="data: expected real numbers"):
        plot.match(card_found, [["a", "b"]])
    assert pyplot.get_fignums() == []


@pytest.mark.parametrize("scale", [0, -2, float("nan"), float("inf")])
def test_scale_has_to_be_above_0(card_found: Any, dots: Any, scale: float) -> None:
    with pytest.raises(ValueError, match="scale: expected a number above 0"):
        plot.match(card_found, dots, scale=scale)
    with pytest.raises(ValueError, match="scale: expected a number above 0"):
        plot.residuals(card_found, scale=scale)


def test_objects_of_another_kind_are_refused(card: Any, card_found: Any, dots: Any) -> None:
    with pytest.raises(TypeError, match="found.best.*, got Matches"):
        plot.match(card.match(dots), dots)
    with pytest.raises(TypeError, match="expected a GridMap, got Match"):
        plot.grid(card_found)
    with pytest.raises(TypeError, match="expected a Match, a GridMatch, a Transform or a GridMap, got float"):
        plot.residuals(1.0)  # type: ignore[arg-type]
    with pytest.raises(TypeError, match="expected an rxVoteImage, got ndarray"):
        plot.votes(dots)
    with pytest.raises(TypeError, match="ax: expected matplotlib axes, got Figure"):
        plot.match(card_found, dots, Figure())


# The manner of all pictures -------------------------------------------------------------------------


def test_axes_are_equal_downwards_and_quiet(card_found: Any, dots: Any, plate: Any) -> None:
    for ax in (plot.match(card_found, dots), plot.residuals(card_found), plot.grid(plate)):
        assert ax.get_aspect() == 1
        assert ax.yaxis_inverted()
        assert not ax.spines["top"].get_visible() and not ax.spines["right"].get_visible()


def test_y_points_up_when_asked_and_stays_down_when_drawn_twice(card_found: Any, dots: Any) -> None:
    assert not plot.match(card_found, dots, y_down=False).yaxis_inverted()
    ax = plot.match(card_found, dots)
    assert plot.residuals(card_found, ax).yaxis_inverted()


def test_legend_stands_outside_and_on_the_page(card_found: Any, dots: Any) -> None:
    ax = plot.match(card_found, dots)
    ax.figure.canvas.draw()
    legend = ax.get_legend().get_window_extent()
    assert legend.x0 > ax.get_window_extent().x1
    assert legend.x1 < ax.figure.bbox.x1
    assert plot.match(card_found, dots, legend=False).get_legend() is None


def test_axes_that_are_given_are_drawn_into_and_returned(card_found: Any, dots: Any) -> None:
    ax = Figure().add_subplot()
    assert plot.match(card_found, dots, ax) is ax
    assert pyplot.get_fignums() == []
    new = plot.match(card_found, dots)
    assert pyplot.get_fignums() == [new.figure.number]


def test_matplotlib_is_imported_with_plot_and_pyplot_when_a_figure_is_to_be_made() -> None:
    program = """
import sys
import ptmatch
assert "matplotlib" not in sys.modules
import ptmatch.plot
from matplotlib.figure import Figure
ptmatch.plot.match(None, [[0, 0], [1, 2]], Figure().add_subplot())
assert "matplotlib.pyplot" not in sys.modules
ptmatch.plot.match(None, [[0, 0], [1, 2]])
assert "matplotlib.pyplot" in sys.modules
"""
    strict = ["-X", "dev", "-W", "error"]
    subprocess.run([sys.executable, *strict, "-c", program], check=True, timeout=60)


# A grid --------------------------------------------------------------------------------------------


def test_grid_draws_points_with_and_without_positions(plate: Any) -> None:
    ax = plot.grid(plate)
    np.testing.assert_array_equal(
        drawn(ax, "point with a position (49)"), plate.points[plate.assigned]
    )
    np.testing.assert_array_equal(
        drawn(ax, "point without a position (4)"), plate.points[~plate.assigned]
    )
    (i, j), (last_i, last_j) = plate.positions[:49].min(axis=0), plate.positions[:49].max(axis=0)
    assert (last_i - i, last_j - j) == (6, 6)
    title = f"49 of 53 points on the grid\ncolumns i {i} to {last_i}, rows j {j} to {last_j}"
    assert ax.get_title("left") == title


def test_grid_joins_neighbours_and_no_others(plate: Any) -> None:
    position = {tuple(p): tuple(ij) for p, ij in zip(plate.points.tolist(), plate.positions.tolist())}
    segments = only(plot.grid(plate), LineCollection).get_segments()
    assert len(segments) == 2 * 7 * 6
    joined = {(position[tuple(a)], position[tuple(b)]) for a, b in segments}
    assert len(joined) == 2 * 7 * 6
    assert {(c[0] - a[0], c[1] - a[1]) for a, c in joined} == {(1, 0), (0, 1)}


def test_staggered_grid_is_joined_along_diagonals() -> None:
    rows = [(i, j) for j in range(6) for i in range(7) if (i + j) % 2 == 0]
    points = np.array([(20 * i + 3 * j, 18 * j) for i, j in rows], dtype=float)
    sheet = ptmatch.grid_map(points, (20, 0), (3, 18), staggered=True)
    assert sheet.num_assigned == len(rows)
    segments = only(plot.grid(sheet), LineCollection).get_segments()
    assert len(segments) == 6 * 5  # one in each cell of 7 x 6 positions
    for a, b in segments:
        assert abs(b[1] - a[1]) == pytest.approx(18)


@pytest.mark.parametrize("label_every", [None, 1, 2, 3, 10])
def test_grid_numbers_columns_and_rows(plate: Any, label_every: int | None) -> None:
    ax = plot.grid(plate, label_every=label_every)
    expected = ["", "", "i", "j"]  # the arrows and their names
    for low in plate.positions[:49].min(axis=0):
        expected += [str(n) for n in range(low, low + 7) if n % (label_every or 1) == 0]
    assert sorted(texts_on(ax)) == sorted(expected)


def test_grid_numbers_nothing_when_told_so(plate: Any) -> None:
    assert sorted(texts_on(plot.grid(plate, label_every=0))) == ["", "", "i", "j"]


def test_numbers_stand_at_their_nodes(plate: Any) -> None:
    ax = plot.grid(plate)
    at = {tuple(p): tuple(ij) for p, ij in zip(plate.points.tolist(), plate.positions.tolist())}
    low = plate.positions[:49].min(axis=0)
    for colour, axis in (("#e6550d", 0), ("#00795c", 1)):
        numbers = [t for t in ax.texts if t.get_color() == colour and t.get_text() not in "ij"]
        assert len(numbers) == 7
        for text in numbers:
            node = at[tuple(text.xy)]
            assert node[axis] == int(text.get_text())
            assert node[1 - axis] == low[1 - axis]


def test_numbers_are_thinned_out_until_they_do_not_touch() -> None:
    points = [(10.0 * i, 10.0 * j) for j in range(4) for i in range(120)]
    ax = plot.grid(ptmatch.grid_map(points, (10, 0), (0, 10)))
    ax.figure.canvas.draw()
    columns = [text for text in ax.texts if text.get_text().isdigit() and text.xy[1] == 0]
    numbers = sorted({int(text.get_text()) for text in columns})
    assert len(numbers) >= 8 and numbers[:2] == [0, numbers[1]]
    boxes = [text.get_window_extent() for text in columns if text.get_color() == "#e6550d"]
    boxes.sort(key=lambda box: box.x0)
    assert all(a.x1 < b.x0 for a, b in zip(boxes, boxes[1:]))


def test_points_without_a_grid_are_drawn_grey() -> None:
    points = np.array([[0.0, 0.0], [10.0, 0.0]])
    ax = plot.grid(ptmatch.grid_map(points, (300, 0), (0, 300)))
    assert ax.get_title("left") == "no grid found"
    np.testing.assert_array_equal(drawn(ax, "point without a position (2)"), points)


def test_label_every_is_not_below_0(plate: Any) -> None:
    with pytest.raises(ValueError, match="label_every: expected 0 or more, got -1"):
        plot.grid(plate, label_every=-1)


# A pattern on a grid -------------------------------------------------------------------------------


@pytest.fixture(scope="module")
def sheet_found() -> Any:
    lines = (DATA / "dots_staggered" / "pattern.txt").read_text().split()
    pattern = np.array([[sign == "x" for sign in line] for line in lines])
    # Columns and rows are half the diagonals of the staggered dots.
    sheet = ptmatch.GridMatcher.train(pattern, (18, 3), (-4, 17))
    best = sheet.match(load("dots_staggered/data.csv")).best
    assert best is not None
    return best


def test_match_draws_the_dots_of_a_grid_pattern(sheet_found: Any) -> None:
    data = load("dots_staggered/data.csv")
    ax = plot.match(sheet_found, data, scale=1)
    placed = sheet_found.apply(sheet_found.positions[sheet_found.pattern])
    np.testing.assert_allclose(drawn(ax, "model point with a partner (25)"), placed)
    links = drawn(ax, "error")
    partners = sheet_found.data_points[sheet_found.pattern]
    np.testing.assert_allclose(links, np.stack([placed, partners], axis=1))
    assert ax.get_title("left").startswith("25 of 25 points found\n")


def test_residuals_of_a_grid_pattern(sheet_found: Any) -> None:
    dots = sheet_found.pattern
    errors = sheet_found.residuals[dots]
    mapped = sheet_found.apply(sheet_found.positions[dots])
    worst = int(np.argmax(sheet_found.distances[dots]))
    check_arrows(plot.residuals(sheet_found), mapped, errors, "residuals", "dot", worst)


# Residuals -----------------------------------------------------------------------------------------


def check_arrows(ax: Any, mapped: Any, errors: Any, what: str, name: str, worst: int) -> None:
    arrows, factor = only(ax, Quiver), factor_in_legend(ax)
    assert arrows.scale == 1 and arrows.scale_units == "xy" and arrows.angles == "xy"
    np.testing.assert_allclose(arrows.XY, mapped, atol=1e-9)
    np.testing.assert_allclose(np.transpose([arrows.U, arrows.V]), factor * errors, atol=1e-9)
    lengths = np.hypot(*np.transpose(errors))
    ring = drawn(ax, "largest residual")
    np.testing.assert_allclose(ring, [mapped[np.argmax(lengths)]])
    title = ax.get_title("left")
    assert title.startswith(f"{what}: rms {np.sqrt(np.mean(lengths ** 2)):.3g}\n")
    assert f"largest {lengths.max():.3g}, {name} {worst}" in title


def test_residuals_of_a_match(card_found: Any) -> None:
    worst = int(np.argmax(card_found.distances))
    mapped = card_found.apply(card_found.model_points)
    check_arrows(
        plot.residuals(card_found), mapped, card_found.residuals, "residuals", "model point", worst
    )


def test_residuals_of_a_match_leave_out_what_has_no_partner(card: Any, dots: Any) -> None:
    whole = card.match(dots).best
    found = card.match(np.delete(dots, whole.model_to_data[:2], axis=0)).best
    seen = found.matched
    assert not seen[:2].any()
    worst = int(np.nanargmax(found.distances))
    mapped = found.apply(found.model_points)[seen]
    check_arrows(plot.residuals(found), mapped, found.residuals[seen], "residuals", "model point", worst)


def test_residuals_of_a_grid(plate: Any) -> None:
    seen = plate.assigned
    mapped = plate.apply(plate.positions[seen])
    worst = int(np.nanargmax(np.hypot(*plate.residuals.T)))
    check_arrows(plot.residuals(plate), mapped, plate.residuals[seen], "grid residuals", "point", worst)


@pytest.mark.parametrize(
    "fit", [ptmatch.fit_rigid, ptmatch.fit_similarity, ptmatch.fit_affine, ptmatch.fit_perspective]
)
def test_residuals_of_a_transform(fit: Any) -> None:
    pairs = load("oblique_plate/pairs.csv")
    a, b = pairs[:, :2], pairs[:, 2:]
    fitted = fit(a, b)
    what = f"{fitted.model} residuals"
    mapped = fitted.apply(a)
    check_arrows(plot.residuals(fitted), mapped, b - mapped, what, "pair", fitted.worst)


def test_arrows_are_drawn_as_long_as_asked() -> None:
    rng = np.random.default_rng(5)
    a = rng.uniform(0, 100, (40, 2))
    fitted = ptmatch.fit_affine(a, a + rng.normal(0, 0.01, a.shape))
    assert factor_in_legend(plot.residuals(fitted, scale=250)) == 250
    # The typical arrow is neither a dot nor as long as the picture.
    factor = factor_in_legend(plot.residuals(fitted))
    assert factor in (200, 500)
    assert 1 < factor * fitted.rms < 8


def test_residuals_of_a_perfect_fit_are_drawn_as_they_are() -> None:
    a = np.array([[0.0, 0.0], [10.0, 0.0], [10.0, 10.0], [0.0, 10.0]])
    ax = plot.residuals(ptmatch.fit_affine(a, 2 * a + 1))
    assert factor_in_legend(ax) == 1
    assert "×" not in ax.get_title("left")


def test_residuals_in_space_are_refused() -> None:
    a = np.random.default_rng(3).uniform(0, 10, (6, 3))
    with pytest.raises(ValueError, match="in the plane, got one in space"):
        plot.residuals(ptmatch.fit_rigid(a, a + 1))


# Votes ---------------------------------------------------------------------------------------------


def image_of(votes: Any, **others: Any) -> Any:
    votes = np.asarray(votes, dtype=np.int32)
    fields = {
        "votes": votes,
        "width": votes.shape[1],
        "height": votes.shape[0],
        "firstStep": (-3, 5),
        "step": 2.0,
        "threshold": 4,
        "highestPossible": 12,
        "isWeighted": False,
        "place": SimpleNamespace(scale=1.05, rotationDegrees=-7.5),
    }
    return SimpleNamespace(**{**fields, **others})


def test_votes_are_drawn_with_the_best_place_ringed() -> None:
    counts = np.arange(20).reshape(4, 5) % 7
    counts[2, 3] = 11
    ax = plot.votes(image_of(counts))
    image = ax.images[0]
    np.testing.assert_array_equal(image.get_array(), counts)
    assert tuple(image.get_extent()) == (-6, 4, 10, 18)
    assert ax.yaxis_inverted()
    # The middle of the element: columns and rows of 2 units, from -6 and 10.
    np.testing.assert_allclose(drawn(ax, "best place"), [[-6 + 3.5 * 2, 10 + 2.5 * 2]])
    assert ax.get_title("left") == (
        "votes at rotation -7.5°, scale 1.05\nbest 11 of 12 at (1, 15), candidates from 4"
    )


def test_equal_votes_beside_each_other_are_ringed_in_their_middle() -> None:
    counts = np.zeros((6, 9), dtype=np.int32)
    counts[1:3, 2:5] = 5
    counts[5, 8] = 5
    ax = plot.votes(image_of(counts))
    np.testing.assert_allclose(drawn(ax, "best place"), [[-6 + 3.5 * 2, 10 + 2 * 2]])


def test_colour_bar_names_the_votes_and_the_threshold() -> None:
    ax = plot.votes(image_of([[0, 3], [9, 1]]))
    bar = ax.figure.axes[-1]
    assert bar.get_ylabel() == "votes: model points on marks, of 12"
    assert [line.get_ydata()[0] for line in bar.lines] == [4]
    weighted = plot.votes(image_of([[0, 3], [2, 1]], isWeighted=True)).figure.axes[-1]
    assert weighted.get_ylabel() == "votes: sum of weights, of 12"
    assert not weighted.lines  # no vote comes up to the threshold


def test_large_vote_images_are_shrunk_without_losing_the_peak() -> None:
    counts = np.zeros((1201, 2503), dtype=np.int32)
    counts[700, 1801] = 9
    ax = plot.votes(image_of(counts))
    shown = ax.images[0].get_array()
    assert shown.shape == (401, 835)
    assert shown.max() == 9 and np.count_nonzero(shown) == 1
    # The peak's block and the ring lie at the same place.
    row, column = np.argwhere(shown)[0]
    left, right, low, high = ax.images[0].get_extent()
    centre = left + (column + 0.5) * 3 * 2, low + (row + 0.5) * 3 * 2
    np.testing.assert_allclose(drawn(ax, "best place")[0], centre, atol=2)
    assert sorted(ax.get_xlim()) == [-6, -6 + 2 * 2503]


def test_votes_of_a_search_peak_where_the_card_lies(card: Any, card_found: Any, dots: Any) -> None:
    image = card.vote_image(dots, pose=card_found.matrix)
    ax = plot.votes(image)
    column, row = image.columnAndRow(card_found.result.modelToDataXform())
    lies = image.step * (np.array(image.firstStep) + (column, row))
    best = drawn(ax, "best place")[0]
    assert np.abs(best - lies).max() < 2 * image.step
    np.testing.assert_array_equal(
        ax.images[0].get_array(), np.asarray(image.votes).reshape(image.height, image.width)
    )


def test_an_image_without_votes_is_refused() -> None:
    with pytest.raises(ValueError, match="the run returns without a search"):
        plot.votes(image_of(np.zeros((0, 0))))
    with pytest.raises(ValueError, match="the run returns without a search"):
        plot.votes(None)  # what Matcher.vote_image gives then


def test_two_points_on_one_node_do_not_disturb_the_lines() -> None:
    points = [(25.0 * i, 25.0 * j) for j in range(4) for i in range(5)]
    points += [(101.0, 0.5), (1.0, 1.0), (0.5, 75.5)]  # at the ends of the lowest lines
    found = ptmatch.grid_map(points, (25, 0), (0, 25))
    assert found.num_assigned == 23
    ax = plot.grid(found)
    assert ax.get_title(loc="left").startswith("23 of 23 points on the grid")
    for line in ax.lines:
        assert np.isfinite(line.get_xydata()).all()
    paths = [line.get_xydata() for line in ax.lines if line.get_linestyle() == "-"]
    assert [len(path) for path in paths] == [5, 4]
    assert (100.0, 0.0) in [tuple(point) for point in paths[0]]


def test_masked_rows_are_refused() -> None:
    with pytest.raises(TypeError, match="data: .*masked"):
        plot.match(None, [np.ma.array((1.0, 2.0), mask=(True, False))] * 3)
