"""Where the tests find the project and its data."""

import os
import pathlib
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Examples and scripts are imported by their names.
sys.path[:0] = [str(ROOT / "python" / "examples"), str(ROOT / "scripts")]
_DATA = pathlib.Path(os.environ.get("PTMATCH_DATA_DIR", ROOT / "data"))
_SHARED = pathlib.Path(os.environ.get("PTMATCH_SHARED_DATA_DIR", ROOT.parent / "shared" / "data"))


@pytest.fixture(scope="session")
def root() -> pathlib.Path:
    """The project's folder."""
    return ROOT


@pytest.fixture(scope="session")
def data() -> pathlib.Path:
    """The project's own measurements."""
    return _DATA


@pytest.fixture(scope="session")
def shared_data() -> pathlib.Path:
    """Measurements that are not part of the project. Tests that need them are skipped without."""
    if not _SHARED.is_dir():
        pytest.skip(f"there are no shared data in {_SHARED}")
    return _SHARED
