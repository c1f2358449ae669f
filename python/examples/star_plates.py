#!/usr/bin/python3
"""Finds the stars of a photographic plate of 1910 again on a plate of 1975.

    PYTHONPATH=build/release/python python/examples/star_plates.py [--out FILE]

Both plates show the Beehive cluster, scanned at different sizes; each has stars and flaws that the
other has not. Once it is known which star is which, fits of growing freedom tell how far one plate
can be laid over the other, and arrows show what is left.
"""

from __future__ import annotations

import argparse
import pathlib

import numpy as np
from matplotlib.figure import Figure

import ptmatch
import ptmatch.plot

DATA = pathlib.Path(__file__).resolve().parents[2] / "data" / "beehive"


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", type=pathlib.Path, default="out/python/star_plates.png")
    out = parser.parse_args().out

    plate_1910 = np.loadtxt(DATA / "model.csv", delimiter=",", skiprows=1)
    plate_1975 = np.loadtxt(DATA / "data.csv", delimiter=",", skiprows=1)

    matcher = ptmatch.Matcher.train(plate_1910)
    found = matcher.match(
        plate_1975,
        scale=(-0.1, 0.1),  # the scans may differ in size by 10 percent
        min_coverage=0.4,  # 40 percent of the stars found again is enough
        grid_size=16,  # the plates are 3000 pixels wide: search in cells of 16
        capture_range=8,  # stars move, emulsions stretch: accept 8 pixels
    )
    best = found.best
    if best is None:
        raise SystemExit("the plates do not show the same stars")

    # The same stars on both plates, as pairs.
    old = plate_1910[best.matched]
    new = best.data_points[best.matched]
    fits = {
        "similarity": ptmatch.fit_similarity(old, new),
        "affine": ptmatch.fit_affine(old, new),
        "perspective": ptmatch.fit_perspective(old, new),
    }

    print(f"stars on both plates   {len(old)} of {len(plate_1910)} and {len(plate_1975)}")
    print(f"scale, rotation        {best.scale:.5f}, {best.rotation_deg:.3f} degrees")
    print(f"time                   {1000 * found.time:.0f} ms")
    print()
    print("transform       rms    largest   of pair   (pixels of 1975)")
    for name, fit in fits.items():
        print(f"{name:11s} {fit.rms:7.3f} {fit.largest:10.3f} {fit.worst:9d}")

    figure = Figure(figsize=(17, 7))
    left, right = figure.subplots(1, 2, gridspec_kw={"wspace": 0.5})
    ptmatch.plot.match(best, plate_1975, left)
    ptmatch.plot.residuals(fits["affine"], right)
    out.parent.mkdir(parents=True, exist_ok=True)
    figure.savefig(out, dpi=100, bbox_inches="tight")
    print(f"\nThe picture: {out}")


if __name__ == "__main__":
    main()
