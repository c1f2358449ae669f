"""What nobody should do, and somebody will: nothing ends the process, nothing is silently wrong."""

import copy
import io
import math
import pickle
import subprocess
import sys
from decimal import Decimal
from fractions import Fraction
from unittest import mock

import numpy as np
import pytest

import ptmatch
from ptmatch import _core

SQUARE = [(0, 0), (40, 0), (40, 25), (10, 30)]
MATCHER = ptmatch.Matcher.train(SQUARE)


def ended(code):
    done = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, timeout=60, check=False
    )
    return done.returncode, done.stderr


@pytest.mark.parametrize("watched", ["", ", progress=lambda share: None"])
def test_a_program_may_end_while_threads_search(watched):
    code = (
        "import threading, time, ptmatch\n"
        f"S = {SQUARE}\n"
        "M = ptmatch.Matcher.train(S)\n"
        "def search():\n"
        f"    while True: M.match(S{watched})\n"
        "for _ in range(4): threading.Thread(target=search, daemon=True).start()\n"
        "time.sleep(0.1)\n"
    )
    for _ in range(3):
        assert ended(code) == (0, "")


def values():
    found = MATCHER.match(SQUARE)
    return [
        ptmatch.rxRange(1, 2),
        ptmatch.rxXform(),
        ptmatch.rxDegree(3),
        ptmatch.rxPelBuffer([[1]]),
        ptmatch.rxPointMatcherDefs.ePointToGrid,
        MATCHER,
        found,
        found.best,
        MATCHER.core,
    ]


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_every_protocol_pickles(protocol):
    for value in values():
        assert pickle.loads(pickle.dumps(value, protocol)) == value


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_what_cannot_be_pickled_says_so(protocol):
    for value in (ptmatch.rxLine(), ptmatch.rxRunLimits(), MATCHER.certainty(MATCHER.match(SQUARE), SQUARE)):
        with pytest.raises((TypeError, pickle.PicklingError)):
            pickle.dumps(value, protocol)


def classes(scope):
    for value in vars(scope).values():
        if isinstance(value, type) and value.__module__ == "ptmatch._core":
            yield value
            yield from classes(value)


@pytest.mark.parametrize("kind", classes(_core), ids=lambda kind: kind.__qualname__)
def test_objects_made_without_their_constructor_are_refused(kind):
    made = kind.__new__(kind)
    for name in dir(kind):
        if name.startswith("__"):
            continue
        member = getattr(kind, name)
        if isinstance(member, property):
            with pytest.raises(TypeError):
                getattr(made, name)
        elif type(member).__name__ == "instancemethod":
            with pytest.raises(TypeError):
                getattr(made, name)()


def test_a_pickle_without_its_state_is_refused():
    empty = pickle.loads(b"cptmatch._core\nrxPointMatcher\n)\x81.")
    with pytest.raises(TypeError):
        empty.isTrained()


@pytest.mark.parametrize("state", [(), (b"", True, 1), (b"x",), b"", None, 5])
def test_a_pickle_with_another_state_is_refused(state):
    core = ptmatch.rxPointMatcher.__new__(ptmatch.rxPointMatcher)
    with pytest.raises((TypeError, ValueError)):
        core.__setstate__(state)


def test_points_are_read_once():
    array = np.array(SQUARE, dtype=float)
    best = MATCHER.match(array, progress=lambda share: array.fill(-1.0)).best
    assert np.array_equal(best.data_points, SQUARE) and best.distances.max() == 0.0
    rows = [list(point) for point in SQUARE]
    best = MATCHER.match(rows, progress=lambda share: rows.clear()).best
    assert np.array_equal(best.data_points, SQUARE)

    class Table:
        reads = 0

        def __array__(self, dtype=None):
            self.reads += 1
            return np.array(SQUARE, dtype=float)

    table = Table()
    MATCHER.match(table)
    assert table.reads == 1


@pytest.mark.parametrize(
    "number", [2.7, np.float32(2.7), Decimal("2.7"), np.array(2.7), Fraction(7, 2), "2", None]
)
def test_a_fraction_is_no_number_of_results(number):
    with pytest.raises(TypeError):
        MATCHER.match(SQUARE, max_results=number)


def test_numpy_integers_are_numbers_of_results():
    assert len(MATCHER.match(SQUARE, max_results=np.int64(3))) >= 1


def test_a_number_of_results_that_no_record_holds_is_refused():
    assert MATCHER.match(SQUARE, max_results=2**31 - 1)
    for call in (
        lambda: MATCHER.match(SQUARE, max_results=2**31),
        lambda: ptmatch.rxPointMatcherRunParams(0.5, maxNumResults=2**31),
    ):
        with pytest.raises(ptmatch.BadParams, match="maxNumResults must be at most 2147483647"):
            call()


def test_fractions_are_no_positions():
    for offset in ((1.7, 0), np.array([1.7, -0.9]), (Fraction(1, 2), 0)):
        with pytest.raises(TypeError):
            ptmatch.rxPelBuffer([[1]], offset)


def test_angles_are_equal_within_a_unit_only():
    assert ptmatch.rxDegree(180) != ptmatch.rxRadian(math.pi)
    assert len({ptmatch.rxDegree(180), ptmatch.rxRadian(math.pi), ptmatch.rxDegree(180)}) == 2


@pytest.mark.parametrize(
    "wrong",
    [
        np.eye(2) * 1j,
        [["1", "0"], ["0", "1"]],
        np.ma.masked_array(np.eye(2), mask=np.eye(2) > 0),
        np.eye(3),
        None,
    ],
)
def test_matrices_are_of_real_numbers(wrong):
    with pytest.raises(TypeError):
        ptmatch.rxXform(wrong, (0, 0))


@pytest.mark.parametrize("wrong", [np.ones((2, 3)) * 1j, [["1", "0", "0"]] * 2, "pose"])
def test_start_poses_are_of_real_numbers(wrong):
    with pytest.raises(TypeError, match="start_pose: expected real numbers"):
        MATCHER.match(SQUARE, start_pose=wrong)


def test_rows_with_a_mask_are_refused():
    masked = np.ma.masked_greater(np.array(SQUARE, dtype=float), 30)
    for points in (masked, list(masked), tuple(masked)):
        with pytest.raises(TypeError, match="masked"):
            MATCHER.match(points)
    with pytest.raises(TypeError, match="start_pose: expected real numbers, got a masked array"):
        MATCHER.match(SQUARE, start_pose=np.ma.masked_array(np.eye(3)))


@pytest.mark.parametrize("wrong, shape", [([1, 2, 3], "(3,)"), (5.0, "()"), ([[1, 2, 3]], "(1, 3)")])
def test_what_is_mapped_has_two_coordinates(wrong, shape):
    best = MATCHER.match(SQUARE).best
    with pytest.raises(ValueError) as caught:
        best.apply(wrong)
    assert str(caught.value) == (
        f"points: expected an array of shape (n, 2), or (2,) for one point, got shape {shape}"
    )
    assert best.apply([]).shape == (0, 2)


@pytest.mark.parametrize("points", [5.0, None, (p for p in SQUARE)])
def test_what_is_no_list_of_points_is_told_so_beside_weights(points):
    with pytest.raises((TypeError, ValueError), match="^points: expected"):
        ptmatch.Matcher.train(points, [1])


def test_a_pair_of_rows_of_unequal_length_is_told_with_its_name():
    with pytest.raises(ValueError, match=r"^rotation: expected a pair of numbers, got \(\(1, 2\), 3\)"):
        MATCHER.match(SQUARE, rotation=((1, 2), 3))


def test_images_without_pixels_and_of_truth_values():
    assert ptmatch.rxPelBuffer(np.empty((3, 0))).pixels().shape == (3, 0)
    assert ptmatch.rxPelBuffer([[True, False]]).pixels().tolist() == [[1, 0]]
    with pytest.raises(TypeError, match="masked"):
        ptmatch.rxPelBuffer(np.ma.masked_array([[1, 0]]))


def test_a_function_that_is_false_is_told_all_the_same():
    class Log(list):
        __call__ = list.append

    log = Log()
    MATCHER.match(SQUARE, progress=log)
    assert log and log[-1] == 1.0
    with pytest.raises(TypeError, match="progress: expected None, True or a function, got 5"):
        MATCHER.match(SQUARE, progress=5)


def test_a_bar_without_a_console_draws_nothing(monkeypatch):
    monkeypatch.setattr(sys, "stderr", None)
    assert MATCHER.match(SQUARE, progress=True).best.coverage == 1.0


def test_subclasses_stay_what_they_are():
    again = pickle.loads(pickle.dumps(Named.train(SQUARE)))
    assert type(again) is Named and again == MATCHER


class Named(ptmatch.Matcher):
    pass


def test_read_only_arrays_stay_so():
    best = MATCHER.match(SQUARE).best
    for match in (best, pickle.loads(pickle.dumps(best)), copy.deepcopy(best)):
        for array in (match.model_points, match.model_to_data, match.data_points):
            with pytest.raises(ValueError):
                array[0] = 1
            with pytest.raises(ValueError):
                array.flags.writeable = True
    with pytest.raises(ValueError):
        MATCHER.points.flags.writeable = True


def test_what_is_told_of_a_run_cannot_be_written_through():
    image = MATCHER.vote_image(SQUARE)
    image.place.scale = 9.0
    image.startPose.trans((1, 2))
    assert image.place.scale == 1.0 and image.startPose.trans() == (0.0, 0.0)


def test_equality_leaves_the_answer_to_others():
    found = MATCHER.match(SQUARE)
    for value in (MATCHER, found, found.best, MATCHER.core, ptmatch.rxRange(1, 2)):
        assert value == mock.ANY and mock.ANY == value and value != object()


def test_results_travel_through_a_stream_of_pickles():
    stream = io.BytesIO()
    pickler = pickle.Pickler(stream)
    for _ in range(3):
        pickler.dump(MATCHER.match(SQUARE))
    stream.seek(0)
    unpickler = pickle.Unpickler(stream)
    assert all(unpickler.load() == MATCHER.match(SQUARE) for _ in range(3))


def test_who_is_told_of_progress_is_what_was_set():
    limits = ptmatch.rxRunLimits()
    assert limits.onProgress is None
    limits.onProgress = print
    assert limits.onProgress is print
    with pytest.raises(TypeError):
        limits.onProgress = 5
    assert limits.onProgress is None
    limits.onProgress = None


def test_objects_that_die_with_the_program_may_compute():
    code = (
        "import ptmatch\n"
        "M = ptmatch.rxMatrixExt([[1.0, 2.0], [3.0, 4.0]])\n"
        "class Last:\n"
        "    def __del__(self, values=ptmatch.rfSingularValues, M=M):\n"
        "        print(len(values(M)))\n"
        "last = Last()\n"
        "last.itself = last\n"
    )
    done = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, timeout=60, check=False
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "2\n", "")


def test_objects_that_die_with_the_program_do_not_hang_in_a_search():
    code = (
        "import ptmatch\n"
        f"S = {SQUARE}\n"
        "class Last:\n"
        "    def __del__(self, search=ptmatch.Matcher.train(S).match, S=S): search(S)\n"
        "last = Last()\n"
        "last.itself = last\n"
    )
    # NumPy cannot be imported any more then, which Python tells and ignores.
    assert ended(code)[0] == 0


@pytest.mark.parametrize(
    "keywords",
    [
        {"rotation": (15, -15)},
        {"scale": (0.1, -0.1)},
        {"translation_x": (10, 0)},
        {"translation_y": (1, 0)},
    ],
)
def test_a_range_that_ends_before_it_begins_is_refused(keywords):
    name = next(iter(keywords))
    with pytest.raises(ValueError, match=rf"^{name}: expected a pair \(from, to\) with from <= to"):
        MATCHER.match(SQUARE, **keywords)


def test_more_than_a_turn_is_all_of_it():
    turned = MATCHER.match(np.array(SQUARE) * -1.0, rotation=(-400, 400))
    assert turned.best.coverage == 1.0
    assert turned.params.rotationUncertainty() == ptmatch.rxAngleRange.FullRange()


def test_a_mirrored_start_pose_is_refused():
    with pytest.raises(ValueError, match="^start_pose: expected .* got a mirror image"):
        MATCHER.match(SQUARE, start_pose=[[1, 0, 0], [0, -1, 0]])


def test_points_in_place_of_a_matcher_are_told_where_to_go():
    with pytest.raises(TypeError, match=r"for points use Matcher.train\(points\)"):
        ptmatch.Matcher(SQUARE)


def test_the_matcher_of_the_library_may_be_trained_anew():
    core = ptmatch.rxPointMatcher()
    core.train(SQUARE, ptmatch.rxPointMatcherDefs.eAutoDetect)
    matcher = ptmatch.Matcher(core)
    core.untrain()
    assert matcher.match(SQUARE).best.distances.max() == 0.0


def test_certainty_is_of_the_data_that_were_searched():
    found = MATCHER.match(SQUARE)
    with pytest.raises(ValueError, match="^data: expected those that the match was found in"):
        MATCHER.certainty(found, SQUARE[::-1])
    for index in (1, -1):
        with pytest.raises(IndexError, match="^index: expected the place of one of 1 matches"):
            MATCHER.certainty(found, SQUARE, index)


def test_what_is_told_of_a_run_can_be_read():
    found = MATCHER.match(SQUARE)
    assert repr(MATCHER.why_not(SQUARE)).startswith("<rxWhyNot: there are results; best coverage 1")
    why = MATCHER.why_not(SQUARE[:3], min_coverage=0.9)
    assert "too few data for the minimum coverage" in repr(why)
    miss = MATCHER.why_not(np.add(SQUARE, [[0, 0], [0, 0], [0, 0], [99, 99]]), min_coverage=0.9)
    assert repr(miss.nearestMiss).endswith("below the minimum coverage>")
    assert repr(MATCHER.cost(SQUARE)).startswith("<rxRunCost: work ")
    assert repr(MATCHER.certainty(found, SQUARE)).startswith("<rxCertainty: 4 matched, chance of")


def test_positions_too_far_apart_are_told_so():
    tool = ptmatch.rx_PointToGridCorresponder()
    params = ptmatch.rx_PointToGridCorresponderTrainParams()
    with pytest.raises(ptmatch.InsufficientMemory, match="the positions lie too far apart"):
        tool.train([(0, 0), (2**31 - 1, 0), (0, 2**31 - 1)], params, ptmatch.rxXform())
