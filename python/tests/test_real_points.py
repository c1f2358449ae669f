"""Measured scenes whose answer is known, through Matcher."""

import json

import numpy as np
import pytest

import ptmatch


def points(path):
    return np.loadtxt(path, delimiter=",", skiprows=1, ndmin=2, usecols=(0, 1))


def check(folder, **search):
    """How many model points are matched as the truth says, and how many it pairs."""
    truth = json.loads((folder / "truth.json").read_text())
    model, data = points(folder / "model.csv"), points(folder / "data.csv")
    best = ptmatch.Matcher.train(model).match(data, **search).best
    expected = np.array(truth["map"])
    paired = expected >= 0
    agreeing = np.count_nonzero((best.model_to_data == expected) & paired)
    return agreeing, np.count_nonzero(paired), best, truth


def test_the_card_is_found_among_dots_that_look_alike(data):
    agreeing, paired, best, truth = check(data / "demo_pick")
    assert agreeing == paired == 30 and best.coverage == 1.0
    assert best.rotation_deg == pytest.approx(truth["rotation_deg"], abs=0.05)
    assert best.scale == pytest.approx(truth["scale"], abs=1e-4)


def test_the_holes_of_a_board_are_found_in_its_scan(data):
    scale = 300 / 25.4  # pixels to the millimetre
    agreeing, _, best, truth = check(
        data / "versa64",
        start_pose=[[scale, 0, 0], [0, scale, 0]],
        rotation="full",
        scale=(-0.02, 0.02),
        capture_range=4.0,
    )
    assert agreeing == 65
    assert best.scale == pytest.approx(truth["scale"], rel=1e-3)


@pytest.mark.parametrize(
    "name, search, agreeing",
    [
        ("demo_pick", {"rotation": "full", "scale": (-0.02, 0.02)}, 30),
        (
            "stars/beehive_1910_1975",
            {
                "start_pose": [[0.95, 0, 0], [0, 0.95, 0]],
                "scale": (-0.02, 0.02),
                "min_coverage": 0.4,
                "grid_size": 15.0,
                "capture_range": 8.0,
            },
            190,
        ),
        (
            "stars/cassiopeia_catalogue",
            {"rotation": "full", "scale": (-0.03, 0.03), "grid_size": 8.0, "capture_range": 4.0},
            22,
        ),
        (
            "boards/shield_headers_in_freeduino",
            {"rotation": "full", "scale": (-0.01, 0.01), "capture_range": 0.5},
            28,
        ),
    ],
)
def test_the_collection_is_matched_as_its_truth_says(shared_data, name, search, agreeing):
    assert check(shared_data / name, **search)[0] == agreeing
