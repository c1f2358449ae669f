#!/usr/bin/python3
"""Matches 2,000 frames one after the other, with threads, with processes, and with dask.

    PYTHONPATH=build/release/python python/examples/match_frames.py [--frames N] [--workers N]
        [--ways threads processes dask]

The same function searches every frame in all four, and every way has to give the same results in
the same order, bit for bit; otherwise the exit code is 1. Threads share the trained matcher and gain,
since runs release the interpreter lock. Processes get a copy of it, by pickle, once. dask does the
same on a cluster: here of processes on this machine that hear the loopback interface alone; a client
of a scheduler elsewhere needs no other code. Without dask (Debian: python3-distributed) it is left out.
"""

from __future__ import annotations

import argparse
import itertools
import multiprocessing
import os
import sys
import tempfile
import time
from collections.abc import Iterable
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

import ptmatch

Frame = NDArray[np.float64]
# Rotation in degrees, the 2x3 matrix row by row, coverage, fit error; None: nothing found. A few
# numbers, since results travel between processes.
Result = tuple[float, ...] | None

PART_POINTS, CLUTTER, SIDE = 40, 200, 1000.0
AT_A_TIME = 25  # frames that travel together


def make_part() -> Frame:
    return np.random.default_rng(20261122).uniform(-150, 150, (PART_POINTS, 2))


def make_frames(part: Frame, count: int) -> list[Frame]:
    """Frames of the part, turned and moved at random, with a fifth of its points hidden, among clutter."""
    rng = np.random.default_rng(7)
    frames = []
    for _ in range(count):
        angle = rng.uniform(-np.pi, np.pi)
        turn = np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
        seen = part[rng.permutation(PART_POINTS)[: PART_POINTS * 4 // 5]]
        seen = seen @ turn.T + rng.uniform(200, SIDE - 200, 2) + rng.normal(0, 0.3, seen.shape)
        frames.append(rng.permutation(np.vstack([seen, rng.uniform(0, SIDE, (CLUTTER, 2))])))
    return frames


def search(matcher: ptmatch.Matcher, frame: Frame) -> Result:
    best = matcher.match(frame, rotation="full").best
    if best is None:
        return None
    return (best.rotation_deg, *best.matrix.ravel().tolist(), best.coverage, best.fit_error)


def search_all(matcher: ptmatch.Matcher, frames: Iterable[Frame]) -> list[Result]:
    return [search(matcher, frame) for frame in frames]


class Done(NamedTuple):
    """What a way of matching all frames gives: the results, and how long it took."""

    results: list[Result]
    ready: float  # seconds to get the workers ready
    run: float  # seconds from there to the last result


def one_by_one(matcher: ptmatch.Matcher, frames: list[Frame], workers: int) -> Done:
    start = time.perf_counter()
    results = search_all(matcher, frames)
    return Done(results, 0.0, time.perf_counter() - start)


def with_threads(matcher: ptmatch.Matcher, frames: list[Frame], workers: int) -> Done:
    start = time.perf_counter()
    with ThreadPoolExecutor(workers) as pool:
        results = list(pool.map(lambda frame: search(matcher, frame), frames))
    return Done(results, 0.0, time.perf_counter() - start)


_matcher: ptmatch.Matcher  # of a worker process


def take_matcher(matcher: ptmatch.Matcher) -> None:
    global _matcher
    _matcher = matcher


def search_in_worker(frame: Frame) -> Result:
    return search(_matcher, frame)


def with_processes(matcher: ptmatch.Matcher, frames: list[Frame], workers: int) -> Done:
    start = time.perf_counter()
    fresh = multiprocessing.get_context("spawn")  # inherits neither threads nor locks
    with ProcessPoolExecutor(workers, fresh, take_matcher, (matcher,)) as pool:
        # A worker is started when there is work, so each gets some that lasts until all are there.
        list(pool.map(time.sleep, [0.5] * workers))
        ready = time.perf_counter()
        results = list(pool.map(search_in_worker, frames, chunksize=AT_A_TIME))
        return Done(results, ready - start, time.perf_counter() - ready)


def with_dask(matcher: ptmatch.Matcher, frames: list[Frame], workers: int) -> Done:
    import dask
    from distributed import Client, LocalCluster

    start = time.perf_counter()
    with tempfile.TemporaryDirectory() as folder:
        # Workers would be started with MALLOC_TRIM_THRESHOLD_=65536, which gives memory back to the
        # system after every search, only to ask for it again: that doubles the time of a frame.
        settings = {"distributed.nanny.pre-spawn-environ": {}, "temporary_directory": folder}
        with dask.config.set(settings), LocalCluster(
            n_workers=workers,
            threads_per_worker=1,
            processes=True,
            host="127.0.0.1",
            # Left out, these would listen on ports of all interfaces.
            dashboard_address="127.0.0.1:0",
            worker_dashboard_address="127.0.0.1:0",
            scheduler_kwargs={"dashboard": False},
        ) as cluster, Client(cluster) as client:
            everywhere = client.scatter(matcher, broadcast=True)
            ready = time.perf_counter()
            parts = [frames[k : k + AT_A_TIME] for k in range(0, len(frames), AT_A_TIME)]
            futures = [client.submit(search_all, everywhere, part, pure=False) for part in parts]
            results = list(itertools.chain.from_iterable(client.gather(futures)))
            return Done(results, ready - start, time.perf_counter() - ready)


WAYS = {"threads": with_threads, "processes": with_processes, "dask": with_dask}


def found_in(results: list[Result]) -> int:
    return sum(result is not None for result in results)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--frames", type=int, default=2000)
    parser.add_argument("--workers", type=int, default=len(os.sched_getaffinity(0)))
    parser.add_argument("--ways", nargs="+", choices=WAYS, default=list(WAYS))
    options = parser.parse_args()

    part = make_part()
    frames = make_frames(part, options.frames)
    matcher = ptmatch.Matcher.train(part)

    expected, _, serial = one_by_one(matcher, frames, 1)
    print(f"{len(frames)} frames of {len(frames[0])} points, part found in {found_in(expected)}")
    print(f"{options.workers} workers\n")
    print("              seconds   ms a frame   speed-up   to get ready")
    print(f"one by one {serial:10.2f} {1000 * serial / len(frames):12.2f}       1.00")

    different = []
    for name in options.ways:
        try:
            results, ready, run = WAYS[name](matcher, frames, options.workers)
        except ModuleNotFoundError as error:
            if name != "dask":
                raise
            print(f"dask       is left out: {error} (Debian: python3-distributed)")
            continue
        print(
            f"{name:10s} {run:10.2f} {1000 * run / len(frames):12.2f} {serial / run:10.2f} "
            f"{ready:12.2f} s"
        )
        if results != expected:
            different.append(name)

    print()
    if different:
        print(f"not the same results as one by one: {', '.join(different)}", file=sys.stderr)
        return 1
    print("the same results in the same order, bit for bit")
    return 0


if __name__ == "__main__":
    sys.exit(main())
