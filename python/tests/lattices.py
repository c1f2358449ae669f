"""Dots on grids with known positions, and measured ones."""

import csv
import json
import pathlib
import sys
import threading
import time
from typing import Any, Callable

import numpy as np
from numpy.typing import NDArray


def lattice(columns: int, rows: int) -> NDArray[np.int64]:
    """All positions (i, j), row by row."""
    i, j = np.meshgrid(np.arange(columns), np.arange(rows))
    return np.column_stack([i.ravel(), j.ravel()])


def turned(vectors: Any, degrees: float) -> NDArray[np.float64]:
    angle = np.radians(degrees)
    turn = np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
    result: NDArray[np.float64] = np.asarray(vectors, dtype=np.float64) @ turn.T
    return result


def least_squares(positions: Any, points: Any) -> Any:
    """The affine map from positions to points, shape (2, 3)."""
    design = np.column_stack([positions, np.ones(len(positions))])
    return np.linalg.lstsq(design, points, rcond=None)[0].T


def same_up_to_a_shift(found: NDArray[np.int64], true: NDArray[np.int64]) -> bool:
    shifts = found - true
    return bool((shifts == shifts[0]).all())


def read_points(path: pathlib.Path) -> NDArray[np.float64]:
    with open(path, newline="") as file:
        return np.array([[float(row["x"]), float(row["y"])] for row in csv.DictReader(file)])


def measured(folder: pathlib.Path) -> tuple[NDArray[np.float64], dict[str, Any]]:
    """The points, and what is known of them: `is_dot` and, for each dot, `places`."""
    names = [name for name in ("data.csv", "blobs.csv") if (folder / name).exists()]
    truth = json.loads((folder / "truth.json").read_text())
    truth["is_dot"] = np.array([place is not None for place in truth["grid"]])
    truth["places"] = np.array([place for place in truth["grid"] if place is not None])
    return read_points(folder / names[0]), truth


def advances_during(call: Callable[[], object]) -> bool:
    """Whether another thread comes to run in the middle half of a call.

    Nothing makes this thread give the interpreter away meanwhile but the call itself. Arrays are
    converted at its two ends, where NumPy may do so. On a busy machine the other thread may not
    come to run although it could, so the call is repeated.
    """
    ticks: list[float] = []
    is_done = threading.Event()

    def tick() -> None:
        while not is_done.wait(0.0005):
            ticks.append(time.perf_counter())

    thread = threading.Thread(target=tick)
    interval = sys.getswitchinterval()
    thread.start()
    sys.setswitchinterval(1000.0)
    try:
        for _ in range(20):
            begin = time.perf_counter()
            call()
            quarter = 0.25 * (time.perf_counter() - begin)
            if any(begin + quarter < t < begin + 3.0 * quarter for t in ticks):
                return True
    finally:
        sys.setswitchinterval(interval)
        is_done.set()
        thread.join()
    return False
