"""The example programs, run as a reader would: what they print, and the pictures they make."""

from __future__ import annotations

import importlib
import pathlib
import struct
import subprocess
import sys

import pytest

EXAMPLES = pathlib.Path(__file__).resolve().parents[1] / "examples"
STRICT = ("-X", "dev", "-W", "error")


def run(name: str, *options: object, python: tuple[str, ...] = STRICT) -> str:
    """What an example prints. The cluster of dask needs room to warn: it does not live with STRICT."""
    done = subprocess.run(
        [sys.executable, *python, str(EXAMPLES / name), *map(str, options)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        timeout=120,
    )
    assert done.returncode == 0, done.stderr
    assert done.stderr == ""
    return done.stdout


def size_of_png(path: pathlib.Path) -> tuple[int, int]:
    head = path.read_bytes()[:24]
    assert head[:8] == b"\x89PNG\r\n\x1a\n"
    width, height = struct.unpack(">II", head[16:24])
    return width, height


def value(printed: str, name: str) -> str:
    """What stands behind a name at the beginning of a line."""
    return next(line[len(name) :] for line in printed.splitlines() if line.startswith(name)).strip()


def test_find_part_finds_all_dots_of_the_card(tmp_path: pathlib.Path) -> None:
    picture = tmp_path / "new folder" / "card.png"
    printed = run("find_part.py", "--out", picture)
    assert value(printed, "dots of the card found") == "30 of 30"
    assert value(printed, "turned by") == "-5.335 degrees"
    assert value(printed, "fit error") == "1.79 pixels (root mean square)"
    assert f"The picture: {picture}" in printed
    width, height = size_of_png(picture)
    assert width > 600 and height > 600


def test_place_dots_places_the_plate_and_follows_its_perspective(tmp_path: pathlib.Path) -> None:
    picture = tmp_path / "dots.png"
    printed = run("place_dots.py", "--out", picture)
    assert value(printed, "blobs at nodes") == "54 of 91"
    assert value(printed, "dots of a board") == "49, 7 columns, 7 rows"
    affine = float(value(printed, "affine").split()[0])
    perspective = float(value(printed, "perspective").split()[0])
    assert affine == pytest.approx(0.966, abs=0.001)
    assert perspective == pytest.approx(0.555, abs=0.001)
    width, height = size_of_png(picture)
    assert width > 800 and height > 800


def test_star_plates_finds_the_stars_of_both(tmp_path: pathlib.Path) -> None:
    picture = tmp_path / "stars.png"
    printed = run("star_plates.py", "--out", picture)
    assert value(printed, "stars on both plates") == "190 of 343 and 245"
    similarity, affine, perspective = (
        float(value(printed, name).split()[0]) for name in ("similarity", "affine", "perspective")
    )
    assert similarity == pytest.approx(2.07, abs=0.01)
    assert perspective <= affine < similarity
    width, height = size_of_png(picture)
    assert width > 1000 and height > 500


def test_match_frames_gives_the_same_with_threads_and_processes() -> None:
    printed = run("match_frames.py", "--frames", 30, "--workers", 2, "--ways", "threads", "processes")
    assert "30 frames of 232 points, part found in 30" in printed
    assert float(value(printed, "threads").split()[2]) > 0
    assert float(value(printed, "processes").split()[2]) > 0
    assert "the same results in the same order" in printed


def test_match_frames_gives_the_same_with_a_cluster_of_dask() -> None:
    pytest.importorskip("distributed")
    printed = run("match_frames.py", "--frames", 30, "--workers", 2, "--ways", "dask", python=())
    assert float(value(printed, "dask").split()[2]) > 0
    assert "the same results in the same order" in printed


def test_match_frames_says_that_dask_is_missing(
    monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    frames = importlib.import_module("match_frames")
    monkeypatch.setitem(sys.modules, "dask", None)
    monkeypatch.setattr(sys, "argv", ["match_frames.py", "--frames", "2", "--ways", "dask"])
    assert frames.main() == 0
    assert "is left out" in capsys.readouterr().out


@pytest.mark.parametrize("spoil", [lambda results: results[::-1], lambda results: results[:-1]])
def test_match_frames_fails_when_results_differ(
    monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str], spoil: object
) -> None:
    frames = importlib.import_module("match_frames")
    right = frames.with_threads

    def wrong(*arguments: object) -> object:
        done = right(*arguments)
        return done._replace(results=spoil(done.results))  # type: ignore[operator]

    monkeypatch.setitem(frames.WAYS, "threads", wrong)
    monkeypatch.setattr(sys, "argv", ["match_frames.py", "--frames", "3", "--ways", "threads"])
    assert frames.main() == 1
    assert "not the same results as one by one: threads" in capsys.readouterr().err
