"""The classes of the library under their own names."""

import copy
import inspect
import math
import pickle

import numpy as np
import pytest

import ptmatch
from ptmatch import _core

SQUARE = [(0, 0), (40, 0), (40, 25), (10, 30)]
AUTO = ptmatch.rxPointMatcherDefs.eAutoDetect
EXHAUSTIVE = ptmatch.rxPointMatcherDefs.eExhaustiveMode


def trained(mode=AUTO):
    matcher = ptmatch.rxPointMatcher()
    matcher.train(SQUARE, mode)
    return matcher


def run(matcher, data, params=None):
    found = ptmatch.rxPointMatcherResultSet()
    matcher.run(data, params or ptmatch.rxPointMatcherRunParams(), found)
    return found


def test_angles_keep_their_number_and_convert():
    assert ptmatch.rxDegree(370.0).toDouble() == 370.0
    assert ptmatch.rxRadian(ptmatch.rxDegree(180.0)).toDouble() == math.pi
    assert ptmatch.rxDegree(ptmatch.rxRadian(math.pi)).toDouble() == 180.0
    assert ptmatch.rxRadian(0.5) == ptmatch.rxRadian(0.5) != ptmatch.rxRadian(0.25)
    assert repr(ptmatch.rxDegree(0.1)) == "rxDegree(0.1)"
    assert pickle.loads(pickle.dumps(ptmatch.rxRadian(0.3))) == ptmatch.rxRadian(0.3)
    assert hash(ptmatch.rxDegree(2.0)) == hash(ptmatch.rxDegree(2.0))
    assert ptmatch.rxRadian(1.0) / 4.0 == ptmatch.rxRadian(0.25)


def test_a_bare_number_is_no_angle():
    with pytest.raises(TypeError):
        ptmatch.rxAngleRange(-0.1, 0.1)


def test_ranges_hold_what_lies_within():
    kinds = ptmatch.rxRangeDefs
    assert ptmatch.rxRange(1, 2).isWithin(2.0) and not ptmatch.rxRange(1, 2).isWithin(2.1)
    assert ptmatch.rxRange().range() == kinds.Empty and not ptmatch.rxRange().isWithin(0.0)
    full = ptmatch.rxRange.FullRange()
    assert full.range() == kinds.Full and (full.start(), full.end()) == (-math.inf, math.inf)
    turned = ptmatch.rxAngleRange(ptmatch.rxDegree(170), ptmatch.rxDegree(190))
    assert turned.isWithin(ptmatch.rxDegree(-179)) and not turned.isWithin(ptmatch.rxDegree(160))
    assert ptmatch.rxDegree(turned.middle()).toDouble() == pytest.approx(180)
    assert repr(ptmatch.rxRange(1, 2.5)) == "rxRange(1.0, 2.5)"
    assert repr(ptmatch.rxAngleRange.FullRange()) == "rxAngleRange.FullRange()"
    assert repr(ptmatch.rxRange()) == "rxRange()"


def test_transforms_map_compose_and_invert_as_matrices_do():
    rng = np.random.default_rng(2)
    for _ in range(100):
        a, b = (np.vstack([rng.normal(size=(2, 3)), [0, 0, 1]]) for _ in range(2))
        x, y = (ptmatch.rxXform(m[:2, :2], m[:2, 2]) for m in (a, b))
        p = rng.normal(size=2)
        assert np.allclose(x * p, (a @ [*p, 1.0])[:2], rtol=0, atol=1e-14)
        product, expected = x * y, a @ b
        assert np.allclose(product.matrix(), expected[:2, :2], rtol=0, atol=1e-13)
        assert np.allclose(product.trans(), expected[:2, 2], rtol=0, atol=1e-13)
        inverse = np.linalg.inv(a)
        assert np.allclose(x.inverse().matrix(), inverse[:2, :2], rtol=1e-9)
        assert x.isFinite() and not x.isSingular()


def test_a_transform_of_rotation_and_scale():
    turn = ptmatch.rxDegree(30)
    x = ptmatch.rxXform((10, 20), turn, turn, 2.0, 2.0)
    assert x.xScale() == pytest.approx(2.0)
    assert ptmatch.rxDegree(x.rotation()).toDouble() == pytest.approx(30.0)
    assert x.trans() == (10.0, 20.0)
    x.trans((1, 2))
    x.matrix(np.eye(2))
    assert repr(x) == "rxXform([[1.0, 0.0], [0.0, 1.0]], (1.0, 2.0))"


@pytest.mark.parametrize("wrong", [(1,), (1, 2, 3), "ab", 5, None, {1, 2}])
def test_a_point_is_a_pair_of_numbers(wrong):
    with pytest.raises(TypeError):
        ptmatch.rxXform() * wrong


def test_lines_and_rectangles():
    line = ptmatch.rxLine((1, 1), (0, 0))
    assert line.distToPoint((0, 1)) == pytest.approx(math.sqrt(0.5))
    box = ptmatch.rxRectangle(1, 2, 3, 4)
    assert (box.ul(), box.lr(), box.width()) == ((1.0, 2.0), (4.0, 6.0), 3.0)
    assert box == ptmatch.rxRectangle(1, 2, 3, 4) and "3.0, 4.0" in repr(box)


def test_images_keep_pixels_offset_and_transform():
    pixels = np.array([[0, 1, 255], [7, 0, 0]], dtype=np.uint8)
    steps = ptmatch.rxXform(np.diag([25.0, 24.0]), (1, 2))
    image = ptmatch.rxPelBuffer(pixels, (5, 6), steps)
    assert (image.width(), image.height(), image.offset()) == (3, 2, (5, 6))
    assert image.get((7, 6)) == 255 and np.array_equal(image.pixels(), pixels)
    assert image.clientFromImageXform() == steps
    assert np.array_equal(ptmatch.rxPelBuffer(pixels > 0).pixels(), pixels > 0)
    for wrong in ([[256]], [[-1]], [[0.5]], [[np.nan]], [1, 2]):
        with pytest.raises(ValueError, match="pixels: expected"):
            ptmatch.rxPelBuffer(wrong)


def test_run_parameters_have_the_defaults_of_the_library():
    params = ptmatch.rxPointMatcherRunParams()
    fifteen = ptmatch.rxDegree(15)
    assert params.minCoverage() == 0.5
    assert params.startPose() == ptmatch.rxXform()
    assert params.rotationUncertainty() == ptmatch.rxAngleRange(ptmatch.rxDegree(-15), fifteen)
    assert params.xTranslationUncertainty() == ptmatch.rxRange.FullRange()
    assert params.yTranslationUncertainty() == ptmatch.rxRange.FullRange()
    assert params.scaleUncertainty() == ptmatch.rxRange(0, 0)
    assert params.autoGridSize() is True and params.autoCaptureRange() is True
    assert params.maxNumResults() == 1
    assert "coverage       0.5 or more" in repr(params)
    assert ptmatch.rxPointMatcherRunParams(0.75, maxNumResults=3).maxNumResults() == 3


def test_run_parameters_are_set_and_read_by_one_name():
    params = ptmatch.rxPointMatcherRunParams()
    params.autoGridSize(False)
    params.gridSize(3.0)
    params.autoCaptureRange(False)
    params.captureRange(0.0)
    params.maxNumResults(7)
    assert (params.gridSize(), params.captureRange(), params.maxNumResults()) == (3.0, 0.0, 7)


def test_a_matcher_trains_runs_and_forgets():
    matcher = ptmatch.rxPointMatcher()
    assert not matcher.isTrained() and repr(matcher) == "<rxPointMatcher, untrained>"
    with pytest.raises(ptmatch.NotTrained):
        matcher.trainMode()
    matcher.train(SQUARE, AUTO)
    assert matcher.isTrained() and matcher.trainMode() == ptmatch.rxPointMatcherDefs.ePointToPoint
    assert np.array_equal(matcher.modelPoints(), SQUARE)
    found = run(matcher, np.add(SQUARE, (3, 4)))
    result = found.results()[0]
    assert result.modelToDataXform().trans() == (3.0, 4.0)
    assert np.array_equal(result.modelToDataMap(), [0, 1, 2, 3])
    assert (result.coverage(), result.fitError()) == (1.0, 0.0)
    assert found.time() > 0.0
    matcher.untrain()
    assert not matcher.isTrained()


def test_a_training_that_fails_leaves_the_matcher_untrained():
    matcher = trained()
    with pytest.raises(ptmatch.BadParams):
        matcher.train(SQUARE, ptmatch.rxPointMatcherDefs.ePointToGrid)
    assert not matcher.isTrained()


def test_points_that_are_refused_before_training_leave_the_matcher_as_it_was():
    matcher = trained()
    with pytest.raises(ValueError):
        matcher.train([[0, 0, 0]], AUTO)
    assert matcher.isTrained()


def test_a_run_that_fails_empties_the_results():
    found = run(trained(), SQUARE)
    assert len(found.results()) == 1
    with pytest.raises(ptmatch.NotTrained):
        ptmatch.rxPointMatcher().run(SQUARE, ptmatch.rxPointMatcherRunParams(), found)
    assert found.results() == []


def test_a_grid_pattern_is_trained_from_an_image():
    pattern = np.ones((4, 5), dtype=np.uint8)
    pattern[1, 2] = 0
    image = ptmatch.rxPelBuffer(pattern, (0, 0), ptmatch.rxXform(np.diag([20.0, 20.0]), (0, 0)))
    matcher = ptmatch.rxPointMatcher()
    matcher.train(image)
    assert matcher.trainMode() == ptmatch.rxPointMatcherDefs.ePointToGrid
    assert matcher.pattern() == image
    y, x = np.nonzero(pattern)
    params = ptmatch.rxPointMatcherRunParams()
    params.scaleUncertainty(ptmatch.rxRange(-0.2, 0.2))
    result = run(matcher, np.column_stack([x, y]) * 20.0 + (7, 9), params).results()[0]
    assert result.coverage() == 1.0
    for place, position in enumerate(zip(x, y)):
        assert result.gridToDataMap(position) == place
    assert result.gridToDataMap((2, 1)) == -1
    with pytest.raises(ptmatch.ImageError):
        result.gridToDataMap((5, 0))
    with pytest.raises(ptmatch.NotRun):
        result.modelToDataMap()


def everything_persistent():
    degrees = ptmatch.rxAngleRange(ptmatch.rxDegree(-3), ptmatch.rxDegree(4))
    params = ptmatch.rxPointMatcherRunParams(0.25, rotationUncertainty=degrees)
    found = run(trained(), SQUARE)
    return [
        ptmatch.rxRange(1, 2),
        ptmatch.rxRange(),
        ptmatch.rxRange.FullRange(),
        degrees,
        ptmatch.rxXform([[1, 2], [3, 4]], (5, 6)),
        ptmatch.rxPelBuffer([[1, 2], [3, 4]], (5, 6)),
        params,
        found,
        found.results()[0],
        trained(),
        trained(EXHAUSTIVE),
        ptmatch.rxPointMatcher(),
    ]


@pytest.mark.parametrize("value", everything_persistent(), ids=lambda value: type(value).__name__)
def test_everything_persistent_pickles_copies_and_compares(value):
    for again in (pickle.loads(pickle.dumps(value)), copy.copy(value), copy.deepcopy(value)):
        assert type(again) is type(value) and again is not value
        assert again == value and not again != value
        assert again.to_bytes() == value.to_bytes()
    assert type(value).from_bytes(value.to_bytes()).to_bytes() == value.to_bytes()
    assert value != 1 and value != "value"
    with pytest.raises(ptmatch.ArchiveError):
        type(value).from_bytes(value.to_bytes() + b"\0")


def test_different_values_are_not_equal():
    values = everything_persistent()
    for i, a in enumerate(values):
        for j, b in enumerate(values):
            assert (a == b) == (i == j)


def test_copies_of_images_have_an_offset_of_their_own():
    image = ptmatch.rxPelBuffer([[1, 2]])
    for own in (copy.copy(image), copy.deepcopy(image)):
        own.offset((1, 0))
        assert image.offset() == (0, 0) and own != image


def test_whatever_is_public_has_a_docstring():
    missing = []
    for name in dir(_core):
        value = getattr(_core, name)
        if name.startswith("_"):
            continue
        if not inspect.getdoc(value):
            missing.append(name)
        if inspect.isclass(value):
            for member in vars(value):
                if not member.startswith("_") and not inspect.getdoc(getattr(value, member)):
                    missing.append(f"{name}.{member}")
    assert missing == []


def test_the_version_is_that_of_the_library():
    assert ptmatch.__version__ == _core.__version__
    assert len(ptmatch.__version__.split(".")) == 3
