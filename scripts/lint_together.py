#!/usr/bin/env python3
"""Runs clang-tidy over several sources at a time, so that the headers they share are read once.

usage: lint_together.py BUILD_DIRECTORY CHECKS SOURCE...

Sources that are compiled alike and whose names do not meet (source_groups.py) are included into one
file, which is checked. Findings in it, or names that meet all the same, make its sources be checked
one by one; what that says is the result. Findings of checks that follow paths through a program are
not to be had this way: they are made in the main file alone.
"""

import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from source_groups import groups_of

MOST_TOGETHER = 10


def flags_of(entry):
    """The words of a compile command without the compiler, the source and the output."""
    words = shlex.split(entry["command"])
    flags = []
    skip = False
    for word in words[1:]:
        if skip or word in ("-o", "-c"):
            skip = word == "-o"
            continue
        if not word.endswith((".cpp", "/c++", "/g++", "/clang++-14")):
            flags.append(word)
    return tuple(flags)


def alike(sources, commands):
    """Lists of sources that can be read as one and are compiled with equal flags."""
    by_flags = {}
    for source in sources:
        by_flags.setdefault(flags_of(commands[source]), []).append(source)
    return [{"flags": flags, "sources": group}
            for flags, those in by_flags.items() for group in groups_of(those, MOST_TOGETHER)]


def tidy(build, checks, source):
    return subprocess.run(["clang-tidy-14", "-p", str(build), "--quiet", "--checks=" + checks,
                           str(source)], capture_output=True, text=True, check=False)


def main():
    build, checks = Path(sys.argv[1]).resolve(), sys.argv[2]
    sources = [Path(name).resolve() for name in sys.argv[3:]]
    entries = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    commands = {Path(entry["directory"], entry["file"]).resolve(): entry for entry in entries}
    missing = [str(source) for source in sources if source not in commands]
    if missing:
        sys.exit("not compiled in this build: " + ", ".join(missing))

    folder = build / "lint" / str(os.getpid())
    folder.mkdir(parents=True)
    groups = alike(sources, commands)
    together = []
    for number, group in enumerate(groups):
        group["file"] = folder / f"{number}.cpp"
        group["file"].write_text("".join(
            f'#include "{s}"  // NOLINT(bugprone-suspicious-include)\n' for s in group["sources"]))
        directory = commands[group["sources"][0]]["directory"]
        command = ["c++", *group["flags"], "-c", str(group["file"])]
        together.append({"directory": directory, "file": str(group["file"]),
                         "command": shlex.join(command)})
    (folder / "compile_commands.json").write_text(json.dumps(together))

    def check(group):
        if len(group["sources"]) > 1 and tidy(folder, checks, group["file"]).returncode == 0:
            return 0, ""
        runs = [tidy(build, checks, source) for source in group["sources"]]
        text = "".join(run.stdout + run.stderr for run in runs if run.returncode != 0)
        if not text and len(runs) > 1:
            text = "checked one by one: " + " ".join(s.name for s in group["sources"]) + "\n"
        return max(run.returncode for run in runs), text

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(check, groups))
    print("".join(text for _, text in results), end="")
    print(f"{len(sources)} sources, {len(groups)} times the headers")
    sys.exit(max(code for code, _ in results))


if __name__ == "__main__":
    main()
