"""Runs side by side, interruption, progress, and nothing that leaks."""

import concurrent.futures
import gc
import io
import os
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest
from scenes import make_scene

import ptmatch

RNG = np.random.default_rng(1)
#: Takes seconds to search, far longer than any test waits.
HEAVY_MODEL = RNG.uniform(0, 400, (60, 2))
HEAVY_DATA = RNG.uniform(0, 3000, (3000, 2))
HEAVY = {"rotation": "full", "scale": (-0.3, 0.3), "min_coverage": 0.3, "grid_size": 1.0}


def heavy_run(**more):
    return ptmatch.Matcher.train(HEAVY_MODEL).match(HEAVY_DATA, **HEAVY, **more)


def test_other_threads_run_during_a_search():
    counted = 0
    stop = threading.Event()

    def count():
        nonlocal counted
        while not stop.is_set():
            counted += 1
            time.sleep(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    before = counted
    with pytest.raises(ptmatch.DeadlinePassed):
        heavy_run(time_limit=0.3)
    during = counted - before
    stop.set()
    thread.join()
    # Each look at the clock and for signals would let it run once; it ran all the time.
    assert during > 50


def test_one_matcher_serves_many_threads_with_equal_results():
    scenes = [make_scene(seed, jitter=0.2) for seed in range(24)]
    matcher = ptmatch.Matcher.train(scenes[0].model)
    frames = [scene.data for scene in scenes]
    serial = [matcher.match(frame, max_results=3, min_coverage=0.2) for frame in frames]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        parallel = pool.map(lambda f: matcher.match(f, max_results=3, min_coverage=0.2), frames)
        assert list(parallel) == serial


def test_a_matcher_may_be_trained_anew_while_it_runs():
    scene = make_scene(2)
    other = make_scene(3).model
    core = ptmatch.rxPointMatcher()
    auto = ptmatch.rxPointMatcherDefs.eAutoDetect
    core.train(scene.model, auto)
    params = ptmatch.rxPointMatcherRunParams(0.9)
    stop = threading.Event()
    failures = []

    def train_again():
        while not stop.is_set():
            core.train(other, auto)
            core.train(scene.model, auto)

    thread = threading.Thread(target=train_again)
    thread.start()
    for _ in range(200):
        found = ptmatch.rxPointMatcherResultSet()
        core.run(scene.data, params, found)
        # Either the pattern that is there, or the other one, which is not.
        maps = [result.modelToDataMap().tolist() for result in found.results()]
        if maps not in ([], [scene.truth.tolist()]):
            failures.append(maps)
    stop.set()
    thread.join()
    assert failures == []


def test_parameters_and_results_may_be_shared_by_running_threads():
    scene = make_scene(4)
    matcher = ptmatch.Matcher.train(scene.model).core
    params = ptmatch.rxPointMatcherRunParams()
    found = ptmatch.rxPointMatcherResultSet()

    def work(number):
        params.minCoverage(0.5 + 0.4 * (number % 2))
        matcher.run(scene.data, params, found)
        return [result.coverage() for result in found.results()]

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(coverages == [1.0] for coverages in pool.map(work, range(200)))


def test_ctrl_c_ends_a_search_with_keyboard_interrupt():
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
    timer.start()
    begin = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        heavy_run()
    assert time.monotonic() - begin < 5.0
    timer.join()
    assert ptmatch.Matcher.train(HEAVY_MODEL[:5]).match(HEAVY_MODEL[:5]).best.coverage == 1.0


def test_ctrl_c_ends_the_counting_of_votes_and_the_search_for_reasons():
    matcher = ptmatch.Matcher.train(HEAVY_MODEL)
    for call in (matcher.vote_image, matcher.why_not):
        timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
        timer.start()
        with pytest.raises(KeyboardInterrupt):
            call(HEAVY_DATA, **HEAVY)
        timer.join()


def test_what_a_signal_handler_raises_comes_out_of_the_search():
    class Stop(Exception):
        pass

    def stop(*_):
        raise Stop

    before = signal.signal(signal.SIGALRM, stop)
    signal.setitimer(signal.ITIMER_REAL, 0.2)
    try:
        with pytest.raises(Stop):
            heavy_run()
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)


def test_a_signal_that_is_handled_does_not_end_the_search():
    handled = []
    before = signal.signal(signal.SIGALRM, lambda *_: handled.append(True))
    signal.setitimer(signal.ITIMER_REAL, 0.05, 0.05)
    try:
        with pytest.raises(ptmatch.DeadlinePassed):
            heavy_run(time_limit=0.5)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
    assert len(handled) >= 2


def test_a_process_that_is_interrupted_ends_as_python_does():
    code = (
        "import sys, ptmatch, numpy as np; r = np.random.default_rng(1);"
        "m = ptmatch.Matcher.train(r.uniform(0, 400, (60, 2)));"
        "d = r.uniform(0, 3000, (3000, 2)); print('ready', flush=True);"
        "m.match(d, rotation='full', scale=(-.3, .3), min_coverage=.3, grid_size=1.)"
    )
    child = subprocess.Popen(
        [sys.executable, "-c", code], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
    )
    child.stdout.readline()
    time.sleep(0.2)
    child.send_signal(signal.SIGINT)
    _, errors = child.communicate(timeout=30)
    assert child.returncode == -signal.SIGINT
    assert errors.rstrip().endswith("KeyboardInterrupt")


def test_a_request_for_attention_interrupts_every_search_until_it_is_withdrawn():
    attention = ptmatch.rxAttention
    scene = make_scene(1)
    matcher = ptmatch.Matcher.train(scene.model)
    attention.request()
    try:
        assert attention.isRequested()
        with pytest.raises(ptmatch.Interrupted):
            matcher.match(scene.data)
        with pytest.raises(ptmatch.Interrupted):
            attention.check()
    finally:
        attention.clear()
    assert not attention.isRequested() and matcher.match(scene.data)


def test_progress_is_told_in_growing_shares_up_to_one():
    scene = make_scene(6)
    matcher = ptmatch.Matcher.train(scene.model)
    shares = []
    search = {"rotation": "full", "grid_size": 1.0}
    found = matcher.match(scene.data, **search, progress=shares.append)
    assert shares == sorted(shares) and shares[-1] == 1.0
    assert all(0.0 <= share <= 1.0 for share in shares)
    assert found == matcher.match(scene.data, **search)


def test_what_progress_raises_ends_the_search():
    def refuse(share):
        raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"):
        heavy_run(progress=refuse)


def test_progress_may_search_itself():
    inner = make_scene(7)
    matcher = ptmatch.Matcher.train(inner.model)
    coverages = []

    def search(share):
        coverages.append(matcher.match(inner.data).best.coverage)

    assert matcher.match(inner.data, progress=search).best.coverage == 1.0
    assert coverages and set(coverages) == {1.0}


def test_a_bar_is_drawn_on_stderr_and_its_line_ends(capsys):
    scene = make_scene(8)
    ptmatch.Matcher.train(scene.model).match(scene.data, progress=True)
    drawn = capsys.readouterr().err
    assert drawn.startswith("\r[") and drawn.endswith("[" + 40 * "#" + "] 100 %\n")


def test_the_bar_ends_its_line_when_the_search_fails():
    stream = io.StringIO()
    with pytest.raises(ZeroDivisionError), ptmatch.progress.Bar(stream) as bar:
        bar(0.5)
        raise ZeroDivisionError
    assert stream.getvalue() == "\r[" + 20 * "#" + 20 * "." + "]  50 %\n"


@pytest.mark.parametrize("no_bar", [None, False])
def test_nothing_is_drawn_unasked(capsys, no_bar):
    scene = make_scene(8)
    ptmatch.Matcher.train(scene.model).match(scene.data, progress=no_bar)
    assert capsys.readouterr() == ("", "")


def test_a_time_limit_ends_the_search_and_one_that_suffices_changes_nothing():
    begin = time.monotonic()
    with pytest.raises(TimeoutError, match="the run took longer than its limit of 0.1 s"):
        heavy_run(time_limit=0.1)
    assert time.monotonic() - begin < 5.0
    scene = make_scene(9)
    matcher = ptmatch.Matcher.train(scene.model)
    assert matcher.match(scene.data, time_limit=1000.0) == matcher.match(scene.data)


def resident_bytes():
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


SCENE = make_scene(10)
MATCHER = ptmatch.Matcher.train(SCENE.model)
FOUND = MATCHER.match(SCENE.data, max_results=5)


def fails(kind, call, *arguments, **keywords):
    try:
        call(*arguments, **keywords)
    except kind:
        return
    raise AssertionError("it did not fail")


USES = {
    "train": lambda: ptmatch.Matcher.train(SCENE.model, np.ones(len(SCENE.model))),
    "match": lambda: MATCHER.match(SCENE.data, max_results=5, rotation=(-3, 3)),
    "progress": lambda: MATCHER.match(SCENE.data, progress=lambda share: None),
    "certainty": lambda: MATCHER.certainty(FOUND, SCENE.data),
    "reasons": lambda: MATCHER.why_not(SCENE.data),
    "votes": lambda: MATCHER.vote_image(SCENE.data, FOUND.best.matrix),
    "record": lambda: ptmatch.Matcher.from_bytes(MATCHER.to_bytes()),
    "wrong shape": lambda: fails(ValueError, MATCHER.match, [[0, 0, 0]]),
    "wrong type": lambda: fails(TypeError, MATCHER.match, [["a", "b"]]),
    "library's error": lambda: fails(ptmatch.BadParams, MATCHER.match, SCENE.data, max_results=0),
    "raising progress": lambda: fails(
        ZeroDivisionError, MATCHER.match, SCENE.data, progress=lambda share: 1 / 0
    ),
}


@pytest.mark.parametrize("use", USES)
def test_no_object_is_left_over(use):
    rounds = 60
    for _ in range(10):
        USES[use]()
    grown = []
    for _ in range(4):
        gc.collect()
        blocks = sys.getallocatedblocks()
        for _ in range(rounds):
            USES[use]()
        gc.collect()
        grown.append(sys.getallocatedblocks() - blocks)
    # Caches grow now and then; one object left over by each use would show in every round.
    assert min(grown) < rounds / 2


MANY = np.random.default_rng(3).uniform(0.0, 400.0, (100_000, 2))  # 1.6 MB
NARROW = {
    "translation_x": (0, 0),
    "translation_y": (0, 0),
    "rotation": (0, 0),
    "capture_range": 0.01,
    "min_coverage": 0.9,
}
LARGE_USES = {
    "match": lambda: MATCHER.match(MANY, **NARROW),
    "cost": lambda: MATCHER.cost(MANY, **NARROW),
    "refused": lambda: fails(ptmatch.BadParams, MATCHER.match, MANY, max_results=0),
    "not finite": lambda: fails(ValueError, MATCHER.match, np.where(MANY < 399, MANY, np.nan)),
    "raising progress": lambda: fails(
        ZeroDivisionError, MATCHER.match, MANY, progress=lambda share: 1 / 0, **NARROW
    ),
    "train": lambda: ptmatch.Matcher.train(MANY[:5000]).to_bytes(),
}


@pytest.mark.parametrize("use", LARGE_USES)
def test_memory_does_not_grow(use):
    for _ in range(5):
        LARGE_USES[use]()
    memory = resident_bytes()
    for _ in range(20):
        LARGE_USES[use]()
    # One copy of the points left over by each use would be 32 MB, or 1.6 of those trained on.
    assert resident_bytes() - memory < (1 << 20 if use == "train" else 8 << 20)


def test_no_reference_to_arguments_is_kept():
    scene = make_scene(11)
    matcher = ptmatch.Matcher.train(scene.model)
    params = ptmatch.rxPointMatcherRunParams()
    found = ptmatch.rxPointMatcherResultSet()

    def progress(share):
        return None

    arguments = (scene.model, scene.data, params, found, progress, matcher.core)
    before = [sys.getrefcount(argument) for argument in arguments]
    for _ in range(10):
        matcher.core.run(scene.data, params, found)
        matcher.match(scene.data, progress=progress)
        ptmatch.Matcher.train(scene.model)
    gc.collect()
    assert [sys.getrefcount(argument) for argument in arguments] == before
