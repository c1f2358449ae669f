"""The library's exceptions in Python: hierarchy, numbers, messages."""

import copy
import inspect
import pickle

import numpy as np
import pytest

import ptmatch
from ptmatch import errors

SQUARE = [(0, 0), (40, 0), (40, 25), (10, 30)]
CLASSES = [getattr(errors, name) for name in errors.__all__]


@pytest.mark.parametrize("kind", CLASSES, ids=lambda kind: kind.__name__)
def test_every_error_is_a_ptmatch_error_with_a_word_on_it(kind):
    assert issubclass(kind, ptmatch.PtmatchError)
    assert inspect.getdoc(kind)
    assert getattr(ptmatch, kind.__name__) is kind


@pytest.mark.parametrize("kind", CLASSES, ids=lambda kind: kind.__name__)
def test_every_error_pickles_and_copies(kind):
    error = kind("a message\n")
    for again in (pickle.loads(pickle.dumps(error)), copy.copy(error)):
        assert type(again) is kind and again.message == "a message\n"
        assert str(again) == "a message" and again.number == kind.number


@pytest.mark.parametrize(
    "kind, base",
    [
        (ptmatch.BadParams, ValueError),
        (ptmatch.NotTrained, RuntimeError),
        (ptmatch.NotRun, RuntimeError),
        (ptmatch.InsufficientModelPoints, ValueError),
        (ptmatch.InsufficientMemory, MemoryError),
        (ptmatch.MathError, ArithmeticError),
        (ptmatch.FitError, ValueError),
        (ptmatch.ArchiveError, ValueError),
        (ptmatch.UnknownVersion, ptmatch.ArchiveError),
        (ptmatch.ImageError, ValueError),
        (ptmatch.DeadlinePassed, ptmatch.Interrupted),
        (ptmatch.DeadlinePassed, TimeoutError),
        (ptmatch.SingularMatrix, ArithmeticError),
        (ptmatch.BadArgs, ValueError),
        (ptmatch.BadParams, ptmatch.MatcherError),
        (ptmatch.NotTrained, ptmatch.MatcherError),
        (ptmatch.NotRun, ptmatch.MatcherError),
        (ptmatch.InsufficientModelPoints, ptmatch.MatcherError),
    ],
)
def test_errors_are_what_users_of_python_catch(kind, base):
    assert issubclass(kind, base)


def test_scopes_of_the_library_lead_to_the_same_classes():
    defs = ptmatch.rxPointMatcherDefs
    assert defs.Errors is ptmatch.MatcherError
    assert defs.BadParams is ptmatch.BadParams
    assert defs.NotTrained is ptmatch.NotTrained
    assert defs.NotRun is ptmatch.NotRun
    assert defs.InsufficientModelPoints is ptmatch.InsufficientModelPoints
    assert ptmatch.rxAttention.Interrupted is ptmatch.Interrupted
    assert ptmatch.rxException is ptmatch.PtmatchError
    assert ptmatch.rxMathError is ptmatch.MathError


def raised(call, *arguments):
    with pytest.raises(ptmatch.PtmatchError) as caught:
        call(*arguments)
    return caught.value


def test_numbers_and_messages_are_those_of_the_library():
    untrained = ptmatch.rxPointMatcher()
    params = ptmatch.rxPointMatcherRunParams()
    found = ptmatch.rxPointMatcherResultSet()

    error = raised(ptmatch.Matcher.train, SQUARE[:2])
    assert (type(error), error.number) == (ptmatch.InsufficientModelPoints, 0x10005F04)
    assert error.message == "The number of model points must be >= 3\n"

    error = raised(untrained.run, SQUARE, params, found)
    assert (type(error), error.number) == (ptmatch.NotTrained, 0x10005F01)

    error = raised(params.minCoverage, 2.0)
    assert (type(error), error.number) == (ptmatch.BadParams, 0x10005F00)
    assert error.message.endswith("\n") and not str(error).endswith("\n")

    error = raised(ptmatch.rxPointMatcherResult().gridToDataMap, (0, 0))
    assert (type(error), error.number) == (ptmatch.NotRun, 0x10005F02)

    error = raised(ptmatch.rxXform(np.zeros((2, 2)), (0, 0)).inverse)
    assert (type(error), error.number) == (ptmatch.MathError, 0)

    error = raised(ptmatch.rxPelBuffer([[1]]).get, (1, 0))
    assert type(error) is ptmatch.ImageError

    error = raised(ptmatch.rxXform.from_bytes, b"short")
    assert type(error) is ptmatch.ArchiveError


def test_a_record_of_another_version_is_told_so():
    record = bytearray(ptmatch.rxPelBuffer().to_bytes())
    record[0] ^= 0x40
    with pytest.raises(ptmatch.UnknownVersion):
        ptmatch.rxPelBuffer.from_bytes(bytes(record))


def test_standard_exceptions_of_the_library_arrive_as_pythons():
    matcher = ptmatch.Matcher.train(SQUARE)
    found = matcher.match(SQUARE)
    params, settings = found.params, ptmatch.rxCertaintySettings()
    with pytest.raises(IndexError):
        ptmatch.rfCertainty(matcher.core, SQUARE, params, found.result_set, 1, settings)


def test_a_failed_setter_keeps_the_old_value():
    params = ptmatch.rxPointMatcherRunParams()
    for wrong in (-0.1, 1.1, float("nan")):
        raised(params.minCoverage, wrong)
        assert params.minCoverage() == 0.5
