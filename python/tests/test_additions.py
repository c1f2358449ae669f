"""What is told of a match beside its pose, against NumPy."""

import numpy as np
import pytest
from scenes import apply, fitted_similarity, make_scene

import ptmatch


@pytest.fixture(scope="module")
def scene():
    return make_scene(21, count=20, missing=3, jitter=0.4, clutter=80)


@pytest.fixture(scope="module")
def matcher(scene):
    return ptmatch.Matcher.train(scene.model)


@pytest.fixture(scope="module")
def found(scene, matcher):
    return matcher.match(scene.data, max_results=10, min_coverage=0.2, capture_range=3.0)


def test_matched_pairs_are_the_map_side_by_side(scene, matcher, found):
    pairs = ptmatch.rfMatchedPairs(matcher.core, scene.data, found.best.result)
    indices = np.flatnonzero(scene.truth >= 0)
    assert np.array_equal(pairs.modelIndices, indices)
    assert np.array_equal(pairs.dataIndices, scene.truth[indices])
    assert np.array_equal(pairs.model, scene.model[indices])
    assert np.array_equal(pairs.data, scene.data[scene.truth[indices]])


def test_a_result_of_other_data_is_refused(scene, matcher, found):
    with pytest.raises(ptmatch.BadParams):
        ptmatch.rfMatchedPairs(matcher.core, scene.data[:2], found.best.result)


def test_the_covariance_is_that_of_the_linear_equations(scene, matcher, found):
    sure = matcher.certainty(found, scene.data)
    matched = scene.truth >= 0
    model, data = scene.model[matched], scene.data[scene.truth[matched]]
    fitted = fitted_similarity(model, data)
    squares = np.sum((data - apply(fitted, model)) ** 2)
    n = len(model)
    sigma = np.sqrt(squares / (2 * n - 4))
    spread = np.sum((model - model.mean(axis=0)) ** 2)
    covariance = sure.covariance
    assert covariance.sigma == pytest.approx(sigma, rel=1e-9)
    assert covariance.centre == pytest.approx(tuple(model.mean(axis=0)))
    assert covariance.centreVariance == pytest.approx(sigma**2 / n)
    assert covariance.matrixCovariance.shape == (4, 4)
    assert covariance.matrixCovariance[0, 0] == pytest.approx(sigma**2 / spread)
    assert covariance.matrixCovariance[1, 2] == pytest.approx(-(sigma**2) / spread)
    position = covariance.positionAt(tuple(model[0]))
    expected = sigma**2 * (1 / n + np.sum((model[0] - model.mean(axis=0)) ** 2) / spread)
    assert position.xx == pytest.approx(expected) and position.yy == pytest.approx(expected)
    assert position.rms() == pytest.approx(np.sqrt(2 * expected))
    again = ptmatch.rfPoseCovariance(found.best.result.modelToDataXform(), model, data, 4)
    assert again.sigma == pytest.approx(sigma, rel=1e-9)


def test_a_match_of_many_points_is_no_accident(scene, matcher, found):
    sure = matcher.certainty(found, scene.data)
    assert sure.log10FalseAlarms < -3 and sure.clutterProbability() < 1e-3
    assert sure.closeClutterProbability() <= 1.0
    assert sure.nextPose.coverageMargin == pytest.approx(
        found[0].coverage - found[sure.nextPose.index].coverage
    )
    assert np.allclose(np.sort(sure.residuals), np.sort(found[0].distances[found[0].matched]))


def test_what_certainty_is_told_counts(scene, matcher, found):
    told = matcher.certainty(found, scene.data, point_sigma=2.0, data_area=1e9)
    assert told.covariance.sigma == 2.0
    assert told.log10FalseAlarms < matcher.certainty(found, scene.data).log10FalseAlarms
    with pytest.raises(ptmatch.BadParams):
        matcher.certainty(found, scene.data, point_sigma=-1.0)


def test_the_chance_of_clutter_falls_with_every_point():
    scene = ptmatch.rxClutterScene()
    scene.numDataPoints, scene.area, scene.captureRange = 60.0, 10_000.0, 1.5
    scene.numModelPoints, scene.modelRadius = 10.0, 30.0
    scene.translationWidth = scene.translationHeight = 100.0
    chances = [ptmatch.rfLog10FalseAlarms(scene, k) for k in range(4, 11)]
    assert chances == sorted(chances, reverse=True) and len(set(chances)) == len(chances)


def test_refitting_gives_the_model_that_is_asked_for(scene, matcher, found):
    defs = ptmatch.rxRefitDefs
    matched = scene.truth >= 0
    model, data = scene.model[matched], scene.data[scene.truth[matched]]
    refit = ptmatch.rfRefit(matcher.core, scene.data, found.best.result, defs.eAffine)
    rows = np.column_stack([model, np.ones(len(model))])
    expected = np.linalg.lstsq(rows, data, rcond=None)[0].T
    xform = refit.dataFromModelXform()
    assert np.allclose(np.column_stack([xform.matrix(), xform.trans()]), expected, atol=1e-9)
    assert refit.numPairs == len(model) and refit.model == defs.eAffine
    assert refit.residual.rms == pytest.approx(
        np.sqrt(np.mean(np.sum((rows @ expected.T - data) ** 2, axis=1)))
    )
    perspective = ptmatch.rfRefit(matcher.core, scene.data, found.best.result, defs.ePerspective)
    with pytest.raises(ptmatch.BadParams):
        perspective.dataFromModelXform()


def test_two_copies_are_told_apart(matcher, scene):
    data = np.vstack([scene.model, scene.model + (500.0, 0.0)])
    found = matcher.match(data, max_results=20, capture_range=1.0)
    copies = matcher.distinct(found)
    assert [tuple(np.round(copy.translation, 6)) for copy in copies] in (
        [(0.0, 0.0), (500.0, 0.0)],
        [(500.0, 0.0), (0.0, 0.0)],
    )
    assert len(matcher.distinct(found, min_pose_distance=1e6)) == 1


def test_the_cost_tells_the_sizes_in_effect(matcher, scene):
    cost = matcher.cost(scene.data, grid_size=4.0, capture_range=2.5, rotation=(-1, 1))
    assert (cost.gridSize, cost.captureRange, cost.numScales) == (4.0, 2.5, 1)
    assert cost.isInterruptible and cost.mode == ptmatch.rxPointMatcherDefs.ePointToPoint
    assert cost.work == pytest.approx(cost.numTranslations * len(matcher))
    wide = matcher.cost(scene.data, grid_size=4.0, rotation="full")
    assert wide.work > 50 * cost.work
    exhaustive = ptmatch.Matcher.train(scene.model[:4], exhaustive=True)
    assert not exhaustive.cost(scene.data[:5]).isInterruptible


def test_reasons_for_finding_nothing(matcher, scene):
    reasons = ptmatch.rxWhyNotDefs
    assert matcher.why_not(scene.data).reason == reasons.eFound
    assert matcher.why_not(scene.data[:3]).reason == reasons.eTooFewData
    assert matcher.why_not([]).reason in (reasons.eTooFewData, reasons.eNothingToSearch)
    why = matcher.why_not(scene.data, min_coverage=0.99, capture_range=3.0)
    assert why.reason == reasons.eCoverage and why.nearestMiss.isBelowCoverage
    assert why.bestCoverage == pytest.approx(17 / 20)
    with pytest.raises(TypeError):
        matcher.why_not(scene.data, max_result=1)


def test_the_highest_vote_stands_where_the_pattern_lies(matcher, scene):
    image = matcher.vote_image(scene.data, grid_size=6.0, min_coverage=0.3)
    assert image.votes.dtype == np.int32 and image.votes.shape == (image.height, image.width)
    assert image.votes.max() >= np.count_nonzero(scene.truth >= 0)
    assert image.place.rotationDegrees == pytest.approx(8.0, abs=2.0) and image.place.scale == 1.0
    row, column = np.unravel_index(np.argmax(image.votes), image.votes.shape)
    pose = image.modelToData(column + 0.5, row + 0.5)
    centre = np.array(image.modelCenter)
    off = np.array(pose * centre) - apply(scene.matrix, centre)
    assert np.hypot(*off) < 3 * image.step
    assert (image.step, image.highestPossible, image.isWeighted) == (6.0, 20, False)


def test_votes_at_a_pose_are_high_there(matcher, scene, found):
    image = matcher.vote_image(scene.data, found.best.matrix, capture_range=3.0)
    column, row = image.columnAndRow(found.best.result.modelToDataXform())
    here = image.votes[int(row) - 1 : int(row) + 2, int(column) - 1 : int(column) + 2]
    assert here.max() >= 15
    assert matcher.vote_image([]) is None
    with pytest.raises(ptmatch.BadParams):
        ptmatch.Matcher.train(scene.model[:4], exhaustive=True).vote_image(scene.data)
