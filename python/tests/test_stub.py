"""The type stub tells of the module what is in it."""

import importlib
import pathlib

import pytest


def test_stub_is_that_of_the_module(root: pathlib.Path) -> None:
    written = (root / "python" / "ptmatch" / "_core.pyi").read_text(encoding="utf-8")
    if written != importlib.import_module("make_python_stub").stub():
        pytest.fail("make python/ptmatch/_core.pyi anew: scripts/make_python_stub.py writes it")
