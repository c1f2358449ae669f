#!/usr/bin/python3
"""Finds a printed card of 30 dots in a photograph of 286 dots that all look alike.

    PYTHONPATH=build/release/python python/examples/find_part.py [--out FILE]

Prints where the card lies and draws two pictures into one file: which dot is which, and what the
search counted to find out.
"""

from __future__ import annotations

import argparse
import pathlib

import numpy as np
from matplotlib.figure import Figure

import ptmatch
import ptmatch.plot

DATA = pathlib.Path(__file__).resolve().parents[2] / "data" / "demo_pick"


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", type=pathlib.Path, default="out/python/find_part.png")
    out = parser.parse_args().out

    card = np.loadtxt(DATA / "model.csv", delimiter=",", skiprows=1)
    dots = np.loadtxt(DATA / "data.csv", delimiter=",", skiprows=1)

    # Train once; a trained matcher serves any number of photographs.
    matcher = ptmatch.Matcher.train(card)
    found = matcher.match(dots)  # within 15 degrees, at the size of the model, half of it seen
    best = found.best
    if best is None:
        raise SystemExit("the card is not in the photograph")

    print(f"dots of the card found  {np.sum(best.matched)} of {len(matcher)}")
    print(f"turned by               {best.rotation_deg:.3f} degrees")
    print(f"scale                   {best.scale:.4f}")
    print(f"origin of the card at   {best.translation[0]:.1f}, {best.translation[1]:.1f} pixels")
    print(f"fit error               {best.fit_error:.2f} pixels (root mean square)")
    print(f"time                    {1000 * found.time:.1f} ms")
    print()
    print("dot of the card   on the photograph       off by")
    for k in np.argsort(best.distances)[::-1][:5]:
        x, y = best.data_points[k]
        print(f"{k:15d}   {x:7.1f}, {y:6.1f}   {best.distances[k]:7.2f} pixels")
    print("            ...   (the five that fit worst)")

    # Axes of one's own: the functions of ptmatch.plot draw into what they are given.
    figure = Figure(figsize=(9, 11))
    upper, lower = figure.subplots(2, 1, gridspec_kw={"height_ratios": [1, 0.9], "hspace": 0.3})
    ptmatch.plot.match(best, dots, upper)
    ptmatch.plot.votes(matcher.vote_image(dots, pose=best.matrix), lower)
    out.parent.mkdir(parents=True, exist_ok=True)
    figure.savefig(out, dpi=120, bbox_inches="tight")
    print(f"\nThe picture: {out}")


if __name__ == "__main__":
    main()
