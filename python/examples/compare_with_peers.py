#!/usr/bin/python3
"""Solves the same scenes with ptmatch and with its peers, and prints success and time side by side.

    PYTHONPATH=build/release/python python/examples/compare_with_peers.py [--pcl PROGRAM] [--quick]
                                                                          [--picture FILE]

It needs some five minutes; --quick, three rows of three scenes, a few seconds.

The task: a model of points and a pose are drawn; some of the model's points are seen in the data,
displaced, among points that are not the model's, and nobody knows which is which. Wanted is the
pose. The scenes come from fixed seeds: every run draws the same ones.

Peers, all packaged by Debian 12; one that is missing is named and left out:

    astroalign     python3-astroalign. Triangles of neighbouring points, for lists of stars. Has its
                   defaults where the lists are ordered by brightness, as it expects them. Elsewhere
                   it is given all the points (max_control_points), because the first 50 are no
                   better than the others.
    4PCS, K4PCS,   the Point Cloud Library (libpcl-dev), by the program of bench/peers, whose README
    prerejective   says how to build it and how they are set up. They are told the jitter, and 4PCS
                   and K4PCS the share that is kept. These two know rigid poses only and take their
                   seed from the clock, so that their columns vary. Their pose counts whatever its
                   score is, and they are called once.

ptmatch has its default parameters, the ranges of rotation and scale, and a least coverage of 0.8
of the share that is kept. "ptmatch told" is told the jitter too, as PCL's alignments are: its grid
size is the distance within which prerejective takes a point for matched, 4.5 deviations. The peers
cannot be told a range of rotation. All return one pose.

Right is a pose that takes the model's points, the missing ones too, to within a root mean square of
three deviations of the jitter and a fifth of the least distance of two model points of where the
planted pose takes them. That is wide enough for a coarse pose, and the same for all. A scene
without an answer, with an exception, or stopped at the limit is a failure, and its time counts. A
Python package that was stopped in the first four scenes of a row is spared the others.

Time is processor time of one thread, from the data points to the pose, inside the process that does
the work: the call alone, for a Python package with what it does to the arrays. What depends on the
model alone is not counted where it can be separated: training of ptmatch; cloud and descriptors of
the model for PCL. A time below 2 ms is the mean of as many further calls as fill 2 ms.
"""

from __future__ import annotations

import argparse
import os
import platform
import signal
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any

# One thread for everybody, before NumPy loads what might start more.
for _variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[_variable] = "1"

import numpy as np  # noqa: E402
from numpy.typing import NDArray  # noqa: E402

import ptmatch  # noqa: E402

Points = NDArray[np.float64]
Pose = NDArray[np.float64]  # (2, 3): data = pose[:, :2] @ model + pose[:, 2]

SEED = 20261122
SIDE = 1000.0  # of the square that the model lies in, and the clutter
MAX_SHIFT = 200.0  # along either axis
MAX_ROTATION_DEG = 15.0
SCALE_TOLERANCE = 0.1
# Planted poses keep off the ends of their ranges, where it would be luck who finds them.
PLANTED_SHARE = 0.95
SECONDS_PER_ROUND = 2e-3
STOPS_TO_GIVE_UP = 4
# Of a matched point from its place, in deviations of the jitter. bench/peers has the same for PCL.
REACH_IN_DEVIATIONS = 4.5
PCL_CONTENDERS = ("4PCS", "K4PCS", "prerejective")
PCL_HELP = "give --pcl PROGRAM; bench/peers/README.md says how to build it"


@dataclass(frozen=True)
class Row:
    """What the scenes of one row have in common. Clutter is in points per model point."""

    name: str
    num_model: int
    kept: float
    clutter: float
    jitter: float
    full_turn: bool = False
    scaled: bool = False
    by_brightness: bool = False

    @property
    def num_kept(self) -> int:
        return round(self.kept * self.num_model)

    @property
    def num_clutter(self) -> int:
        return round(self.clutter * self.num_model)

    @property
    def least_distance(self) -> float:
        """Of two model points: half the spacing of a square lattice of as many points."""
        return 0.5 * SIDE / float(np.sqrt(self.num_model))

    @property
    def tolerance(self) -> float:
        return 3.0 * self.jitter + 0.2 * self.least_distance


ROWS = (
    Row("easy", 20, 1.0, 0.1, 0.5),
    Row("easy, turned", 50, 0.9, 0.1, 0.5, full_turn=True),
    Row("star lists", 100, 0.8, 0.3, 0.3, full_turn=True, scaled=True, by_brightness=True),
    Row("few points", 8, 0.75, 2.0, 1.0, full_turn=True),
    Row("some clutter", 20, 0.8, 0.5, 1.0, full_turn=True),
    Row("half missing", 20, 0.5, 1.0, 1.0),
    Row("clutter", 50, 0.7, 1.0, 1.0, full_turn=True),
    Row("much clutter", 50, 0.5, 3.0, 1.0, full_turn=True),
    Row("loose", 50, 0.9, 0.5, 8.0, full_turn=True),
    Row("looser", 50, 0.9, 0.5, 14.0),
    Row("scaled", 50, 0.7, 1.0, 1.0, full_turn=True, scaled=True),
    Row("large", 300, 0.8, 0.5, 1.0, full_turn=True),
)
QUICK_ROWS = ("easy", "easy, turned", "few points")


@dataclass(frozen=True)
class Scene:
    model: Points  # (n, 2)
    data: Points  # (m, 2)
    data_from_model: Pose


@dataclass(frozen=True)
class Outcome:
    """A pose or None, the processor time in seconds, and whether the search came to its end."""

    pose: Pose | None
    seconds: float
    has_ended: bool = True


# ---- Scenes ----


def apply(pose: Pose, points: Points) -> Points:
    moved: Points = points @ pose[:, :2].T + pose[:, 2]
    return moved


def draw_model(rng: np.random.Generator, row: Row) -> Points:
    model = np.empty((0, 2))
    while len(model) < row.num_model:
        point = rng.uniform(0.0, SIDE, 2)
        if np.all(np.hypot(*(model - point).T) >= row.least_distance):
            model = np.vstack([model, point])
    return model


def draw_pose(rng: np.random.Generator, row: Row, shift: Points) -> Pose:
    """Turns and scales about the middle of the square, then shifts."""
    most = 180.0 if row.full_turn else PLANTED_SHARE * MAX_ROTATION_DEG
    angle = np.radians(rng.uniform(-most, most))
    tolerance = PLANTED_SHARE * SCALE_TOLERANCE if row.scaled else 0.0
    scale = 1.0 + rng.uniform(-tolerance, tolerance)
    turn = scale * np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
    middle = np.full(2, SIDE / 2.0)
    return np.column_stack([turn, middle + shift - turn @ middle])


def draw_scene(row: Row, index: int) -> Scene:
    rng = np.random.default_rng([SEED, *row.name.encode(), index])
    model = draw_model(rng, row)
    shift = rng.uniform(-MAX_SHIFT, MAX_SHIFT, 2)
    pose = draw_pose(rng, row, shift)
    clutter = shift + rng.uniform(0.0, SIDE, (row.num_clutter, 2))
    # Which points are seen, and in which order. By brightness: the model is listed brightest first;
    # the data are too, but measured with errors, so that the faintest are missing and neighbours in
    # the list change places; what is not the model's is of its fainter half. Else all is by chance.
    order = np.arange(row.num_model, dtype=float)
    clutter_order = rng.uniform(0.5, 1.5, row.num_clutter) * row.num_model
    if row.by_brightness:
        order += rng.normal(0.0, 0.03 * row.num_model, row.num_model)
    else:
        order = rng.uniform(0.0, 1.0, row.num_model)
        clutter_order = rng.uniform(0.0, 1.0, row.num_clutter)
    kept = np.argsort(order)[: row.num_kept]
    seen = apply(pose, model[kept]) + rng.normal(0.0, row.jitter, (row.num_kept, 2))
    if not row.by_brightness:
        order = rng.uniform(0.0, 1.0, row.num_model)
    data_order = np.argsort(np.concatenate([order[kept], clutter_order]))
    return Scene(model, np.vstack([seen, clutter])[data_order], pose)


def is_right(outcome: Outcome, scene: Scene, row: Row) -> bool:
    if outcome.pose is None:
        return False
    gaps = apply(outcome.pose, scene.model) - apply(scene.data_from_model, scene.model)
    return bool(np.sqrt(np.mean(np.sum(gaps**2, axis=1))) <= row.tolerance)


# ---- Contenders ----


def measured(find: Callable[[], Outcome]) -> Outcome:
    """The first call; of a short one the mean time of further calls, as the first also warms up."""
    outcome = find()
    if outcome.seconds >= SECONDS_PER_ROUND:
        return outcome
    calls, total = 0, 0.0
    while total < SECONDS_PER_ROUND:
        total += find().seconds
        calls += 1
    return Outcome(outcome.pose, total / calls, outcome.has_ended)


def find_until_hopeless(
    find: Callable[[Scene], Outcome], scenes: Sequence[Scene]
) -> list[Outcome]:
    """Outcomes of the scenes; of the first ones only, where those were all stopped."""
    outcomes: list[Outcome] = []
    for scene in scenes:
        if len(outcomes) == STOPS_TO_GIVE_UP and not any(one.has_ended for one in outcomes):
            break
        outcomes.append(find(scene))
    return outcomes


class Contender:
    """One column of the table."""

    name = ""

    def find_all(self, scenes: Sequence[Scene], row: Row, limit: float) -> list[Outcome]:
        """An outcome for each scene, or for the first ones where these were hopeless; none at all
        for rows that the contender is not made for."""
        raise NotImplementedError


class Ptmatch(Contender):
    version = f"ptmatch {ptmatch.__version__}"

    def __init__(self, knows_jitter: bool) -> None:
        self.name = "ptmatch told" if knows_jitter else "ptmatch"
        self._knows_jitter = knows_jitter

    def find_all(self, scenes: Sequence[Scene], row: Row, limit: float) -> list[Outcome]:
        search: dict[str, Any] = {
            "rotation": "full" if row.full_turn else (-MAX_ROTATION_DEG, MAX_ROTATION_DEG),
            "scale": (-SCALE_TOLERANCE, SCALE_TOLERANCE) if row.scaled else (0.0, 0.0),
            "min_coverage": 0.8 * row.kept,
            "time_limit": limit,
        }
        if self._knows_jitter:
            search["grid_size"] = REACH_IN_DEVIATIONS * row.jitter
        return find_until_hopeless(lambda scene: self._find(scene, search), scenes)

    @staticmethod
    def _find(scene: Scene, search: dict[str, Any]) -> Outcome:
        matcher = ptmatch.Matcher.train(scene.model)

        def find() -> Outcome:
            start = time.process_time()
            try:
                found = matcher.match(scene.data, **search)
                pose = found[0].matrix if found else None
            except ptmatch.DeadlinePassed:
                return Outcome(None, search["time_limit"], has_ended=False)
            return Outcome(pose, time.process_time() - start)

        return measured(find)


class _OutOfTime(BaseException):
    """Not an Exception, so that no handler of a package takes it for one of its own."""


def _stop(_signal: int, _frame: object) -> None:
    raise _OutOfTime


class Astroalign(Contender):
    name = "astroalign"

    def __init__(self) -> None:
        import astroalign

        self._module = astroalign
        self.version = f"astroalign {astroalign.__version__}"
        # Loads what is loaded late.
        self.find_all([draw_scene(ROWS[0], 0)], ROWS[0], 10.0)

    def find_all(self, scenes: Sequence[Scene], row: Row, limit: float) -> list[Outcome]:
        previous = signal.signal(signal.SIGPROF, _stop)
        try:
            return find_until_hopeless(lambda scene: self._find(scene, row, limit), scenes)
        finally:
            signal.signal(signal.SIGPROF, previous)

    def _find(self, scene: Scene, row: Row, limit: float) -> Outcome:
        most = max(len(scene.model), len(scene.data))
        options = {} if row.by_brightness else {"max_control_points": most}

        def find() -> Outcome:
            pose = None
            start = time.process_time()
            try:
                signal.setitimer(signal.ITIMER_PROF, limit)
                try:
                    found, _ = self._module.find_transform(scene.model, scene.data, **options)
                    pose = np.asarray(found.params)[:2]
                finally:
                    signal.setitimer(signal.ITIMER_PROF, 0.0)
            except _OutOfTime:
                return Outcome(None, limit, has_ended=False)
            except Exception:  # whatever the package raises, it found nothing
                pass
            return Outcome(pose, time.process_time() - start)

        return measured(find)


class PclProgram:
    """Runs ptmatch_peers on scenes; each scene is a process of its own there, with the limit."""

    def __init__(self, program: str) -> None:
        self._program = program
        self.version = ""
        self.find_all([draw_scene(ROWS[0], 0)], ROWS[0], 10.0)

    def find_all(
        self, scenes: Sequence[Scene], row: Row, limit: float
    ) -> dict[str, list[Outcome]]:
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "scenes.txt"
            path.write_text(self._text(scenes, row), encoding="ascii")
            command = [self._program, "--read", str(path), "--only", ",".join(PCL_CONTENDERS),
                       "--limit", str(max(1, round(limit)))]
            run = subprocess.run(command, capture_output=True, text=True, check=False)
        if run.returncode != 0:
            raise RuntimeError(run.stderr.strip() or f"exit code {run.returncode}")
        return self._parsed(run.stdout, len(scenes), row)

    @staticmethod
    def _text(scenes: Sequence[Scene], row: Row) -> str:
        lines = [str(len(scenes))]
        for scene in scenes:
            lines.append(f"{row.kept} {row.jitter} {int(row.full_turn)} {int(row.scaled)}")
            for points in (scene.model, scene.data):
                lines.append(str(len(points)))
                lines += [f"{x:.17g} {y:.17g}" for x, y in points]
        return "\n".join(lines) + "\n"

    def _parsed(self, text: str, num_scenes: int, row: Row) -> dict[str, list[Outcome]]:
        outcomes: dict[str, list[Outcome]] = {name: [] for name in PCL_CONTENDERS}
        for line in text.splitlines():
            if line.startswith("PCL "):
                self.version = line
                continue
            try:
                name, *words = line.split()
                index, has_ended, has_pose = (int(word) for word in words[:3])
                seconds, a, b, tx, ty = (float(word) for word in words[3:])
                some = outcomes[name]
            except (KeyError, ValueError):
                raise RuntimeError(f"unexpected line: {line}") from None
            if index != len(some):
                raise RuntimeError(f"scene {index} of {name} came out of turn")
            pose = np.array([[a, -b, tx], [b, a, ty]]) if has_pose else None
            some.append(Outcome(pose, seconds, bool(has_ended)))
        for name, some in outcomes.items():
            if len(some) != num_scenes and not (row.scaled and not some):
                raise RuntimeError(f"{name} answered {len(some)} of {num_scenes} scenes")
        return outcomes


class PclContender(Contender):
    """One of the program's alignments; the program solves a row once for all of them."""

    def __init__(self, name: str, program: PclProgram, solved: dict[str, Any]) -> None:
        self.name = name
        self._program = program
        self._solved = solved

    def find_all(self, scenes: Sequence[Scene], row: Row, limit: float) -> list[Outcome]:
        if row.name not in self._solved:
            self._solved[row.name] = self._program.find_all(scenes, row, limit)
        outcomes: list[Outcome] = self._solved[row.name][self.name]
        return outcomes


def make_contenders(pcl: str | None) -> tuple[list[Contender], list[str], list[str]]:
    """The contenders, their versions, and a sentence for each peer that is missing."""
    contenders: list[Contender] = [Ptmatch(knows_jitter=False), Ptmatch(knows_jitter=True)]
    versions, missing = [Ptmatch.version], []
    try:
        astroalign = Astroalign()
        contenders.append(astroalign)
        versions.append(astroalign.version)
    except ImportError as error:
        missing.append(f"astroalign: {error}; Debian's package is python3-astroalign")
    if pcl is None:
        missing.append(f"PCL ({', '.join(PCL_CONTENDERS)}): {PCL_HELP}")
        return contenders, versions, missing
    try:
        program = PclProgram(pcl)
        solved: dict[str, Any] = {}
        contenders += [PclContender(name, program, solved) for name in PCL_CONTENDERS]
        versions.append(program.version)
    except (OSError, RuntimeError) as error:
        missing.append(f"PCL ({', '.join(PCL_CONTENDERS)}): {pcl}: {error}")
    return contenders, versions, missing


# ---- Table ----


@dataclass
class Tally:
    """How a contender did in a row."""

    num_tried: int = 0
    num_right: int = 0
    num_wrong: int = 0
    num_none: int = 0
    num_stopped: int = 0
    median_seconds: float = 0.0
    median_is_limit: bool = False

    @property
    def rate(self) -> float:
        return self.num_right / self.num_tried

    @property
    def cell(self) -> str:
        if self.num_tried == 0:
            return f"{'-':>5}{'-':>8}"
        ms = f"{1e3 * self.median_seconds:.3g}"
        if 1e3 * self.median_seconds >= 1000.0:
            ms = f"{1e3 * self.median_seconds:.0f}"
        return f"{self.rate:5.2f}{('>' if self.median_is_limit else '') + ms:>8}"


def tally_of(outcomes: Sequence[Outcome], scenes: Sequence[Scene], row: Row, limit: float) -> Tally:
    tally = Tally(num_tried=len(outcomes))
    if not outcomes:
        return tally
    for outcome, scene in zip(outcomes, scenes, strict=False):
        if is_right(outcome, scene, row):
            tally.num_right += 1
        elif not outcome.has_ended:
            tally.num_stopped += 1
        elif outcome.pose is None:
            tally.num_none += 1
        else:
            tally.num_wrong += 1
    tally.median_seconds = statistics.median(outcome.seconds for outcome in outcomes)
    tally.median_is_limit = tally.median_seconds >= limit
    return tally


def head_of(row: Row) -> str:
    data = f"{row.num_kept}+{row.num_clutter}"
    return (f"{row.name:<13}{row.num_model:>5}{data:>9}{row.jitter:>7g}"
            f"{'full' if row.full_turn else '±15°':>6}{'±10 %' if row.scaled else '1':>7} ")


def print_header(contenders: Sequence[Contender]) -> None:
    blank = f"{'':<13}{'':>5}{'':>9}{'':>7}{'':>6}{'':>7} "
    print(blank + "".join(f" |{contender.name:^13}" for contender in contenders))
    titles = f"{'row':<13}{'model':>5}{'data':>9}{'jitter':>7}{'turn':>6}{'scale':>7} "
    print(titles + " | rate      ms" * len(contenders))
    print("-" * len(titles) + "-+-------------" * len(contenders))


def processor() -> str:
    try:
        for line in Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or platform.machine()


def print_preamble(options: argparse.Namespace, versions: list[str], missing: list[str]) -> None:
    print(f"The same scenes for all, {options.scenes} a row, stopped after {options.limit} s each.")
    print("data: points of the model that are seen + others. jitter: in units; the model lies in a")
    print(f"square of {SIDE:g}. rate: share of scenes with the right pose. ms: median processor")
    print("time of one thread, from the data to the pose. What is right, and how each is set up:")
    print("--help.")
    print(f"{', '.join(versions)}; Python {platform.python_version()}, NumPy {np.__version__}")
    load = ", ".join(f"{value:.1f}" for value in os.getloadavg())
    print(f"{processor()}, {os.cpu_count()} processors, load {load}")
    for sentence in missing:
        print(f"left out: {sentence}")
    print()


def print_failures(contenders: Sequence[Contender], table: dict[str, dict[str, Tally]]) -> None:
    print("\nFailures in all rows: wrong pose / no pose / stopped at the limit, of scenes tried")
    for contender in contenders:
        tallies = [cells[contender.name] for cells in table.values()]
        wrong, none, stopped, tried = (
            sum(getattr(tally, field) for tally in tallies)
            for field in ("num_wrong", "num_none", "num_stopped", "num_tried"))
        print(f"  {contender.name:<13}{wrong:>4} /{none:>4} /{stopped:>4}  of {tried}")


# ---- Picture ----


def draw_picture(
    path: str, rows: Sequence[Row], contenders: Sequence[Contender],
    table: dict[str, dict[str, Tally]]
) -> None:
    from matplotlib.figure import Figure

    height = 1.4 + 0.5 * len(rows)  # inches
    figure = Figure(figsize=(11.0, height), layout="constrained")
    rates, times = figure.subplots(1, 2, sharey=True)
    figure.get_layout_engine().set(rect=(0.0, 0.0, 1.0, 1.0 - 0.4 / height))  # the legend's place
    places = np.arange(len(rows), dtype=float)
    thickness = 0.8 / len(contenders)
    for number, contender in enumerate(contenders):
        tallies = [table[row.name][contender.name] for row in rows]
        tried = np.array([tally.num_tried > 0 for tally in tallies])
        at = (places + (number - 0.5 * (len(contenders) - 1)) * thickness)[tried]
        rate = np.array([tally.rate for tally in tallies if tally.num_tried])
        ms = np.array([1e3 * tally.median_seconds for tally in tallies if tally.num_tried])
        colour = f"C{number}"
        rates.barh(at, rate, 0.9 * thickness, color=colour, label=contender.name)
        # A rate of 0 has to be told from a row that was sat out.
        rates.plot(np.zeros(np.sum(rate == 0.0)), at[rate == 0.0], "|", color=colour)
        # A hollow mark: half of the scenes or more were failures, so the time is one of failures.
        good = rate > 0.5
        times.plot(ms[good], at[good], "o", color=colour)
        times.plot(ms[~good], at[~good], "o", color=colour, fillstyle="none")
    rates.set_yticks(places, [f"{row.name}\n{row.num_model} in {row.num_kept}+{row.num_clutter}"
                              for row in rows], fontsize="small")
    rates.set_ylim(len(rows) - 0.5, -0.5)  # the first row on top
    rates.set(xlim=(-0.02, 1.02), xlabel="share of scenes with the right pose")
    times.set(xscale="log", xlabel="median time, ms (hollow: half or more failed)")
    times.xaxis.set_major_formatter("{x:g}")
    for axes in (rates, times):
        axes.grid(axis="x", alpha=0.3)
        for edge in places[1:] - 0.5:
            axes.axhline(edge, color="0.85", linewidth=0.8)
    figure.legend(
        handles=rates.containers, loc="upper center", ncols=len(contenders), frameon=False)
    figure.savefig(path)


# ---- Command ----


def parsed(arguments: Sequence[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--quick", action="store_true", help="three rows of three scenes")
    parser.add_argument("--scenes", type=int, help="scenes a row (12; 3 with --quick)")
    parser.add_argument("--limit", type=int, default=5,
                        help="seconds of processor time that a scene may take (5)")
    parser.add_argument("--pcl", metavar="PROGRAM", help="ptmatch_peers, built with PCL")
    parser.add_argument("--picture", metavar="FILE", help="draw the table, in matplotlib's formats")
    options = parser.parse_args(arguments)
    if options.scenes is None:
        options.scenes = 3 if options.quick else 12
    if options.scenes < 1 or options.limit < 1:
        parser.error("--scenes and --limit are 1 or more")
    return options


def main(arguments: Sequence[str] | None = None) -> int:
    options = parsed(arguments)
    contenders, versions, missing = make_contenders(options.pcl)
    rows = [row for row in ROWS if not options.quick or row.name in QUICK_ROWS]
    print_preamble(options, versions, missing)
    print_header(contenders)
    table: dict[str, dict[str, Tally]] = {}
    for row in rows:
        scenes = [draw_scene(row, index) for index in range(options.scenes)]
        table[row.name] = {
            contender.name: tally_of(contender.find_all(scenes, row, options.limit), scenes, row,
                                     options.limit)
            for contender in contenders}
        cells = "".join(f" |{tally.cell}" for tally in table[row.name].values())
        print(head_of(row) + cells, flush=True)
    print_failures(contenders, table)
    if options.picture:
        draw_picture(options.picture, rows, contenders, table)
        print(f"\nwrote {options.picture}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
