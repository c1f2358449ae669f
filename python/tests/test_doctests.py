"""The examples in the docstrings do what they show."""

import doctest
import importlib
import pkgutil

import numpy as np
import pytest

import ptmatch

MODULES = ["ptmatch"] + [f"ptmatch.{module.name}" for module in pkgutil.iter_modules(ptmatch.__path__)]


def examples_of(name: str) -> list[doctest.DocTest]:
    if name == "ptmatch.plot":
        pytest.importorskip("matplotlib")
    module = importlib.import_module(name)
    # What a reader has imported. A module's own names go before those.
    names = {**vars(ptmatch), "ptmatch": ptmatch, "np": np, **vars(module)}
    found = doctest.DocTestFinder(exclude_empty=True).find(module, globs=names)
    return [test for test in found if test.examples]


@pytest.mark.parametrize("name", MODULES)
def test_docstrings_show_what_happens(name: str) -> None:
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS, verbose=False)
    report: list[str] = []
    for test in examples_of(name):
        runner.run(test, out=report.append)
    assert not report, "".join(report)


def test_there_are_such_examples() -> None:
    assert examples_of("ptmatch.matcher")
    assert examples_of("ptmatch.errors")
