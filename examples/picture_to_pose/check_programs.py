"""Runs the programs on pictures and compares what they find with what is there.

usage: check_programs.py FOLDER_OF_PROGRAMS SCRATCH_FOLDER CASE

To be run in the project's folder. Ends with 77 when the pictures of a case are not on this machine.
"""

import csv
import math
import pathlib
import re
import struct
import subprocess
import sys

SKIPPED = 77
PATTERN = "examples/picture_to_pose/plate.txt"
BOARD = "data/versa64/model.csv"


class Programs:
    def __init__(self, folder, scratch):
        self.folder = pathlib.Path(folder)
        self.scratch = pathlib.Path(scratch)
        self.scratch.mkdir(parents=True, exist_ok=True)
        for old in self.scratch.iterdir():
            old.unlink()

    def file(self, name):
        return str(self.scratch / name)

    def run(self, program, *options, code=0):
        """What a program prints, which has to end with `code`."""
        command = [str(self.folder / program), *map(str, options)]
        done = subprocess.run(command, capture_output=True, text=True, timeout=120, check=False)
        check(
            done.returncode == code,
            f"{' '.join(command)} ended with {done.returncode} instead of {code}:\n"
            f"{done.stdout}{done.stderr}",
        )
        return done.stdout if code != 2 else done.stderr


def check(holds, message):
    if not holds:
        raise SystemExit(message)


def close(what, value, expected, tolerance):
    check(
        abs(value - expected) <= tolerance,
        f"{what} is {value}, which should be {expected} to within {tolerance}",
    )


def points(file, keys):
    """The points of a table by its first `keys` columns."""
    with open(file, newline="", encoding="utf-8") as stream:
        rows = list(csv.reader(stream))[1:]
    return {
        tuple(int(k) for k in row[:keys]): (float(row[keys]), float(row[keys + 1])) for row in rows
    }


def numbers_after(text, label, count):
    """The `count` numbers that follow a label in what a program printed."""
    found = re.search(re.escape(label) + r"((?:[\s,()]*-?[\d.]+(?:e[-+]?\d+)?){%d})" % count, text)
    check(found, f"no {count} numbers after '{label}' in:\n{text}")
    return [float(n) for n in re.findall(r"-?[\d.]+(?:e[-+]?\d+)?", found.group(1))]


def picture_size(file):
    """Width and height of a PNG picture."""
    with open(file, "rb") as stream:
        head = stream.read(24)
    check(head[:8] == b"\x89PNG\r\n\x1a\n", f"{file} is not a PNG picture")
    return struct.unpack(">II", head[16:24])


def turn_by_note(file):
    """Notes in a JPEG picture that it is to be shown turned by a quarter (Exif, orientation 6)."""
    picture = pathlib.Path(file).read_bytes()
    check(picture[:2] == b"\xff\xd8", f"{file} is not a JPEG picture")
    entry = struct.pack(">HHIHH", 0x0112, 3, 1, 6, 0)
    note = b"Exif\0\0" + b"MM\0*" + struct.pack(">IH", 8, 1) + entry + bytes(4)
    segment = b"\xff\xe1" + struct.pack(">H", len(note) + 2) + note
    pathlib.Path(file).write_bytes(picture[:2] + segment + picture[2:])


def points_told(out):
    """What part_to_pose says of the pose, without the time."""
    return re.sub(r"in [\d.]+ ms", "", out)


def seen_through(p, column, row):
    w = p[6] * column + p[7] * row + 1
    return (p[0] * column + p[1] * row + p[2]) / w, (p[3] * column + p[4] * row + p[5]) / w


def drawn_plate(programs):
    picture = programs.file("plate.png")
    truth_file = programs.file("truth.csv")
    drawn = programs.run("draw_scene", "plate", picture, "--truth", truth_file)
    truth = points(truth_file, 2)
    check(len(truth) == 73, f"{len(truth)} dots drawn in sight")
    true_view = numbers_after(drawn, "parameters", 8)

    overlay = programs.file("overlay.png")
    table = programs.file("dots.csv")
    out = programs.run(
        "plate_to_grid", picture, "--pattern", PATTERN, "--out", overlay, "--csv", table
    )
    found = points(table, 2)
    check(found.keys() == truth.keys(), f"wrong dots: {found.keys() ^ truth.keys()}")
    # A dot is 27 to 60 pixels wide here; the ellipse's centre is up to 0.6 pixels off.
    for dot, place in found.items():
        check(math.dist(place, truth[dot]) < 0.2, f"dot {dot} at {place}, not {truth[dot]}")
    view = numbers_after(out, "parameters", 8)
    for column in range(10):
        for row in range(8):
            off = math.dist(seen_through(view, column, row), seen_through(true_view, column, row))
            check(off < 0.2, f"position ({column}, {row}) is {off} px off")
    width, height = picture_size(overlay)
    check(width == 2048 and height > 1536, f"overlay of {width} x {height} pixels")

    # Without the pattern: the same dots, and the same columns and rows, since the plate lies upright.
    programs.run("plate_to_grid", picture, "--out", overlay, "--csv", table)
    check(points(table, 2).keys() == truth.keys(), "wrong dots without the pattern")

    # A pattern that is not the one on the plate.
    other = programs.file("other.txt")
    rows = ["x...x...x." if k % 2 else "xxxx.xxxx." for k in range(8)]
    pathlib.Path(other).write_text("\n".join(rows) + "\n", encoding="utf-8")
    out = programs.run(
        "plate_to_grid", picture, "--pattern", other, "--min-coverage", "1", "--out", overlay,
        code=1,
    )
    check("no plate found" in out, out)


def drawn_part(programs):
    picture = programs.file("part.png")
    truth_file = programs.file("truth.csv")
    drawn = programs.run("draw_scene", "part", picture, "--truth", truth_file)
    truth = points(truth_file, 1)
    check(len(truth) == 60, f"{len(truth)} holes drawn in sight")

    overlay = programs.file("overlay.png")
    table = programs.file("holes.csv")
    # The scale is known to a few percent only.
    options = ["--model", BOARD, "--bright", "--scale", 12.2, "--out", overlay, "--csv", table]
    out = programs.run("part_to_pose", picture, *options)
    found = points(table, 1)
    check(found.keys() == truth.keys(), f"wrong holes: {found.keys() ^ truth.keys()}")
    for hole, place in found.items():
        check(math.dist(place, truth[hole]) < 0.1, f"hole {hole} at {place}, not {truth[hole]}")

    labels = [("rotation", 1, 0.01), ("scale", 1, 0.001), ("origin of the model at", 2, 0.1)]
    for label, count, tolerance in labels:
        pairs = zip(numbers_after(out, label, count), numbers_after(drawn, label, count))
        for value, expected in pairs:
            close(label, value, expected, tolerance)
    close("coverage", numbers_after(out, "coverage", 1)[0], 100 * 60 / 66, 0.05)
    check(numbers_after(out, "fit error", 1)[0] < 0.05, f"fit error in: {out}")
    width, height = picture_size(overlay)
    check(width == 2200 and height > 1720, f"overlay of {width} x {height} pixels")

    # The note of a camera that was held sideways changes nothing: pixels count as they are stored.
    photograph = programs.file("part.jpg")
    programs.run("draw_scene", "part", photograph)
    upright = points_told(programs.run("part_to_pose", photograph, *options))
    turn_by_note(photograph)
    check(points_told(programs.run("part_to_pose", photograph, *options)) == upright, "turned")

    # More than there is in sight.
    out = programs.run("part_to_pose", picture, *options, "--min-coverage", 0.95, code=1)
    check("the part was not found" in out, out)


def film(programs):
    """The way that frames of a camera take, too."""
    frames = programs.file("plate.avi")
    drawn = programs.run("draw_scene", "plate", frames, "--frames", 4)
    overlay = programs.file("seen.png")
    out = programs.run(
        "plate_to_grid", frames, "--frames", 3, "--pattern", PATTERN, "--out", overlay,
        "--csv", programs.file("dots.csv"),
    )  # fmt: skip
    check(out.count("frame ") == 3, out)
    found = out.split("frame ")[1:]
    for k, true_text in enumerate(drawn.split("plate: ")[1:4]):
        true_view = numbers_after(true_text, "parameters", 8)
        view = numbers_after(found[k], "parameters", 8)
        off = math.dist(seen_through(view, 4, 4), seen_through(true_view, 4, 4))
        check(off < 0.3, f"frame {k + 1} is {off} px off")  # compressed pictures
    names = sorted(p.name for p in programs.scratch.glob("seen*"))
    check(names == ["seen_0001.png", "seen_0002.png", "seen_0003.png"], str(names))
    names = sorted(p.name for p in programs.scratch.glob("dots*"))
    check(names == ["dots_0001.csv", "dots_0002.csv", "dots_0003.csv"], str(names))
    # A table for each frame, with as many dots as the line of that frame tells.
    for name, text in zip(names, found):
        told = re.search(r"(\d+) of them dots of the pattern", text)
        check(told, text)
        dots = points(programs.file(name), 2)
        check(len(dots) == int(told.group(1)), f"{name}: {len(dots)} dots, {text}")


def bad_input(programs):
    empty = programs.file("empty.png")
    programs.run("draw_scene", "empty", empty)
    overlay = programs.file("overlay.png")
    text = programs.file("text.png")
    pathlib.Path(text).write_text("not a picture\n", encoding="utf-8")
    short = programs.file("short.csv")
    pathlib.Path(short).write_text("x,y\n1,2\n3,4\n", encoding="utf-8")
    broken = programs.file("broken.csv")
    pathlib.Path(broken).write_text("x,y\n1,2\n3,four\n", encoding="utf-8")
    for program, options in (("plate_to_grid", []), ("part_to_pose", ["--model", BOARD])):

        def refusal(*more):
            return programs.run(program, *more, *options, "--out", overlay, code=2)

        out = programs.run(program, empty, *options, "--out", overlay, code=1)
        check("0 blobs" in out, out)
        picture_size(overlay)
        missing = programs.file("missing.png")
        check(refusal(missing) == f"{program}: {missing}: no such file\n", refusal(missing))
        check("neither a picture nor a video" in refusal(text), refusal(text))
        check("give a picture, or --camera N" in refusal(), refusal())
        check("camera 97 cannot be opened" in refusal("--camera", 97), "camera")
    out = programs.run("plate_to_grid", empty, "--out", programs.file("overlay.what"), code=2)
    check("overlay.what" in out, out)
    out = programs.run("plate_to_grid", empty, "--pattern", broken, code=2)
    check("x and . only" in out, out)
    out = programs.run("part_to_pose", empty, "--model", short, code=2)
    check("3 points or more" in out, out)
    out = programs.run("part_to_pose", empty, "--model", broken, code=2)
    check("broken.csv, line 3: expected 2 numbers" in out, out)


# Photographs of plates: folder, dots on the plate, largest residual, options.
REAL_PLATES = [
    ("dots36_01", 36, 1, []),
    ("sym10x8_a", 80, 2, []),
    ("sym10x8_b", 80, 2, []),
    ("sym7x7_05", 49, 3, []),
    ("sym7x7_10", 49, 2, []),
    ("hex336_a", 336, 5, ["--staggered", "--row-ratio", 1.732]),
    ("stag27_09", 27, 1, ["--staggered"]),
    ("stag91_01", 91, 2, ["--staggered"]),
]


def real_pictures(programs):
    folder = pathlib.Path("../shared/data")
    if not folder.is_dir():
        print(f"skipped: no photographs in {folder}")
        raise SystemExit(SKIPPED)
    overlay = programs.file("overlay.png")
    for name, dots, largest, options in REAL_PLATES:
        (picture,) = (folder / "grids" / name).glob("picture.*")
        out = programs.run("plate_to_grid", picture, *options, "--out", overlay)
        check(f" {dots} of them dots of a plate" in out, f"{name}: {out}")
        check(numbers_after(out.split("perspective")[1], "largest", 1)[0] < largest, out)

    scan = folder / "boards/scan_versa64_top/picture.jpg"
    out = programs.run(
        "part_to_pose", scan, "--model", BOARD, "--scale", 11.8, "--bright", "--roundness", 0.5,
        "--out", overlay,
    )  # fmt: skip
    close("rotation", numbers_after(out, "rotation", 1)[0], -0.178, 0.05)
    close("scale", numbers_after(out, "scale", 1)[0], 11.7997, 0.01)
    card = folder / "markers/needle_in_haystack/picture.jpg"
    out = programs.run(
        "part_to_pose", card, "--model", "data/demo_pick/model.csv", "--min-diameter", 4,
        "--out", overlay,
    )  # fmt: skip
    close("coverage", numbers_after(out, "coverage", 1)[0], 100, 0.05)
    close("rotation", numbers_after(out, "rotation", 1)[0], -5.335, 0.05)


def main():
    folder, scratch, case = sys.argv[1:]
    cases = (drawn_plate, drawn_part, film, bad_input, real_pictures)
    {run.__name__: run for run in cases}[case](Programs(folder, scratch))


if __name__ == "__main__":
    main()
