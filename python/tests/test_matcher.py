"""Matcher, Match and Matches against scenes whose answer is known."""

import copy
import pickle
import subprocess
import sys

import numpy as np
import pytest
from scenes import apply, fitted_similarity, make_scene, similarity

import ptmatch

SQUARE = [(0, 0), (40, 0), (40, 25), (10, 30)]


@pytest.mark.parametrize("seed", range(40))
def test_the_planted_pattern_is_found_whole(seed):
    scene = make_scene(seed, jitter=0.3)
    best = ptmatch.Matcher.train(scene.model).match(scene.data, capture_range=3.0).best
    assert best is not None
    assert np.array_equal(best.model_to_data, scene.truth)
    assert best.coverage == 1.0
    # The pose is the least-squares similarity of the matched points, as NumPy has it.
    expected = fitted_similarity(scene.model, scene.data[scene.truth])
    assert np.allclose(best.matrix, expected, rtol=0, atol=1e-9)
    lengths = np.linalg.norm(scene.data[scene.truth] - apply(expected, scene.model), axis=1)
    assert best.fit_error == pytest.approx(np.sqrt(np.mean(lengths**2)), rel=1e-9)


@pytest.mark.parametrize("seed", range(20))
def test_missing_points_are_minus_one_and_their_residuals_nan(seed):
    scene = make_scene(seed, count=30, missing=8, clutter=10)
    best = ptmatch.Matcher.train(scene.model).match(scene.data, capture_range=0.01).best
    assert np.array_equal(best.model_to_data, scene.truth)
    assert best.coverage == pytest.approx(22 / 30)
    missing = scene.truth < 0
    assert np.array_equal(~best.matched, missing)
    for of_pairs in (best.data_points, best.residuals, best.distances):
        assert np.isnan(of_pairs[missing]).all()
        assert np.isfinite(of_pairs[~missing]).all()
    assert np.allclose(best.distances[~missing], 0.0, atol=1e-9)


def test_a_match_tells_rotation_scale_and_translation():
    scene = make_scene(3, rotation_deg=-100.0, scale=1.05)
    best = (
        ptmatch.Matcher.train(scene.model)
        .match(scene.data, rotation=(-110, -90), scale=(0.0, 0.1))
        .best
    )
    assert best.rotation_deg == pytest.approx(-100.0, abs=1e-9)
    assert best.scale == pytest.approx(1.05, abs=1e-12)
    assert best.translation == pytest.approx(scene.matrix[:, 2])
    assert best.matrix.shape == (2, 3) and best.matrix.dtype == np.float64
    assert best.model_to_data.dtype == np.int64
    whole = np.vstack([best.matrix, [0, 0, 1]]) @ np.vstack([best.inverse_matrix, [0, 0, 1]])
    assert np.allclose(whole, np.eye(3))
    assert np.allclose(best.apply(scene.model[4]), scene.data[scene.truth[4]])


def test_residuals_point_from_the_mapped_model_to_the_data():
    scene = make_scene(5, jitter=0.5)
    best = ptmatch.Matcher.train(scene.model).match(scene.data, capture_range=4.0).best
    expected = scene.data[scene.truth] - apply(best.matrix, scene.model)
    assert np.array_equal(best.residuals, expected)
    assert np.allclose(best.distances, np.linalg.norm(expected, axis=1))


def test_rotations_outside_the_range_are_not_found():
    scene = make_scene(7, rotation_deg=30.0)
    matcher = ptmatch.Matcher.train(scene.model)
    assert not matcher.match(scene.data, min_coverage=0.8)
    assert matcher.match(scene.data, min_coverage=0.8, rotation=(20, 40)).best.coverage == 1.0
    assert matcher.match(scene.data, min_coverage=0.8, rotation="full").best.coverage == 1.0


def test_translations_outside_the_range_are_not_found():
    model = make_scene(8).model
    data = model + (50.0, 20.0)
    matcher = ptmatch.Matcher.train(model)
    search = {"min_coverage": 0.8, "grid_size": 2.0}
    assert matcher.match(data, translation_x=(40, 60), translation_y=(10, 30), **search)
    assert not matcher.match(data, translation_x=(-30, 30), **search)
    assert not matcher.match(data, translation_y=(-30, 0), **search)


@pytest.mark.parametrize("form", ["xform", "2x3", "3x3"])
def test_the_start_pose_is_what_the_ranges_are_relative_to(form):
    scene = make_scene(9, rotation_deg=95.0)
    pose = similarity(90.0, 1.0, (0.0, 0.0))
    start = {
        "xform": ptmatch.rxXform(pose[:, :2], (0.0, 0.0)),
        "2x3": pose,
        "3x3": np.vstack([pose, [0, 0, 1]]),
    }[form]
    found = ptmatch.Matcher.train(scene.model).match(scene.data, start_pose=start)
    assert found.best.rotation_deg == pytest.approx(95.0)


def test_all_keywords_reach_the_parameters_of_the_run():
    matcher = ptmatch.Matcher.train(SQUARE)
    start = ptmatch.rxXform(np.eye(2), (3.0, 4.0))
    params = matcher.match(
        SQUARE,
        rotation=(-3, 4),
        scale=(-0.1, 0.2),
        translation_x=(-5, 6),
        translation_y=(-7, 8),
        start_pose=start,
        min_coverage=0.25,
        max_results=9,
        grid_size=1.5,
        capture_range=2.5,
    ).params
    degree = ptmatch.rxDegree
    assert params == ptmatch.rxPointMatcherRunParams(
        0.25,
        start,
        ptmatch.rxRange(-5, 6),
        ptmatch.rxRange(-7, 8),
        ptmatch.rxAngleRange(degree(-3), degree(4)),
        ptmatch.rxRange(-0.1, 0.2),
        False,
        1.5,
        False,
        2.5,
        9,
    )
    assert matcher.match(SQUARE).params == ptmatch.rxPointMatcherRunParams()


@pytest.mark.parametrize(
    "keywords, kind, message",
    [
        ({"min_coverage": 1.5}, ptmatch.BadParams, None),
        ({"max_results": 0}, ptmatch.BadParams, None),
        ({"grid_size": 0.0}, ptmatch.BadParams, None),
        ({"capture_range": -1.0}, ptmatch.BadParams, None),
        ({"scale": (-0.95, 0)}, ptmatch.BadParams, None),
        ({"time_limit": -1.0}, ptmatch.BadParams, None),
        ({"rotation": 5}, ValueError, "rotation: expected a pair of numbers, got 5"),
        ({"rotation": (1, 2, 3)}, ValueError, "rotation: expected a pair of numbers, got (1, 2, 3)"),
        ({"rotation": "all"}, ValueError, 'rotation: expected a pair of degrees or "full", got \'all\''),
        ({"scale": "1"}, ValueError, "scale: expected a pair of numbers, got '1'"),
        ({"translation_x": 1.0}, ValueError, "translation_x: expected a pair of numbers, got 1.0"),
        (
            {"start_pose": np.eye(2)},
            ValueError,
            "start_pose: expected an array of shape (2, 3), or (3, 3) with the last row 0, 0, 1, "
            "got shape (2, 2)",
        ),
        (
            {"start_pose": [[1, 0, 0], [0, 1, 0], [0, 0, 2]]},
            ValueError,
            "start_pose: expected an array of shape (2, 3), or (3, 3) with the last row 0, 0, 1, "
            "got shape (3, 3)",
        ),
    ],
)
def test_bad_arguments_are_value_errors(keywords, kind, message):
    with pytest.raises(kind) as caught:
        ptmatch.Matcher.train(SQUARE).match(SQUARE, **keywords)
    assert isinstance(caught.value, ValueError)
    if message is not None:
        assert str(caught.value) == message


def test_weights_count_as_they_are():
    matcher = ptmatch.Matcher.train(SQUARE, [1, 1, 1, 7])
    assert np.array_equal(matcher.weights, [1, 1, 1, 7])
    found = matcher.match(SQUARE[:3], min_coverage=0.1, rotation=(-1, 1), capture_range=0.5)
    assert found.best.coverage == pytest.approx(0.3)
    assert np.array_equal(ptmatch.Matcher.train(SQUARE).weights, [1, 1, 1, 1])


def test_several_results_come_best_first():
    rng = np.random.default_rng(4)
    model = rng.uniform(0, 100, (10, 2))
    data = np.vstack([model + (300, 0), (model + (0, 300))[:8], (model + (300, 300))[:6]])
    matcher = ptmatch.Matcher.train(model)
    found = matcher.match(data, max_results=10, min_coverage=0.5, capture_range=0.5)
    coverages = [match.coverage for match in found]
    assert coverages == sorted(coverages, reverse=True)
    copies = matcher.distinct(found)
    assert [match.coverage for match in copies[:3]] == pytest.approx([1.0, 0.8, 0.6])
    assert found[0] is found.best and len(found) == len(list(found)) and found[-1] == found[len(found) - 1]
    assert found[:2] == [found[0], found[1]]


def test_nothing_found_is_false_and_has_no_best():
    found = ptmatch.Matcher.train(SQUARE).match([(0, 0), (1000, 1000)])
    assert not found and found.best is None and len(found) == 0 and list(found) == []


def test_an_exhaustive_matcher_tries_every_assignment():
    matcher = ptmatch.Matcher.train(SQUARE, exhaustive=True)
    assert matcher.exhaustive and matcher.weights is None
    data = apply(similarity(170.0, 1.0, (5.0, 6.0)), SQUARE)
    best = matcher.match(data[::-1], rotation="full").best
    assert np.array_equal(best.model_to_data, [3, 2, 1, 0])
    assert best.result.runMode() == ptmatch.rxPointMatcherDefs.eExhaustiveMode
    again = pickle.loads(pickle.dumps(matcher))
    assert again.exhaustive and again == matcher and again != ptmatch.Matcher.train(SQUARE)


@pytest.mark.parametrize("weights", [None, [1, 2, 3, 4]])
@pytest.mark.parametrize("exhaustive", [False, True])
def test_a_trained_matcher_pickles_copies_and_compares(weights, exhaustive):
    matcher = ptmatch.Matcher.train(SQUARE, weights, exhaustive=exhaustive)
    for again in (
        pickle.loads(pickle.dumps(matcher)),
        copy.copy(matcher),
        copy.deepcopy(matcher),
        ptmatch.Matcher.from_bytes(matcher.to_bytes(), exhaustive=exhaustive),
    ):
        assert again == matcher
        assert again.match(SQUARE, max_results=5) == matcher.match(SQUARE, max_results=5)
    assert matcher != ptmatch.Matcher.train(SQUARE[:3])
    assert matcher != "a matcher"
    with pytest.raises(TypeError):
        hash(matcher)


def test_matches_pickle_copy_and_compare():
    scene = make_scene(11, missing=5, jitter=0.1)
    found = ptmatch.Matcher.train(scene.model).match(scene.data, max_results=3)
    for again in (pickle.loads(pickle.dumps(found)), copy.deepcopy(found), copy.copy(found)):
        assert again == found
        assert again.time == found.time and again.params == found.params
        assert np.array_equal(again.best.residuals, found.best.residuals, equal_nan=True)
    other = ptmatch.Matcher.train(scene.model).match(scene.data + 0.25, max_results=3)
    assert other != found and found != [] and other[0] != found[0] and found[0] != 1


def test_a_trained_matcher_travels_to_another_process(tmp_path):
    matcher = ptmatch.Matcher.train(SQUARE)
    (tmp_path / "matcher").write_bytes(pickle.dumps(matcher))
    code = (
        "import pickle, sys; m = pickle.load(open(sys.argv[1], 'rb'));"
        f"print(m.match({SQUARE}).best.coverage)"
    )
    done = subprocess.run(
        [sys.executable, "-c", code, tmp_path / "matcher"], capture_output=True, text=True
    )
    assert (done.stdout, done.stderr, done.returncode) == ("1.0\n", "", 0)


def test_a_file_keeps_a_matcher(tmp_path):
    matcher = ptmatch.Matcher.train(SQUARE, [1, 2, 3, 4])
    matcher.save(tmp_path / "square.ptm")
    assert ptmatch.Matcher.load(tmp_path / "square.ptm") == matcher
    assert (tmp_path / "square.ptm").read_bytes() == matcher.to_bytes()


@pytest.mark.parametrize("change", ["cut", "longer", "empty", "garbage"])
def test_a_damaged_record_is_an_archive_error(change):
    record = ptmatch.Matcher.train(SQUARE).to_bytes()
    bad = {"cut": record[:-1], "longer": record + b"x", "empty": b"", "garbage": b"\xff" * 100}
    with pytest.raises(ptmatch.ArchiveError):
        ptmatch.Matcher.from_bytes(bad[change])


def test_the_record_of_an_untrained_matcher_is_no_matcher():
    with pytest.raises(ptmatch.NotTrained):
        ptmatch.Matcher.from_bytes(ptmatch.rxPointMatcher().to_bytes())


def test_what_a_matcher_hands_out_cannot_change_it():
    matcher = ptmatch.Matcher.train(SQUARE)
    best = matcher.match(SQUARE).best
    for array in (matcher.points, best.model_points, best.model_to_data, best.data_points):
        with pytest.raises(ValueError):
            array[0] = 7
    weights = matcher.weights
    weights[:] = 0
    assert np.array_equal(matcher.weights, [1, 1, 1, 1])


def test_a_match_outlives_the_data_it_was_found_in():
    data = np.array(SQUARE, dtype=float)
    best = ptmatch.Matcher.train(SQUARE).match(data).best
    data[:] = -1.0
    assert np.array_equal(best.data_points, SQUARE)


def test_representations_tell_what_matters():
    matcher = ptmatch.Matcher.train(SQUARE)
    assert repr(matcher) == "<Matcher of 4 points>"
    assert repr(ptmatch.Matcher.train(SQUARE, exhaustive=True)) == "<Matcher of 4 points, exhaustive>"
    found = matcher.match(np.add(SQUARE, (5, 7)))
    assert repr(found.best) == (
        "<Match: coverage 1 (4 matched), fit error 0, at (5, 7), rotation 0 deg, scale 1>"
    )
    assert repr(found).startswith("<Matches: 1 in ") and repr(found.best) in repr(found)
    assert len(matcher) == 4


def test_results_are_equal_bit_for_bit_run_after_run():
    scene = make_scene(13, jitter=0.4, missing=3)
    matcher = ptmatch.Matcher.train(scene.model)
    first = matcher.match(scene.data, max_results=10, min_coverage=0.2)
    for _ in range(5):
        assert matcher.match(scene.data, max_results=10, min_coverage=0.2) == first
