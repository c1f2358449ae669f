"""The type stub tells of the module what is in it."""

import importlib.util
import pathlib

import pytest


def test_stub_is_that_of_the_module(root: pathlib.Path) -> None:
    script = root / "scripts" / "make_python_stub.py"
    spec = importlib.util.spec_from_file_location(script.stem, script)
    assert spec is not None and spec.loader is not None
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    stub = (root / "python" / "ptmatch" / "_core.pyi").read_text(encoding="utf-8")
    if stub != module.stub():
        pytest.fail(f"make python/ptmatch/_core.pyi anew: {script} writes it")
