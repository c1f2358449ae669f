"""Random scenes with a known answer, and a plain reference in NumPy."""

from dataclasses import dataclass

import numpy as np


@dataclass
class Scene:
    """A model somewhere among other points."""

    model: np.ndarray
    data: np.ndarray
    truth: np.ndarray  # the data point of each model point, -1 for none
    matrix: np.ndarray  # the pose, shape (2, 3)


def similarity(rotation_deg, scale, translation):
    angle = np.radians(rotation_deg)
    c, s = scale * np.cos(angle), scale * np.sin(angle)
    return np.array([[c, -s, translation[0]], [s, c, translation[1]]])


def apply(matrix, points):
    return np.asarray(points) @ matrix[:, :2].T + matrix[:, 2]


def make_scene(seed, count=25, clutter=60, missing=0, jitter=0.0, rotation_deg=8.0, scale=1.0):
    rng = np.random.default_rng(seed)
    model = rng.uniform(0.0, 300.0, (count, 2))
    matrix = similarity(rotation_deg, scale, rng.uniform(-200.0, 200.0, 2))
    images = apply(matrix, model) + rng.normal(0.0, jitter, (count, 2))
    kept = rng.permutation(count)[: count - missing]
    centre = images.mean(axis=0)
    points = np.vstack([images[kept], centre + rng.uniform(-300.0, 300.0, (clutter, 2))])
    order = rng.permutation(len(points))
    truth = np.full(count, -1)
    for place, source in enumerate(order):
        if source < len(kept):
            truth[kept[source]] = place
    return Scene(model, points[order], truth, matrix)


def fitted_similarity(model, data):
    """Least squares, from the linear equations of a, b, tx, ty."""
    x, y = model[:, 0], model[:, 1]
    one, nil = np.ones_like(x), np.zeros_like(x)
    rows = np.vstack([np.column_stack([x, -y, one, nil]), np.column_stack([y, x, nil, one])])
    a, b, tx, ty = np.linalg.lstsq(rows, np.concatenate([data[:, 0], data[:, 1]]), rcond=None)[0]
    return np.array([[a, -b, tx], [b, a, ty]])
