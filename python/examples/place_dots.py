#!/usr/bin/python3
"""Places the dots of a plate on their grid and fits the camera's view of it.

    PYTHONPATH=build/release/python python/examples/place_dots.py [--out FILE]

A board with 7 x 7 dots is held by hand in a room; a detector of blobs saw the dots and 42 other
things. Which dot is which is the first half of every calibration. The second half starts with the
transform from the board to the photograph. What a fit leaves over is drawn as arrows: those of the
affine one turn around the board as perspective makes them; of those of the perspective one, about half
as long, some still agree with their neighbours, as the lens makes them.
"""

from __future__ import annotations

import argparse
import pathlib

import numpy as np
from matplotlib.figure import Figure

import ptmatch
import ptmatch.plot

DATA = pathlib.Path(__file__).resolve().parents[2] / "data" / "dots7x7"


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", type=pathlib.Path, default="out/python/place_dots.png")
    out = parser.parse_args().out

    blobs = np.loadtxt(DATA / "data.csv", delimiter=",", skiprows=1)

    # The way from a dot to the next one in its row, and in its column, roughly: up to 20 percent
    # and 20 degrees off.
    grid = ptmatch.grid_map(blobs, (24, -13), (13, 24))
    if not grid:
        raise SystemExit("no grid among the blobs")

    # A few blobs of the room lie near a node by chance. Dots of the board have neighbours.
    nodes = set(map(tuple, grid.positions[grid.assigned].tolist()))
    sides = [(1, 0), (-1, 0), (0, 1), (0, -1)]
    is_dot = np.array(
        [sum((i + di, j + dj) in nodes for di, dj in sides) >= 2 for i, j in grid.positions.tolist()]
    )

    # Pairs of a place on the board (in steps) and a place on the photograph (in pixels).
    on_board = grid.positions[is_dot] - grid.positions[is_dot].min(axis=0)
    on_photograph = blobs[is_dot]
    affine = ptmatch.fit_affine(on_board, on_photograph)
    perspective = ptmatch.fit_perspective(on_board, on_photograph)

    columns, rows = on_board.max(axis=0) + 1
    print(f"blobs at nodes   {grid.num_assigned} of {len(blobs)}")
    print(f"dots of a board  {len(on_board)}, {columns} columns, {rows} rows")
    print()
    print("transform        rms    largest   (pixels)")
    for name, fit in (("affine", affine), ("perspective", perspective)):
        print(f"{name:12s} {fit.rms:7.3f} {fit.largest:10.3f}")
    print()
    print("photograph from board, perspective:")
    print(np.array2string(perspective.matrix, precision=5, suppress_small=True))

    figure = Figure(figsize=(10, 11))
    above, below = figure.add_gridspec(2, 1, height_ratios=[1.1, 1], hspace=0.25)
    left, right = below.subgridspec(1, 2, wspace=0.15).subplots()
    ptmatch.plot.grid(grid, figure.add_subplot(above))
    # Both drawn 10 times too long: arrows of the same length mean errors of the same size.
    ptmatch.plot.residuals(affine, left, scale=10, legend=False)
    ptmatch.plot.residuals(perspective, right, scale=10)
    out.parent.mkdir(parents=True, exist_ok=True)
    figure.savefig(out, dpi=110, bbox_inches="tight")
    print(f"\nThe picture: {out}")


if __name__ == "__main__":
    main()
