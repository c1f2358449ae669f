"""The comparison with peers: its table is whole, whatever peers there are, and it can fail."""

from __future__ import annotations

import importlib
import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest

SCRIPT = pathlib.Path(__file__).resolve().parents[1] / "examples" / "compare_with_peers.py"
QUICK_ROWS = ("easy", "easy, turned", "few points")
PCL = ("4PCS", "K4PCS", "prerejective")


def run(*options: object) -> str:
    """What the script prints."""
    done = subprocess.run(
        [sys.executable, str(SCRIPT), *map(str, options)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        timeout=120,
    )
    assert done.returncode == 0, done.stderr
    return done.stdout


def table(printed: str) -> dict[str, dict[str, tuple[float, str]]]:
    """Rate and time of each contender in each row."""
    lines = [line for line in printed.splitlines() if " |" in line]
    names = [cell.strip() for cell in lines[0].split("|")[1:]]
    rows = {}
    for line in lines[2:]:
        cells = [cell.split() for cell in line.split("|")[1:]]
        values = {name: (float(rate), ms) for name, (rate, ms) in zip(names, cells, strict=True)}
        rows[line[:13].strip()] = values
    return rows


def stub(path: pathlib.Path, body: str) -> pathlib.Path:
    """A program that takes the place of ptmatch_peers."""
    path.write_text(f"#!{sys.executable}\nimport sys\n{body}", encoding="ascii")
    path.chmod(0o755)
    return path


ANSWERS_NOTHING = """
count = int(open(sys.argv[sys.argv.index("--read") + 1]).readline())
print("PCL 0.0")
for name in sys.argv[sys.argv.index("--only") + 1].split(","):
    for index in range(count):
        print(name, index, 1, 0, 0.25, 1, 0, 0, 0)
"""


@pytest.fixture(scope="module")
def printed(tmp_path_factory: pytest.TempPathFactory) -> str:
    folder = tmp_path_factory.mktemp("peers")
    program = stub(folder / "answers_nothing", ANSWERS_NOTHING)
    picture = folder / "chart.png"
    text = run("--quick", "--pcl", program, "--picture", picture)
    assert picture.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    return text


def test_quick_table_has_all_rows_and_the_easy_ones_are_solved(printed: str) -> None:
    rows = table(printed)
    assert tuple(rows) == QUICK_ROWS
    assert rows["easy"]["ptmatch"][0] == 1.0
    assert rows["easy"]["ptmatch told"][0] == 1.0
    assert 0.0 < float(rows["easy"]["ptmatch"][1]) < 5000.0


def test_scenes_without_an_answer_count_as_failures_and_their_time_counts(printed: str) -> None:
    for cells in table(printed).values():
        assert [cells[name] for name in PCL] == [(0.0, "250")] * 3
    assert "4PCS            0 /   9 /   0  of 9" in printed


def test_astroalign_solves_the_easy_row(printed: str) -> None:
    if "left out: astroalign" in printed:
        pytest.skip("astroalign is not installed")
    assert table(printed)["easy"]["astroalign"][0] == 1.0


def test_alignments_of_pcl_answer() -> None:
    program = os.environ.get("PTMATCH_PEERS_PROGRAM")
    if program is None:
        pytest.skip("PTMATCH_PEERS_PROGRAM does not name a ptmatch_peers built with PCL")
    rows = table(run("--quick", "--scenes", 1, "--pcl", program))
    assert rows["easy"]["prerejective"][0] == 1.0


@pytest.mark.parametrize(
    "body, reason",
    [
        ("sys.exit('no contender 4PCS was built')", "no contender 4PCS was built"),
        ("print('hello')", "unexpected line: hello"),
        ("", "4PCS answered 0 of 1 scenes"),
    ],
)
def test_missing_peers_are_named(
    tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch, body: str, reason: str
) -> None:
    script = importlib.import_module("compare_with_peers")
    monkeypatch.setitem(sys.modules, "astroalign", None)  # type: ignore[misc]
    contenders, versions, missing = script.make_contenders(str(stub(tmp_path / "program", body)))
    assert [contender.name for contender in contenders] == ["ptmatch", "ptmatch told"]
    assert len(versions) == 1
    assert "python3-astroalign" in missing[0]
    assert reason in missing[1]
    assert "--pcl" in script.make_contenders(None)[2][1]
    assert "No such file" in script.make_contenders(str(tmp_path / "none"))[2][1]


def test_poses_are_judged_by_where_they_take_the_whole_model() -> None:
    script = importlib.import_module("compare_with_peers")
    row = script.ROWS[0]
    scene = script.draw_scene(row, 0)
    planted = scene.data_from_model
    within, beyond = planted.copy(), planted.copy()
    within[0, 2] += 0.99 * row.tolerance
    beyond[0, 2] += 1.01 * row.tolerance
    assert script.is_right(script.Outcome(within, 0.0), scene, row)
    assert not script.is_right(script.Outcome(beyond, 0.0), scene, row)
    assert not script.is_right(script.Outcome(np.full((2, 3), np.nan), 0.0), scene, row)
    assert not script.is_right(script.Outcome(None, 0.0), scene, row)


def test_who_is_stopped_in_every_scene_is_spared_the_rest() -> None:
    script = importlib.import_module("compare_with_peers")
    scenes = [script.draw_scene(script.ROWS[0], index) for index in range(6)]
    stopped = script.Outcome(None, 5.0, has_ended=False)
    nothing = script.Outcome(None, 0.1)
    assert script.find_until_hopeless(lambda scene: stopped, scenes) == 4 * [stopped]
    assert script.find_until_hopeless(lambda scene: nothing, scenes) == 6 * [nothing]
    tally = script.tally_of(4 * [stopped], scenes, script.ROWS[0], 5)
    assert (tally.num_tried, tally.num_stopped, tally.num_right) == (4, 4, 0)
    assert tally.cell.split() == ["0.00", ">5000"]


def test_scenes_hold_what_their_rows_say() -> None:
    script = importlib.import_module("compare_with_peers")
    for row in script.ROWS:
        scene = script.draw_scene(row, 0)
        assert scene.model.shape == (row.num_model, 2)
        assert scene.data.shape == (row.num_kept + row.num_clutter, 2)
        again = script.draw_scene(row, 0)
        assert np.array_equal(scene.data, again.data)
        places = script.apply(scene.data_from_model, scene.model)
        gaps = np.linalg.norm(places[:, None] - scene.data[None], axis=2).min(axis=1)
        assert np.count_nonzero(gaps < 6.0 * row.jitter) >= row.num_kept
        turn = scene.data_from_model[:, :2]
        scale = np.sqrt(np.linalg.det(turn))
        assert abs(scale - 1.0) <= (0.1 if row.scaled else 1e-12)
        if not row.full_turn:
            assert turn[0, 0] >= scale * np.cos(np.radians(15.0))
