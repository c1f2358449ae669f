"""The grid corresponder against a count of every placement, and the store of scores."""

import copy
import pickle
from concurrent.futures import ProcessPoolExecutor
from typing import Any

import numpy as np
import pytest
from lattices import advances_during, lattice

import ptmatch
from ptmatch import (
    rx_PointToGridCorresponder,
    rx_PointToGridCorresponderDefs,
    rx_PointToGridCorresponderResult,
    rx_PointToGridCorresponderResultSet,
    rx_PointToGridCorresponderRunParams,
    rx_PointToGridCorresponderTrainParams,
    rxScoreHashing,
    rxXform,
)

Position = tuple[int, int]
ALL = rx_PointToGridCorresponderDefs.eAllPoints
BORDER = rx_PointToGridCorresponderDefs.eBorderPoints

PATTERN = [(3, 4), (4, 4), (5, 4), (3, 5), (5, 5), (3, 6), (4, 6), (5, 6), (6, 6), (3, 8)]


def trained(
    positions: Any = PATTERN, feature: Any = ALL, staggered: bool = False
) -> rx_PointToGridCorresponder:
    tool = rx_PointToGridCorresponder()
    tool.train(positions, rx_PointToGridCorresponderTrainParams(staggered, feature), rxXform())
    return tool


def placed(
    tool: rx_PointToGridCorresponder, data: Any, accept: float, most: int = 1000
) -> list[tuple[float, Position]]:
    results = rx_PointToGridCorresponderResultSet()
    is_found = tool.run(data, rx_PointToGridCorresponderRunParams(accept, 1.0, most), results)
    assert is_found == bool(results.results())
    assert all(result.found() for result in results.results())
    return [(result.score(), result.position()) for result in results.results()]


def probes_of(pattern: Any, feature: Any) -> list[tuple[Position, bool]]:
    """What has to be full, and what empty, row by row from the smallest coordinates on.

    Nothing is asked of places beyond the rectangle around the pattern.
    """
    corner = np.min(pattern, axis=0)
    points = {(int(x - corner[0]), int(y - corner[1])) for x, y in pattern}
    if feature == ALL:
        return sorted(((p, True) for p in points), key=lambda probe: probe[0][::-1])
    sides = ((1, 0), (-1, 0), (0, 1), (0, -1))
    around = {p: {(p[0] + a, p[1] + b) for a, b in sides} for p in points}
    full = {p for p in points if around[p] - points}
    width, height = np.ptp(pattern, axis=0)
    empty = {
        (x, y)
        for x, y in set().union(*around.values()) - points
        if 0 <= x <= width and 0 <= y <= height
    }
    probes = [(p, True) for p in full] + [(p, False) for p in empty]
    return sorted(probes, key=lambda probe: probe[0][::-1])


def all_placements(
    pattern: Any, probes: list[tuple[Position, bool]], data: Any, accept: float
) -> list[tuple[float, Position]]:
    """Every translation, two steps beyond the data at most, with its share of agreeing probes."""
    points = {(int(x), int(y)) for x, y in data}
    low, high = np.min(pattern, axis=0), np.max(pattern, axis=0)
    first, last = np.min(data, axis=0), np.max(data, axis=0)
    needed = int(accept * len(probes))
    early = max(1, len(probes) - needed)
    found = []
    for y in range(first[1] - 2 - low[1], last[1] + 2 - high[1] + 1):
        for x in range(first[0] - 2 - low[0], last[0] + 2 - high[0] + 1):
            agree = [
                ((p[0] + low[0] + x, p[1] + low[1] + y) in points) == expected
                for p, expected in probes
            ]
            if sum(agree) >= needed and any(agree[:early]):
                found.append((sum(agree) / len(probes), (x, y)))
    # Highest first; of equal ones the last in raster order.
    return sorted(found, key=lambda f: (-f[0], -f[1][1], -f[1][0]))


@pytest.mark.parametrize("feature", [ALL, BORDER])
@pytest.mark.parametrize("seed", range(4))
def test_placements_are_those_of_a_plain_count(feature: Any, seed: int) -> None:
    random = np.random.default_rng(seed)
    kept = random.random(len(PATTERN)) < 0.9
    clutter = random.integers(-3, 22, (70, 2))
    data = np.unique(np.concatenate([np.array(PATTERN)[kept] + (7, 5), clutter]), axis=0)
    random.shuffle(data)
    probes = probes_of(PATTERN, feature)
    tool = trained(PATTERN, feature)
    assert [(probe.position, probe.expected) for probe in tool.probes()] == probes
    for accept in (0.4, 0.6, 0.75):
        expected = all_placements(PATTERN, probes, data, accept)
        assert expected
        assert placed(tool, data, accept) == expected
        best = [f for f in expected if f[0] == expected[0][0]]
        assert placed(tool, data, accept, 1) == best[-1:]


def test_an_image_stands_for_the_positions_of_its_pixels() -> None:
    pixels = np.zeros((5, 4))
    for x, y in PATTERN:
        pixels[y - 4, x - 3] = 1
    image = ptmatch.rxPelBuffer(pixels, (3, 4))
    params = rx_PointToGridCorresponderTrainParams(False, ALL)
    tool = rx_PointToGridCorresponder()
    tool.train(image, params)
    assert tool.probes() == trained().probes()
    assert placed(tool, image, 1.0) == placed(trained(), PATTERN, 1.0) == [(1.0, (0, 0))]
    pattern = tool.pattern()
    assert pattern.offset() == (3, 4)
    assert np.array_equal(pattern.pixels(), pixels)


def test_what_was_trained_is_told() -> None:
    tool = rx_PointToGridCorresponder()
    assert not tool.isTrained()
    assert tool.probes() == []
    assert repr(tool) == "<rx_PointToGridCorresponder, untrained>"
    assert placed(tool, PATTERN, 0.5) == []
    params = rx_PointToGridCorresponderTrainParams(True, BORDER)
    tool.train(np.array(PATTERN, dtype=np.float32), params, rxXform([[2, 0], [0, 2]], (1, 1)))
    assert tool.isTrained()
    assert tool.trainParams() == params
    assert tool.pattern().clientFromImageXform() == rxXform([[2, 0], [0, 2]], (1, 1))
    tool.untrain()
    assert not tool.isTrained()
    assert tool.trainParams() == params
    assert tool.pattern().width() == 4
    assert repr(trained()) == "<rx_PointToGridCorresponder of 10 probes>"
    assert repr(trained().probes()[0]) == "<ProbePt (0, 0), expected>"


@pytest.mark.parametrize(
    ("positions", "error", "message"),
    [
        (
            [(0.5, 0)],
            ValueError,
            "gridPoints: expected whole numbers of 32 bits, got 0.5 at index 0",
        ),
        (
            [(0, 0), (2**31, 0)],
            ValueError,
            "gridPoints: expected whole numbers of 32 bits, got 2.14748e+09 at index 1",
        ),
        ([1, 2], ValueError, "gridPoints: expected an array of shape (n, 2), got shape (2,)"),
        ("no", TypeError, "gridPoints: expected real numbers, got an array of <U2"),
    ],
)
def test_what_are_no_positions_is_refused(positions: Any, error: Any, message: str) -> None:
    tool = trained()
    for call in (lambda: trained(positions), lambda: placed(tool, positions, 0.5)):
        with pytest.raises(error) as raised:
            call()
        assert str(raised.value) == message


def test_a_training_that_fails_leaves_what_was_trained() -> None:
    defs = rx_PointToGridCorresponderDefs
    tool = trained()
    other = rx_PointToGridCorresponderTrainParams(True, BORDER)
    with pytest.raises(defs.InsufficientModelPoints) as raised:
        tool.train([], other, rxXform())
    assert isinstance(raised.value, ptmatch.InsufficientPatternPoints)
    assert isinstance(raised.value, (defs.Errors, ValueError))
    assert tool.probes() == trained().probes()
    assert tool.trainParams() == other
    with pytest.raises(ptmatch.InsufficientPatternPoints):
        tool.train(ptmatch.rxPelBuffer(np.eye(2)), other)
    with pytest.raises(defs.InsufficientMemory) as too_large:
        tool.train([(0, 0), (2**30, 2**30)], other, rxXform())
    assert isinstance(too_large.value, (ptmatch.GridCorresponderError, MemoryError))
    assert tool.probes() == trained().probes()


def test_run_parameters_keep_what_they_are_given() -> None:
    params = rx_PointToGridCorresponderRunParams()
    assert (params.accept(), params.confusion(), params.maxNumResults()) == (0.5, 1.0, 1)
    params.accept(-7.0)
    params.confusion(0.25)
    params.maxNumResults(0)
    assert (params.accept(), params.confusion(), params.maxNumResults()) == (-7.0, 0.25, 0)
    assert repr(params) == (
        "<rx_PointToGridCorresponderRunParams: accept -7.0, confusion 0.25, maxNumResults 0>"
    )
    with pytest.raises(TypeError):
        params.maxNumResults(2**31)
    train = rx_PointToGridCorresponderTrainParams()
    assert (train.staggered(), train.featureType()) == (False, BORDER)
    train.staggered(True)
    train.featureType(rx_PointToGridCorresponderDefs.FeatureType(2))
    assert train.featureType() == rx_PointToGridCorresponderDefs.eWideBorderPoints
    assert repr(train) == (
        "<rx_PointToGridCorresponderTrainParams: staggered True, featureType 2>"
    )


def found_elsewhere(tool: rx_PointToGridCorresponder) -> list[tuple[float, Position]]:
    return placed(tool, np.add(PATTERN, (5, -2)), 0.9)


def test_everything_travels_copies_and_compares() -> None:
    tool = trained()
    with ProcessPoolExecutor(1) as pool:
        assert pool.submit(found_elsewhere, tool).result() == [(1.0, (5, -2))]
    results = rx_PointToGridCorresponderResultSet()
    tool.run(PATTERN, rx_PointToGridCorresponderRunParams(0.5, 1.0, 9), results)
    assert len(results.results()) > 1
    assert repr(results.results()[0]) == "<rx_PointToGridCorresponderResult: score 1.0 at (0, 0)>"
    others: list[tuple[Any, Any]] = [
        (tool, trained(PATTERN[1:])),
        (results, rx_PointToGridCorresponderResultSet()),
        (results.results()[0], rx_PointToGridCorresponderResult()),
        (rx_PointToGridCorresponderRunParams(0.7), rx_PointToGridCorresponderRunParams(0.8)),
        (rx_PointToGridCorresponderTrainParams(True), rx_PointToGridCorresponderTrainParams()),
    ]
    for value, other in others:
        assert value != other
        for same in (
            pickle.loads(pickle.dumps(value)),
            copy.copy(value),
            copy.deepcopy(value),
            type(value).from_bytes(value.to_bytes()),
        ):
            assert same == value
        for damaged in (b"", value.to_bytes()[:-1], value.to_bytes() + b"?"):
            with pytest.raises(ptmatch.ArchiveError):
                type(value).from_bytes(damaged)
    probe = tool.probes()[3]
    assert pickle.loads(pickle.dumps(probe)) == probe != tool.probes()[4]


def test_a_copy_is_trained_by_itself() -> None:
    tool = trained()
    for other in (copy.copy(tool), copy.deepcopy(tool)):
        other.untrain()
        assert not other.isTrained()
        assert tool.isTrained()


def test_other_threads_advance_during_a_run() -> None:
    random = np.random.default_rng(3)
    places = lattice(700, 700)
    data = places[random.random(len(places)) < 0.5]
    tool = trained(lattice(40, 40))
    params = rx_PointToGridCorresponderRunParams(0.45, 1.0, 10)
    results = rx_PointToGridCorresponderResultSet()
    # Positions of the array are read first; an image of them would be so, too.
    assert advances_during(lambda: tool.run(data, params, results))
    assert len(results.results()) == 10


# --- the store of scores -------------------------------------------------------------------------


def visited(store: rxScoreHashing) -> list[tuple[int, Any]]:
    found = []
    score, position = store.first()
    while score >= 0:
        found.append((score, position))
        score, position = store.next()
    assert position is None
    return found


def test_the_store_keeps_the_best_and_visits_them_from_the_top() -> None:
    store = rxScoreHashing(100, 3)
    assert (store.maxScore(), store.maxResults(), store.numResults()) == (100, 3, 0)
    assert (store.highestScore(), store.lowestScore()) == (-1, -1)
    assert store.first() == store.next() == (-1, None)
    assert store.add(10, (1, 1))
    assert store.add(10, (2, 2))
    assert store.add(42, (3, 3))
    assert visited(store) == [(42, (3, 3)), (10, (2, 2)), (10, (1, 1))]
    assert not store.add(10, (4, 4))  # a tie displaces nobody
    assert store.add(11, (5, 5))  # the latest of the lowest score goes
    assert visited(store) == [(42, (3, 3)), (11, (5, 5)), (10, (1, 1))]
    assert not store.add(101, (0, 0)) and not store.add(-1, (0, 0))
    assert (store.highestScore(), store.lowestScore(), store.numResults()) == (42, 10, 3)
    assert repr(store) == "<rxScoreHashing of 3 positions>"
    store.clear()
    assert visited(store) == []
    store.max(7, 2)
    assert (store.maxScore(), store.maxResults()) == (7, 2)
    assert store.add(7, (1, 2)) and not store.add(8, (1, 2))


def test_the_store_agrees_with_a_sorted_list() -> None:
    random = np.random.default_rng(11)
    store = rxScoreHashing(50, 20)
    scores = random.permutation(51)[:40]
    for k, score in enumerate(scores):
        store.add(int(score), (k, -k))
    best = sorted(((int(s), (k, -k)) for k, s in enumerate(scores)), reverse=True)[:20]
    assert visited(store) == best


def test_a_store_without_room_refuses_and_none_is_copied() -> None:
    assert not rxScoreHashing(10, 0).add(5, (0, 0))
    assert not rxScoreHashing(-3, 5).add(0, (0, 0))
    with pytest.raises(MemoryError):
        rxScoreHashing(2**31, 1)
    for make in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError):
            make(rxScoreHashing())
