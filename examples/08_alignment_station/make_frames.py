#!/usr/bin/env python3
"""Makes the tables in data/alignment_station: a part, a calibration, frames of a camera, and the truth.

    make_frames.py FOLDER

A plate with twelve holes lies on a table. A camera looks at the table a little from the side, 4 pixels to
the millimetre, its y axis downwards; the robot's points upwards. Everything random comes from one seed.
"""
import math
import pathlib
import random
import sys

SEED = 20261122

# Ten holes that look the same after half a turn about (60, 40), and two that tell which way it lies.
PART = [(10, 10), (60, 10), (110, 10), (10, 70), (60, 70), (110, 70), (35, 30), (85, 50), (85, 30),
        (35, 50), (25, 62), (100, 40)]
KEYS = (10, 11)
GRIP = (60, 40)  # where the robot takes the part

NOISE = 0.15  # standard deviation of a coordinate, pixels


def camera(x, y):
    """Where the camera sees a point of the table; robot millimetres to pixels."""
    w = 1 + 2.5e-4 * (x - 200) + 1e-4 * (y - 150)
    return 800 + (4.02 * (x - 200) + 0.05 * (y - 150)) / w, 600 + (0.03 * (x - 200) - 3.98 * (y - 150)) / w


def placed(points, pose, size=1.0):
    """The points of a part of this size, turned about its grip, which lies at (x, y)."""
    x, y, degrees = pose
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    for px, py in points:
        dx, dy = size * (px - GRIP[0]), size * (py - GRIP[1])
        yield x + c * dx - s * dy, y + s * dx + c * dy


def seen(rng, points, noise=NOISE):
    for x, y in points:
        u, v = camera(x, y)
        yield u + rng.gauss(0, noise), v + rng.gauss(0, noise)


def without(*hidden):
    return [p for k, p in enumerate(PART) if k not in hidden]


def frames(rng):
    """Each with what is to be said of it, the pose of the part, and what the camera sees of it."""

    def pose(x, y):
        return round(x, 3), round(y, 3), round(rng.uniform(-180, 180), 3)

    def frame(verdict, at, points, noise=NOISE, size=1.0):
        return verdict, at, list(seen(rng, placed(points, at, size), noise))

    for x, y, hidden in ((120, 110, ()), (260, 190, (3,)), (210, 150, (0, 8)), (150, 200, (7,)),
                         (280, 100, ())):
        yield frame("ok", pose(x, y), without(*hidden))
    yield frame("ambiguous", pose(200, 140), without(*KEYS))
    yield "not_found", None, []
    other = frame("", pose(300, 210), PART)[2]
    verdict, at, first = frame("several_parts", pose(110, 90), without(4))
    yield verdict, None, first + other
    bent = [(x + 1.5, y) if k == 5 else (x, y) for k, (x, y) in enumerate(PART)]
    yield frame("off_shape", pose(190, 170), bent)
    yield frame("imprecise", pose(230, 120), PART, noise=1.0)
    yield frame("wrong_size", pose(160, 130), PART, size=1.02)
    yield frame("not_found", pose(240, 160), without(0, 1, 2, 6, 8))


def write(path, header, rows):
    path.write_text("\n".join([header, *rows]) + "\n", encoding="utf-8")


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    rng = random.Random(SEED)
    write(folder / "part.csv", "x,y", [f"{x},{y}" for x, y in PART])

    # The robot touched a plate of 7 x 5 marks, 55 mm apart, which the camera saw.
    marks = [(35 + 55 * i, 40 + 55 * j) for j in range(5) for i in range(7)]
    pixels = seen(rng, marks, 0.1)
    write(folder / "calibration.csv", "camera_x,camera_y,robot_x,robot_y",
          [f"{u:.2f},{v:.2f},{x},{y}" for (u, v), (x, y) in zip(pixels, marks)])

    points, truth = [], []
    for number, (verdict, at, spots) in enumerate(frames(rng)):
        clutter = [(rng.uniform(0, 1600), rng.uniform(0, 1200)) for _ in range(rng.randint(6, 14))]
        spots = spots + clutter
        rng.shuffle(spots)
        points += [f"{number},{u:.2f},{v:.2f}" for u, v in spots]
        truth.append(f"{number},{verdict}," + (",".join(map(str, at)) if at else ",,"))
    write(folder / "frames.csv", "frame,x,y", points)
    write(folder / "truth.csv", "frame,verdict,grip_x,grip_y,degrees", truth)


if __name__ == "__main__":
    main()
