#!/usr/bin/env python3
"""The alignment station of the examples says of its frames what is true of them, and fails as it says.

    check_alignment_station.py PROJECT PROGRAM
"""
import csv
import json
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

PROJECT, PROGRAM = (pathlib.Path(p).resolve() for p in sys.argv[1:3])
DATA = PROJECT / "data/alignment_station"


def table(path):
    with open(path, encoding="utf-8") as file:
        return list(csv.DictReader(file))


class AlignmentStation(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="station_")
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.ends(0, "train", DATA / "part.csv", self.folder / "matcher")

    def ends(self, code, *arguments):
        ran = subprocess.run([PROGRAM, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             text=True, check=False)
        self.assertEqual(ran.returncode, code, ran.stdout + ran.stderr)
        self.assertEqual(bool(ran.stderr), code == 2, ran.stderr)
        return ran.stderr

    def run_ends(self, code, frames=DATA / "frames.csv", calibration=DATA / "calibration.csv",
                 matcher=None, report="report.csv"):
        return self.ends(code, "run", matcher or self.folder / "matcher", calibration, frames,
                         self.folder / report)

    def write(self, name, text):
        (self.folder / name).write_text(text, encoding="utf-8")
        return self.folder / name

    def test_says_what_is_true_of_every_frame(self):
        self.run_ends(1)
        said, true = table(self.folder / "report.csv"), table(DATA / "truth.csv")
        self.assertEqual([(x["frame"], x["verdict"]) for x in said],
                         [(x["frame"], x["verdict"]) for x in true])
        taken = [(s, t) for s, t in zip(said, true) if t["verdict"] == "ok"]
        self.assertEqual(len(taken), 5)
        for s, t in taken:
            # The report's own standard deviation is that of the distance, about 0.02 mm.
            for axis in ("grip_x", "grip_y"):
                self.assertLess(abs(float(s[axis]) - float(t[axis])), 4 * float(s["sigma"]), s)
            self.assertLess(abs(float(s["degrees"]) - float(t["degrees"])), 0.05, s)
            self.assertLess(float(s["sigma"]), 0.03, s)

    def test_says_the_same_as_json(self):
        self.run_ends(1)
        self.run_ends(1, report="report.jsonl")
        lines = (self.folder / "report.jsonl").read_text(encoding="utf-8").splitlines()
        for line, row in zip(lines, table(self.folder / "report.csv"), strict=True):
            said = json.loads(line)
            self.assertEqual((str(said["frame"]), said["verdict"], str(said["holes"]), said["reason"]),
                             (row["frame"], row["verdict"], row["holes"], row["reason"]))
            self.assertEqual("grip" in said, row["grip_x"] != "")
            if "grip" in said:
                for value, name in zip([*said["grip"], said["degrees"], said["sigma"], said["worst_error"]],
                                       ("grip_x", "grip_y", "degrees", "sigma", "worst_error")):
                    self.assertEqual(value, float(row[name]))

    def test_takes_no_part_for_dense_clutter(self):
        rng = random.Random(7)
        points = [f"0,{rng.uniform(0, 1600):.2f},{rng.uniform(0, 1200):.2f}" for _ in range(2500)]
        self.run_ends(1, frames=self.write("frames.csv", "\n".join(["frame,x,y", *points, ""])))
        self.assertEqual(table(self.folder / "report.csv")[0]["verdict"], "accident")

    def test_refuses_tables_that_are_not_what_they_should_be(self):
        for text in ("", "x,y\n0,1\n", "frame,x,y\n", "frame,x,y\n0,1\n", "frame,x,y\n0,1,2,3\n",
                     "frame,x,y\n0,1,a\n", "frame,x,y\n0.5,1,2\n", "frame,x,y\n1e300,1,2\n",
                     "frame,x,y\n0,1,\n", "frame,x,y\n0,1,2,\n", "frame,x,y\n0,1 2\n", "frame,x,y\n0,1,2\n\n"):
            self.assertIn("frames.csv", self.run_ends(2, frames=self.write("frames.csv", text)), text)
        self.assertIn("missing.csv", self.run_ends(2, frames=self.folder / "missing.csv"))

    def test_refuses_what_it_cannot_work_with(self):
        damaged = (self.folder / "matcher").read_bytes()[:-5]
        (self.folder / "damaged").write_bytes(damaged)
        self.run_ends(2, matcher=self.folder / "damaged")
        self.run_ends(2, matcher=self.folder / "missing")
        self.run_ends(2, report="report.txt")
        self.run_ends(2, report="missing/report.csv")
        marks = "camera_x,camera_y,robot_x,robot_y\n0,0,0,0\n1,0,1,0\n2,0,2,0\n3,0,3,0\n"
        self.run_ends(2, calibration=self.write("line.csv", marks))
        self.ends(2)
        self.ends(2, "train", DATA / "part.csv")
        self.ends(2, "train", self.write("two.csv", "x,y\n0,0\n1,0\n"), self.folder / "matcher")

    def test_leaves_files_as_they_are_that_it_must_not_replace(self):
        frames = self.write("frames.csv", (DATA / "frames.csv").read_text(encoding="utf-8"))
        marks = self.write("marks.csv", (DATA / "calibration.csv").read_text(encoding="utf-8"))
        (self.folder / "link.csv").symlink_to("frames.csv")
        notes = self.write("notes.txt", "kept\n")
        before = {path: path.read_bytes() for path in (frames, marks, notes)}
        for report in ("frames.csv", "link.csv", "marks.csv"):
            told = self.run_ends(2, frames=frames, calibration=marks, report=report)
            self.assertIn(f"{report}: is read by this run", told)
        self.assertIn("ends in .csv or .jsonl", self.run_ends(2, report="notes.txt"))
        self.assertEqual(before, {path: path.read_bytes() for path in before})

    def test_can_make_its_data_again(self):
        subprocess.run([sys.executable, "-B", PROJECT / "examples/08_alignment_station/make_frames.py",
                        self.folder / "made"], check=True)
        for path in DATA.glob("*.csv"):
            self.assertEqual(path.read_bytes(), (self.folder / "made" / path.name).read_bytes(), path)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
