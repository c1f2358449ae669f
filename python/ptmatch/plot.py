"""Pictures of matches, grids, residuals and votes, with matplotlib.

Not imported with ptmatch; a program that wants pictures asks for them:

    import ptmatch.plot

    ax = ptmatch.plot.match(found.best, data)
    ax.figure.savefig("match.png", dpi=150)

Each function draws into the axes that are given and returns them; without axes it makes a figure with
matplotlib.pyplot, which is imported then and not before. So a program that makes its own Figure never
touches the state of pyplot.

The y axis points down, as in pictures, unless y_down=False; a unit is as long in x as in y. The legend
stands outside the axes: save figures of your own with bbox_inches="tight". Colours can be told apart
by readers who do not see all of them.

Wrong values (shapes, lengths, a search without votes) raise ValueError, objects of another kind
TypeError, before anything is drawn.
"""

from __future__ import annotations

import math
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np
from matplotlib import patheffects
from matplotlib.collections import LineCollection

from .arguments import real_array

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from numpy.typing import ArrayLike, NDArray

    from ._core import rxVoteImage
    from .fitting import Transform
    from .grids import GridMap, GridMatch
    from .matcher import Match

    Points = NDArray[np.float64]

__all__ = ["grid", "match", "residuals", "votes"]

_INK = "#1f2937"
_FAINT_INK = "#6b7280"
_GRID_LINE = "#eef1f4"
_FRAME_LINE = "#cbd2d9"
_QUIET_GREY = "#b6bec8"
_LATTICE_LINE = "#9cc3de"
_BLUE = "#0072b2"
_ORANGE = "#e6550d"
_MAGENTA = "#b3127d"
_GREEN = "#00795c"
_BLACK = "#111827"

# How long lines of typical and of greatest length may be, as shares of the picture's diagonal: short
# beside the circles of a match, longer where they are what the picture shows.
_SHORT_LINES = (0.02, 0.1)
_LONG_LINES = (0.045, 0.2)


def match(
    match: Match | GridMatch | None,
    data: ArrayLike,
    ax: Axes | None = None,
    *,
    scale: float | None = None,
    outline: bool = True,
    legend: bool = True,
    y_down: bool = True,
) -> Axes:
    """Draws a match over the data that was searched.

    Data points are dots, blue with a partner and grey without; model points are circles where the
    match puts them, or crosses where nothing was found. A line goes from the middle of each circle
    towards its partner.

    match: one result of Matcher.match or GridMatcher.match; None, which found.best is when nothing
        was found, draws the data alone.
    data: the points that were searched, (n, 2).
    ax: axes to draw into; None makes a figure.
    scale: the lines are drawn longer than the errors by this factor, which the legend tells;
        None takes the largest of 1, 2, 5, 10, 20... that keeps them short.
    outline: draw the convex hull of the model.
    legend: draw a legend with the numbers of points, right of the axes.
    y_down: let the y axis point down, as in a picture.

    Returns the axes. Raises ValueError for data that are not of shape (n, 2), not finite or not what
    the match was found in, and for a scale that is not above 0; TypeError for what is no match, and
    for data that are no real numbers.
    """
    points = _points(data, "data")
    _check_scale(scale)
    if match is None:
        ax = _axes(ax, points)
        _dots(ax, points, _QUIET_GREY, f"data point, free ({len(points)})")
        return _finish(ax, "nothing found", legend, y_down)

    pattern = _pattern(match)
    _check_partners(pattern, points)
    placed, found = pattern.placed, pattern.found
    errors = pattern.partners[found] - placed[found]
    taken = np.zeros(len(points), dtype=bool)
    taken[pattern.indices[found]] = True
    everything = np.concatenate([points, placed])
    ax = _axes(ax, everything)
    factor = scale or _round_factor(errors, everything, _SHORT_LINES)
    size = _dot_size(len(points))

    if outline:
        _draw_hull(ax, placed)
    _dots(ax, points[~taken], _QUIET_GREY, f"data point, free ({np.sum(~taken)})", 0.8 * size)
    _dots(ax, points[taken], _BLUE, f"data point with a partner ({np.sum(taken)})", size)
    _rings(ax, placed[found], _ORANGE, f"model point with a partner ({np.sum(found)})", size)
    ax.plot(
        *placed[~found].T,
        linestyle="none",
        marker="x",
        markersize=size,
        color=_MAGENTA,
        alpha=0.6 if len(points) > 150 else 1.0,
        label=f"model point without ({np.sum(~found)})",
    )
    lines = np.stack([placed[found], placed[found] + factor * errors], axis=1)
    ax.add_collection(
        LineCollection(
            lines, colors=_BLACK, linewidths=1.1, zorder=4, label=f"error{_drawn(factor)}"
        )
    )
    title = (
        f"{np.sum(found)} of {len(found)} points found\n"
        f"turned by {match.rotation_deg:.3f}°, scale {match.scale:.5g}, "
        f"fit error {match.fit_error:.3g}"
    )
    return _finish(ax, title, legend, y_down)


def grid(
    grid_map: GridMap,
    ax: Axes | None = None,
    *,
    label_every: int | None = None,
    legend: bool = True,
    y_down: bool = True,
) -> Axes:
    """Draws points with their positions on a grid.

    Points with a position are joined with their neighbours on the lattice (on a staggered grid: with
    the diagonal ones); points without are grey. An arrow along the lowest row counts the columns i,
    one along the lowest column the rows j.

    grid_map: what ptmatch.grid_map returns. Of one that is not valid the points are drawn.
    ax: axes to draw into; None makes a figure.
    label_every: number the columns and rows that are so far apart; 0 numbers none, None
        takes the least of 1, 2, 5, 10, 20... for which there is room.
    legend: draw a legend with the numbers of points, right of the axes.
    y_down: let the y axis point down, as in a picture.

    Returns the axes. Raises ValueError for a label_every below 0, TypeError for what is no grid map.
    """
    _check_kind(grid_map, "grid_map", "a GridMap", ("assigned", "positions", "points", "valid"))
    if label_every is not None and label_every < 0:
        raise ValueError(f"label_every: expected 0 or more, got {label_every}")
    points = _array(grid_map.points)
    assigned = np.asarray(grid_map.assigned, dtype=bool)
    nodes = points[assigned]
    positions = np.asarray(grid_map.positions)[assigned]
    ax = _axes(ax, points)

    size = _dot_size(len(points))
    free = points[~assigned]
    _dots(ax, free, _QUIET_GREY, f"point without a position ({len(free)})", 0.8 * size)
    _dots(ax, nodes, _BLUE, f"point with a position ({len(nodes)})", size)
    if not grid_map.valid:
        return _finish(ax, "no grid found", legend, y_down)
    # Two points may share a node; lines go through the one that is nearer to it.
    kept = _one_per_node(positions, np.asarray(grid_map.distances)[assigned])
    title = _grid_title(positions, len(points))
    nodes, positions = nodes[kept], positions[kept]
    ax.add_collection(
        LineCollection(
            nodes[_neighbours(positions)], colors=_LATTICE_LINE, linewidths=0.9, zorder=1.5
        )
    )
    _finish(ax, title, legend, y_down)
    _draw_axis(ax, nodes, positions, along=0, style=("i", _ORANGE), label_every=label_every)
    _draw_axis(ax, nodes, positions, along=1, style=("j", _GREEN), label_every=label_every)
    return ax


def residuals(
    fitted: Match | GridMatch | Transform | GridMap,
    ax: Axes | None = None,
    *,
    scale: float | None = None,
    legend: bool = True,
    y_down: bool = True,
) -> Axes:
    """Draws what a transform leaves over, as arrows from the mapped points towards the measured ones.

    Errors in all directions are noise; arrows that turn or grow across the picture show what the
    transform cannot follow, such as perspective or a lens.

    fitted: a match, a transform that was fitted in the plane, or a grid map.
    ax: axes to draw into; None makes a figure.
    scale: the arrows are drawn longer than the residuals by this factor, which the legend tells;
        None takes the largest of 1, 2, 5, 10, 20... that keeps them short.
    legend: draw a legend right of the axes.
    y_down: let the y axis point down, as in a picture.

    Returns the axes; the title tells the root mean square and the worst point (counted from 0, of the
    model, the pairs or the points of the grid map), which is ringed. Raises ValueError when there are
    no residuals, when they lie in space, and for a scale that is not above 0; TypeError for what is
    none of those.
    """
    _check_scale(scale)
    all_mapped, all_errors, what, name = _mapped_and_errors(fitted)
    # Not of points without a partner, nor of those that a perspective takes to infinity.
    numbers = np.flatnonzero(np.all(np.isfinite(all_errors), axis=1))
    mapped, errors = all_mapped[numbers], all_errors[numbers]
    if len(errors) == 0:
        raise ValueError("fitted: expected at least one residual, got none")
    ax = _axes(ax, np.concatenate([mapped, mapped + errors]))
    factor = scale or _round_factor(errors, mapped, _LONG_LINES)
    lengths = np.hypot(*errors.T)
    worst = int(np.argmax(lengths))
    size = _dot_size(len(mapped))

    _dots(ax, mapped, _QUIET_GREY, f"mapped point ({len(mapped)})", 0.6 * size)
    ax.quiver(
        *mapped.T,
        *(factor * errors).T,
        angles="xy",
        scale_units="xy",
        scale=1,
        units="dots",
        width=1.3 * ax.figure.dpi / 72,
        headwidth=5,
        headlength=6,
        headaxislength=5,
        minlength=0,
        color=_BLUE,
        zorder=3,
    )
    # A legend shows arrows as blocks; a line stands for them.
    ax.plot([], [], color=_BLUE, linewidth=1.5, label=f"residual{_drawn(factor)}")
    _rings(ax, mapped[worst : worst + 1], _MAGENTA, "largest residual", size + 3)
    # Tips count for the limits; quiver leaves them out.
    ax.update_datalim(mapped + factor * errors)
    rms = math.sqrt(float(np.mean(lengths**2)))
    title = (
        f"{what}: rms {rms:.3g}\n"
        f"largest {lengths[worst]:.3g}, {name} {numbers[worst]}{_drawn(factor, 'arrows ')}"
    )
    return _finish(ax, title, legend, y_down)


def votes(vote_image: rxVoteImage | None, ax: Axes | None = None, *, y_down: bool = True) -> Axes:
    """Draws the votes of a search at one scale and rotation, with the best place ringed.

    Each element is a translation of the model's centre in model units, as seen from the start pose.
    A line on the colour bar tells from which vote on a translation is a candidate. Of several places
    with the highest vote the first is ringed, in rows from the first. Images of more than 1000 elements
    a side are shrunk; an element then has the highest vote of those it stands for.

    vote_image: what Matcher.vote_image returns.
    ax: axes to draw into; None makes a figure.
    y_down: let the y axis point down, as in a picture.

    Returns the axes; the colour bar is the last of ax.figure.axes. Raises ValueError when there are no
    votes, since the run returns without a search; TypeError for what is no vote image.
    """
    if vote_image is None:
        raise ValueError("vote_image: expected votes, got None: the run returns without a search")
    _check_kind(vote_image, "vote_image", "an rxVoteImage", ("votes", "firstStep", "threshold"))
    width, height, step = vote_image.width, vote_image.height, vote_image.step
    if width == 0 or height == 0:
        raise ValueError(
            "vote_image: expected votes, got an image of no elements: the run returns without a search"
        )
    counts = np.asarray(vote_image.votes).reshape(height, width)
    best = int(counts.max())
    highest = np.argwhere(counts == best)
    # A match votes for some elements beside each other: the middle of those beside the first.
    row, column = highest[np.all(np.abs(highest - highest[0]) <= 2, axis=1)].mean(axis=0)
    left, low = step * vote_image.firstStep[0], step * vote_image.firstStep[1]
    at = left + step * (column + 0.5), low + step * (row + 0.5)
    shrunk, block = _shrunk(counts, most=1000)

    corners = np.array([[left, low], [left + step * width, low + step * height]])
    ax = _axes(ax, corners, right=1.4)
    image = ax.imshow(
        shrunk,
        cmap="magma",
        vmin=min(0, int(counts.min())),
        origin="lower",
        extent=(
            left,
            left + step * block * shrunk.shape[1],
            low,
            low + step * block * shrunk.shape[0],
        ),
    )
    ax.set_xlim(*corners[:, 0])
    ax.set_ylim(*corners[:, 1])
    ring = ax.plot(
        *at,
        linestyle="none",
        marker="o",
        markersize=16,
        markerfacecolor="none",
        markeredgecolor="white",
        markeredgewidth=1.6,
        label="best place",
    )
    ring[0].set_path_effects([patheffects.withStroke(linewidth=3.2, foreground=_BLACK)])

    what = "sum of weights" if vote_image.isWeighted else "model points on marks"
    bar = ax.figure.colorbar(image, ax=ax, fraction=0.046, pad=0.03)
    bar.set_label(f"votes: {what}, of {vote_image.highestPossible}", color=_INK)
    bar.outline.set_edgecolor(_FRAME_LINE)
    bar.ax.tick_params(colors=_FAINT_INK)
    if vote_image.threshold <= best:
        bar.ax.axhline(vote_image.threshold, color="white", linewidth=1.6)
    ax.set_xlabel("the model's centre moved in x (model units)", color=_INK)
    ax.set_ylabel("in y", color=_INK)
    title = (
        f"votes at rotation {vote_image.place.rotationDegrees:.3g}°, "
        f"scale {vote_image.place.scale:.4g}\n"
        f"best {best} of {vote_image.highestPossible} at ({at[0]:.4g}, {at[1]:.4g}), "
        f"candidates from {vote_image.threshold}"
    )
    return _finish(ax, title, False, y_down)


# What is drawn, in parts ----------------------------------------------------------------------------


def _axes(ax: Axes | None, points: Points, right: float = 2.5) -> Axes:
    """The axes given, or those of a new figure with the proportions of the points.

    `right`: inches for what stands beside the axes.
    """
    if ax is not None:
        if not hasattr(ax, "add_collection"):
            raise TypeError(f"ax: expected matplotlib axes, got {type(ax).__name__}")
        return ax
    from matplotlib import pyplot

    width, height = np.ptp(points, axis=0) if len(points) else (1.0, 1.0)
    share = min(max(height / width, 0.3), 2.0) if width > 0 else 1.0
    inner = (6.0, 6.0 * share) if share < 1 else (6.0 / share, 6.0)
    left, bottom, top = 0.8, 0.6, 0.65
    size = (left + inner[0] + right, bottom + inner[1] + top)
    box = (left / size[0], bottom / size[1], inner[0] / size[0], inner[1] / size[1])
    axes = pyplot.figure(figsize=size).add_axes(box)
    axes.set_anchor("NW")
    return axes


def _finish(ax: Axes, title: str, legend: bool, y_down: bool) -> Axes:
    """Limits, ticks, title and legend: what all pictures have alike."""
    ax.set_aspect("equal", adjustable="box")
    ax.autoscale_view()
    if ax.yaxis_inverted() != y_down:
        ax.invert_yaxis()
    ax.set_title(title, loc="left", color=_INK, fontsize="medium")
    ax.spines[["top", "right"]].set_visible(False)
    ax.spines[["left", "bottom"]].set_color(_FRAME_LINE)
    ax.tick_params(colors=_FAINT_INK)
    if not ax.images:
        ax.grid(color=_GRID_LINE, linewidth=0.8)
        ax.set_axisbelow(True)
    if legend:
        ax.legend(
            loc="upper left",
            bbox_to_anchor=(1.02, 1.0),
            borderaxespad=0.0,
            frameon=False,
            fontsize="small",
            labelcolor=_INK,
        )
    return ax


def _dot_size(count: int) -> float:
    """Diameter of a marker in points of the page: smaller where there are many."""
    return float(min(max(6.0 * (100 / max(count, 1)) ** 0.25, 1.5), 6.0))


def _dots(ax: Axes, points: Points, colour: str, label: str, size: float = 5.0) -> None:
    ax.plot(
        *points.T,
        linestyle="none",
        marker="o",
        markersize=size,
        color=colour,
        markeredgewidth=0,
        label=label,
        zorder=2.5,
    )


def _rings(ax: Axes, points: Points, colour: str, label: str, size: float) -> None:
    ax.plot(
        *points.T,
        linestyle="none",
        marker="o",
        markersize=1.5 * size + 3,
        markerfacecolor="none",
        markeredgecolor=colour,
        markeredgewidth=1.4,
        label=label,
        zorder=3.5,
    )


def _draw_hull(ax: Axes, points: Points) -> None:
    hull = _convex_hull(points)
    if len(hull) >= 3:
        ax.fill(*hull.T, facecolor=_ORANGE, alpha=0.07, zorder=1)
        ax.fill(*hull.T, fill=False, edgecolor=_ORANGE, alpha=0.35, linewidth=1.0, zorder=1)


def _convex_hull(points: Points) -> Points:
    """The corners in order (Andrew's monotone chain); fewer than three for points in a line."""
    ordered = np.unique(points, axis=0)
    if len(ordered) < 3:
        return ordered

    def chain(sequence: Points) -> list[NDArray[np.float64]]:
        corners: list[NDArray[np.float64]] = []
        for point in sequence:
            while len(corners) > 1:
                first, second = corners[-1] - corners[-2], point - corners[-1]
                if first[0] * second[1] - first[1] * second[0] > 0:
                    break
                corners.pop()
            corners.append(point)
        return corners[:-1]

    return np.array(chain(ordered) + chain(ordered[::-1]))


def _neighbours(positions: NDArray[np.int64]) -> NDArray[np.int64]:
    """Pairs of indices of neighbours on the lattice, (n, 2).

    Positions of a staggered grid all have an even sum (or all an odd one); there the nearest
    neighbours are the diagonal ones.
    """
    staggered = len(np.unique(np.sum(positions, axis=1) % 2)) == 1 and len(positions) > 1
    index_at = {(i, j): k for k, (i, j) in enumerate(positions.tolist())}
    pairs = [
        (k, index_at[i + di, j + dj])
        for (i, j), k in index_at.items()
        for di, dj in ([(1, 1), (1, -1)] if staggered else [(1, 0), (0, 1)])
        if (i + di, j + dj) in index_at
    ]
    return np.array(pairs, dtype=np.int64).reshape(-1, 2)


def _one_per_node(
    positions: NDArray[np.int64], distances: NDArray[np.float64]
) -> NDArray[np.int64]:
    """Indices, ascending, of the nearest point of each node; of equally near ones the first."""
    order = np.argsort(distances, kind="stable")
    _, first = np.unique(positions[order], axis=0, return_index=True)
    return np.sort(order[first])


def _grid_title(positions: NDArray[np.int64], count: int) -> str:
    low, high = positions.min(axis=0), positions.max(axis=0)
    return (
        f"{len(positions)} of {count} points on the grid\n"
        f"columns i {low[0]} to {high[0]}, rows j {low[1]} to {high[1]}"
    )


def _draw_axis(
    ax: Axes,
    nodes: Points,
    positions: NDArray[np.int64],
    *,
    along: int,
    style: tuple[str, str],
    label_every: int | None,
) -> None:
    """An arrow through the nodes of the lowest row (or column), with numbers beside them."""
    name, colour = style
    line = _lowest_line(positions, along)
    if len(line) < 2:
        return
    path, numbers = nodes[line], positions[line, along]
    ahead = 0.9 * (path[-1] - path[-2]) / (numbers[-1] - numbers[-2])
    tip = path[-1] + ahead
    ax.plot(*path.T, color=colour, linewidth=1.8, zorder=2)
    ax.annotate(
        "",
        xy=tip,
        xytext=path[-1],
        arrowprops={"arrowstyle": "-|>", "color": colour, "lw": 1.8, "shrinkA": 0, "shrinkB": 0},
    )
    on_page = np.array([1.0, -1.0 if ax.yaxis_inverted() else 1.0])
    halo = [patheffects.withStroke(linewidth=2.5, foreground="white")]

    def label(text: str, at: NDArray[np.float64], away: NDArray[np.float64], size: float) -> None:
        ax.annotate(
            text,
            at,
            xytext=size * away * on_page / max(math.hypot(*away), 1e-300),
            textcoords="offset points",
            ha="center",
            va="center",
            color=colour,
            weight="bold",
            fontsize=size,
            path_effects=halo,
            zorder=5,
        )

    label(name, tip, ahead, 10.0)
    every = _label_step(ax, path, numbers) if label_every is None else label_every
    # To the side where the other nodes are not.
    side = np.array([-ahead[1], ahead[0]])
    away = side if float(side @ np.mean(nodes - path[0], axis=0)) < 0 else -side
    if every == 0:
        return
    # On a staggered grid a line may hold odd numbers alone.
    first = next((n for n in numbers.tolist() if n % every == 0), numbers[0])
    for node, number in zip(path, numbers.tolist()):
        if (number - first) % every == 0:
            label(str(number), node, away, 8.5)


def _lowest_line(positions: NDArray[np.int64], along: int) -> NDArray[np.int64]:
    """Indices of the nodes of the lowest row (or column) that is at least half full, in order."""
    across, counts = np.unique(positions[:, 1 - along], return_counts=True)
    lowest = across[np.argmax(2 * counts >= counts.max())]
    line = np.flatnonzero(positions[:, 1 - along] == lowest)
    return line[np.argsort(positions[line, along])]


def _label_step(ax: Axes, path: Points, numbers: NDArray[np.int64]) -> int:
    """The least of 1, 2, 5, 10... such that numbers so far apart do not touch."""
    longest = max(len(str(number)) for number in numbers.tolist())
    room = 6.0 + 5.5 * longest  # of a number, points of the page
    inches = ax.get_position().size * ax.figure.get_size_inches()
    spans = np.abs([np.subtract(*ax.get_xlim()), np.subtract(*ax.get_ylim())])
    scale = float(np.min(72.0 * inches / spans))
    steps = np.diff(path, axis=0) / np.diff(numbers)[:, np.newaxis]
    on_page = scale * float(np.median(np.hypot(*steps.T)))
    step = 1
    while step * on_page < room and step < np.ptp(numbers):
        step = _next_round(step)
    return step


def _shrunk(counts: NDArray[np.int32], most: int) -> tuple[NDArray[np.int32], int]:
    """The image with at most so many elements a side, and how many elements one stands for, a side.

    Takes the highest of each block, so that no peak is lost.
    """
    block = -(-max(counts.shape) // most)
    if block == 1:
        return counts, 1
    missing = [-size % block for size in counts.shape]
    padded = np.pad(counts, [(0, missing[0]), (0, missing[1])], mode="edge")
    rows, columns = padded.shape[0] // block, padded.shape[1] // block
    return padded.reshape(rows, block, columns, block).max(axis=(1, 3)), block


# Numbers --------------------------------------------------------------------------------------------


def _next_round(number: int) -> int:
    """1, 2, 5, 10, 20, 50..."""
    return number * 5 // 2 if str(number)[0] == "2" else number * 2


def _round_factor(errors: Points, points: Points, shares: tuple[float, float]) -> float:
    """How many times longer errors can be drawn: 1, 2, 5, 10, 20...

    The typical error and the largest stay below these shares of the diagonal of the points.
    """
    lengths = np.hypot(*errors.T)
    diagonal = math.hypot(*np.ptp(points, axis=0)) if len(points) else 0.0
    if len(lengths) == 0 or lengths.max() <= 1e-9 * diagonal or diagonal == 0.0:
        return 1.0
    rms = math.sqrt(float(np.mean(lengths**2)))
    most = diagonal * min(shares[0] / rms, shares[1] / float(lengths.max()))
    factor = 1
    while _next_round(factor) <= most:
        factor = _next_round(factor)
    return float(factor)


def _drawn(factor: float, what: str = "drawn ") -> str:
    return "" if factor == 1 else f", {what}{factor:g}×"


# Checks ---------------------------------------------------------------------------------------------


def _array(values: ArrayLike) -> Points:
    return np.asarray(values, dtype=np.float64)


def _points(values: ArrayLike, name: str) -> Points:
    array = real_array(values, name)
    if array.ndim != 2 or array.shape[1] != 2:
        raise ValueError(f"{name}: expected an array of shape (n, 2), got {array.shape}")
    if not np.all(np.isfinite(array)):
        raise ValueError(f"{name}: expected finite numbers, got NaN or infinity")
    return array


def _check_scale(scale: float | None) -> None:
    if scale is not None and not (math.isfinite(scale) and scale > 0):
        raise ValueError(f"scale: expected a number above 0, got {scale}")


def _check_kind(value: object, name: str, expected: str, attributes: tuple[str, ...]) -> None:
    if not all(hasattr(value, attribute) for attribute in attributes):
        raise TypeError(f"{name}: expected {expected}, got {type(value).__name__}")


def _check_partners(pattern: _Pattern, data: Points) -> None:
    used = pattern.indices[pattern.found]
    if len(used) and used.max() >= len(data):
        raise ValueError(
            f"data: expected the points that were searched, more than {used.max()}, got {len(data)}"
        )
    if not np.allclose(pattern.partners[pattern.found], data[used], rtol=1e-6):
        raise ValueError("data: expected the points that were searched, got others")


@dataclass
class _Pattern:
    """What pictures need of a match, of a model or of a grid pattern: a row for each of its points."""

    placed: Points  # where the match puts them
    found: NDArray[np.bool_]
    indices: NDArray[np.int64]  # of their partners among the data
    partners: Points


def _pattern(match: Any) -> _Pattern:
    if hasattr(match, "grid_to_data"):
        dots = np.asarray(match.pattern, dtype=bool)
        placed, indices = match.apply(match.positions[dots]), match.grid_to_data[dots]
        return _Pattern(_array(placed), indices >= 0, indices, _array(match.data_points[dots]))
    _check_kind(match, "match", "a Match (such as found.best)", ("model_to_data", "model_points"))
    placed, indices = match.apply(match.model_points), np.asarray(match.model_to_data)
    return _Pattern(_array(placed), indices >= 0, indices, _array(match.data_points))


def _mapped_and_errors(fitted: Any) -> tuple[Points, Points, str, str]:
    """Mapped points, residuals (nan for none), and what the fit and one of its points are called."""
    if hasattr(fitted, "source"):
        if fitted.source.shape[1] != 2:
            raise ValueError("fitted: expected a transform in the plane, got one in space")
        errors = _array(fitted.residuals)
        return _array(fitted.apply(fitted.source)), errors, f"{fitted.model} residuals", "pair"
    if hasattr(fitted, "assigned"):
        errors = _array(fitted.residuals)
        return _array(fitted.points) - errors, errors, "grid residuals", "point"
    if hasattr(fitted, "model_to_data") or hasattr(fitted, "grid_to_data"):
        pattern = _pattern(fitted)
        name = "model point" if hasattr(fitted, "model_to_data") else "dot"
        return pattern.placed, pattern.partners - pattern.placed, "residuals", name
    raise TypeError(
        "fitted: expected a Match, a GridMatch, a Transform or a GridMap, "
        f"got {type(fitted).__name__}"
    )
