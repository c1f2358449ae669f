#!/usr/bin/env python3
"""Seeds faults into a copy of the library, one at a time, and says which of them the tests catch.

    scripts/seed_faults.py list                   the faults that would be tried, in their order
    scripts/seed_faults.py prepare SCRATCH        copies the project, builds it, times every test
    scripts/seed_faults.py run SCRATCH            tries the faults; each verdict is appended to
                                                  SCRATCH/verdicts.jsonl, and a run that was stopped goes on
                                                  (--only 12,40: these; of another seed: verdicts_SEED.jsonl)
    scripts/seed_faults.py again SCRATCH          takes the tests anew from the project, and tries the survivors
                                                  once more (--only 12,40: these)
    scripts/seed_faults.py report SCRATCH         figures for each kind, and the survivors

Options: --count N faults that count (205), --seed N (1), --sources: draw in .cpp files alone, --cases N random cases
of each kind in the tests that compare with a reference (30), --jobs N for what is built at the start (1), --quick:
leave out tests of more than a fifth of a second (of a second, of those that mirror the file); what they do not catch
stays open, for a later run without that option. A fault that another seed has tried in the same folder is not tried
again.

Kinds: strict (< for <=), flip (< for >, == for !=), constant (one more or less), arithmetic (+ for -), logical
(&& for ||), negation (of a condition, or one left out), statement (left out), arguments (two neighbours swapped),
minmax (min for max), index (the next one). The places are drawn with the seed: each source of src and each header
with code gets as many as it has lines where something can be seeded, headers half as many, since trying one there
takes minutes. A fault that does not compile, or compiles to the same bytes, is replaced by the next of its file.

A fault is tried by compiling its source and linking the library anew, as a shared library with all of its names
visible, which the test executables load; a header, with all of the library that includes it, and before that the
tests that mirror it, each as an executable of its own. Run are, until one fails: the tests that mirror the file,
all quick tests, the slow ones. A crash and a run that computes for three times as long as it should (20 s at least)
are failures too. Tests of the tool, the guide, the packages and the Python package are not run.
"""

import argparse
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from collections import Counter, defaultdict
from dataclasses import dataclass
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
EXECUTABLES = {
    "foundation_tests": "foundation",
    "estimation_tests": "ptmatch",
    "addition_tests": "ptmatch",
    "grid_tests": "ptmatch",
    "ptmatch_tests": "ptmatch",
    "reference_tests": "reference",
}
#: Not run on every machine, so that a fault in them might survive for that reason alone.
LEFT_OUT = {"vote_kernels_avx512.cpp"}
QUICK_SECONDS = 1.0
VERY_QUICK_SECONDS = 0.2
LEAST_TIMEOUT = 20
MOST_MEMORY = 6 << 30
#: How a program ends that lacks a name of the library.
NOT_FOUND = 127

HEADERS = ("algorithm", "array", "bit", "cmath", "cstddef", "cstdint", "functional", "limits", "map", "memory", "mutex",
           "numbers", "numeric", "optional", "random", "span", "sstream", "stdexcept", "string", "string_view",
           "tuple", "type_traits", "unordered_map", "utility", "vector")
KINDS = ("strict", "flip", "constant", "arithmetic", "logical", "negation", "statement", "arguments",
         "minmax", "index")
STRICT = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
FLIPPED = {"<": ">", "<=": ">=", ">": "<", ">=": "<=", "==": "!=", "!=": "=="}
OTHER = {"+": "-", "-": "+", "+=": "-=", "-=": "+=", "&&": "||", "||": "&&", "min": "max", "max": "min"}
DECLARATION = re.compile(r"(?:const )?[\w:]+(?:<.*>)?[&*]* \w+(?: = .*)?$", re.S)
NO_CALLS = {"if", "for", "while", "switch", "return", "catch", "sizeof", "decltype", "noexcept", "static_assert",
            "alignas", "defined", "requires"}
#: Calls whose arguments can change places: that would not be a fault.
SYMMETRIC = {"min", "max"}


@dataclass(frozen=True)
class Site:
    """A place where `kind` is seeded by putting `text` for the characters from `start` to `end`."""

    kind: str
    start: int
    end: int
    text: str


# --- Where a fault can be ------------------------------------------------------------------------


def blank(match):
    return re.sub(r"[^\n]", " ", match.group())


def code_only(text):
    """The text with spaces for comments, literals of text and lines of the preprocessor."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", blank, text, flags=re.S)
    text = re.sub(r'"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.[^\']*|[^\'\\])\'', blank, text)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", blank, text, flags=re.M)


def closing(code, opening):
    """The position of the bracket that closes the one at `opening`, or -1."""
    depth = 0
    for position in range(opening, len(code)):
        if code[position] in "([{":
            depth += 1
        elif code[position] in ")]}":
            depth -= 1
            if depth == 0:
                return position
    return -1


def parts_between(code, start, end):
    """The parts between commas outside of brackets, as ranges without the space around them."""
    ranges, depth, begin = [], 0, start
    for position in range(start, end + 1):
        if position == end or (code[position] == "," and depth == 0):
            part = code[begin:position]
            lead = len(part) - len(part.lstrip())
            ranges.append((begin + lead, begin + len(part.rstrip())))
            begin = position + 1
        elif code[position] in "([{":
            depth += 1
        elif code[position] in ")]}":
            depth -= 1
    return ranges


def operators(code, pattern):
    return re.finditer(rf"(?<=\s)(?:{pattern})(?=\s)", code)


def comparison_sites(code):
    for match in operators(code, "<=|>=|==|!=|<|>"):
        if match.group() in STRICT:
            yield Site("strict", *match.span(), STRICT[match.group()])
        yield Site("flip", *match.span(), FLIPPED[match.group()])


def swapped_word_sites(code):
    for match in operators(code, r"\+=|-=|\+|-"):
        yield Site("arithmetic", *match.span(), OTHER[match.group()])
    for match in operators(code, r"&&|\|\|"):
        yield Site("logical", *match.span(), OTHER[match.group()])
    for match in re.finditer(r"(?<=std::)(?:min|max)(?=\(|_element)", code):
        yield Site("minmax", *match.span(), OTHER[match.group()])


def constant_sites(code, chance):
    for match in re.finditer(r"(?<![\w.'<\[])(\d+)(\.0)?(?![\w.'>\]])", code):
        value = int(match.group(1))
        other = value + 1 if value == 0 else value + chance.choice((-1, 1))
        yield Site("constant", *match.span(1), str(other))


def negation_sites(code):
    for match in re.finditer(r"!(?=[\w(])", code):
        yield Site("negation", *match.span(), "")
    for match in re.finditer(r"\bif \(", code):
        end = closing(code, match.end() - 1)
        condition = code[match.end():end]
        if end >= 0 and ";" not in condition and " = " not in condition:
            yield Site("negation", match.end(), end, f"!({condition})")


def statement_sites(code):
    target = r"\*?[\w.:>\[\]()-]+"
    effect = (rf"{target} (?:[-+*/|&^]|<<|>>)?= [^;{{}}]+|[\w.:>-]+\([^;{{}}]*\)|continue|break|return|"
              r"(?:\+\+|--)[^;{}]+")
    guarded = rf"if \([^\n;{{}}]*\) (?P<guarded>(?:{effect}|(?:throw|return) [^;{{}}]+);)"
    pattern = rf"^[ ]*(?:{guarded}|(?P<plain>(?:{effect}|throw [^;{{}}]+);))$"
    for match in re.finditer(pattern, code, re.M):
        name = "guarded" if match.group("guarded") else "plain"
        statement = match.group(name)
        if statement.split("(")[0].strip() not in NO_CALLS and not statement.startswith("using"):
            yield Site("statement", *match.span(name), ";" + "\n" * statement.count("\n"))


def argument_sites(text, code):
    for match in re.finditer(r"\b(\w+)(?:<[\w:, ]+>)?[({]", code):
        end = closing(code, match.end() - 1)
        if match.group(1) in NO_CALLS | SYMMETRIC or end < 0 or ";" in code[match.end():end]:
            continue
        ranges = parts_between(code, match.end(), end)
        for (a, b), (c, d) in zip(ranges, ranges[1:]):
            first, second = text[a:b], text[c:d]
            if DECLARATION.match(first) and DECLARATION.match(second):
                continue
            # A comma inside of template arguments parts nothing.
            if any(part.count("<") != part.count(">") for part in (first, second)) and "->" not in first + second:
                continue
            if first != second and first and second:
                yield Site("arguments", a, d, second + text[b:c] + first)


def index_sites(code):
    for match in re.finditer(r"(?<=[\w\])])\[([^\[\]\n]+)\]", code):
        index = match.group(1)
        other = f"{index} + 1" if not index.isdigit() else "1" if index == "0" else str(int(index) - 1)
        yield Site("index", *match.span(1), other)


def sites_of(text, chance):
    code = code_only(text)
    found = [*comparison_sites(code), *swapped_word_sites(code), *constant_sites(code, chance),
             *negation_sites(code), *statement_sites(code), *argument_sites(text, code), *index_sites(code)]
    return sorted(set(found), key=lambda site: (site.start, site.end, site.kind, site.text))


# --- Which faults are tried ----------------------------------------------------------------------


def queue_of(name, text, seed):
    """All faults of a file in the order in which they are tried: the kinds that it has by turns, at random."""
    chance = random.Random(f"{seed} {name}")
    by_kind = defaultdict(list)
    for site in sites_of(text, chance):
        by_kind[site.kind].append(site)
    for sites in by_kind.values():
        chance.shuffle(sites)
    queue = []
    while by_kind:
        kind = chance.choice([kind for kind in KINDS if kind in by_kind])
        queue.append(by_kind[kind].pop())
        if not by_kind[kind]:
            del by_kind[kind]
    return queue


def seeded_files(root):
    names = [*root.glob("src/**/*.cpp"), *root.glob("src/**/*.h"), *root.glob("include/**/*.h")]
    return sorted(str(name.relative_to(root)) for name in names if name.name not in LEFT_OUT)


def drawn(root, count, seed, sources_alone=False):
    """The file of each of the faults that count, and the queue of each file."""
    queues, weights = {}, {}
    for name in seeded_files(root):
        text = (root / name).read_text(encoding="utf-8")
        queues[name] = queue_of(name, text, seed)
        lines = len({text.count("\n", 0, site.start) for site in queues[name]})
        weights[name] = lines if name.endswith(".cpp") else 0 if sources_alone else lines / 2
    step = sum(weights.values()) / count
    position = random.Random(seed).random() * step
    slots, passed = [], 0.0
    for name, weight in weights.items():
        passed += weight
        while position < passed and len(slots) < count:
            slots.append(name)
            position += step
    # What was tried when a run is stopped shall be spread as well.
    random.Random(seed).shuffle(slots)
    return slots, queues


# --- The copy -----------------------------------------------------------------------------------


class Scratch:
    """A copy of the project with a build of its own, and what was found out in it."""

    def __init__(self, folder, cases, seed, is_quick=False):
        self.root = Path(folder).resolve()
        self.tree = self.root / "tree"
        self.build = self.root / "build"
        self.work = self.root / "work"
        self.verdicts = self.root / ("verdicts.jsonl" if seed == 1 else f"verdicts_{seed}.jsonl")
        self.cases = cases
        self.is_quick = is_quick

    def copy(self, below=""):
        """Files of the project that are new or not the same."""
        listed = subprocess.run(["git", "ls-files", "-z", below or "."], cwd=PROJECT, check=True, capture_output=True)
        for name in listed.stdout.decode().split("\0"):
            source, target = PROJECT / name, self.tree / name
            if not name or not source.is_file():
                continue
            if target.is_file() and target.read_bytes() == source.read_bytes():
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)
        collection = PROJECT.parent / "shared"
        if collection.exists() and not (self.root / "shared").exists():
            (self.root / "shared").symlink_to(collection.resolve())

    def show_all_names(self):
        lists = self.tree / "src/CMakeLists.txt"
        text = lists.read_text(encoding="utf-8")
        shown = text.replace("VISIBILITY_PRESET hidden", "VISIBILITY_PRESET default")
        shown = shown.replace("INLINES_HIDDEN ON", "INLINES_HIDDEN OFF")
        if shown != text:
            lists.write_text(shown, encoding="utf-8")

    def compile_all(self, jobs):
        self.work.mkdir(parents=True, exist_ok=True)
        subprocess.run(
            ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG -fno-semantic-interposition", "-DPTMATCH_BUILD_TOOL=OFF",
             "-DPTMATCH_BUILD_EXAMPLES=OFF", "-DPTMATCH_INSTALL=OFF", "-DPTMATCH_COMPILE_TOGETHER=tests",
             "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"],
            check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["ninja", "-C", self.build, f"-j{jobs}", *EXECUTABLES], check=True)

    def load(self):
        """What the build knows: commands, which object needs which file, how executables are linked."""
        commands = json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8"))
        self.commands = {}
        for entry in commands:
            words = shlex.split(entry["command"])
            self.commands[words[words.index("-o") + 1]] = words
        listed = subprocess.run(["ninja", "-C", self.build, "-t", "deps"], check=True, capture_output=True, text=True)
        self.users = defaultdict(set)
        for line in listed.stdout.splitlines():
            if line and not line.startswith(" "):
                current = line.split(":")[0]
            elif line.strip():
                self.users[os.path.normpath(self.build / line.strip())].add(current)
        self.objects = sorted(name for name in self.commands if name.startswith("src/"))
        times = self.root / "times.json"
        self.times = json.loads(times.read_text(encoding="utf-8")) if times.is_file() else {}

    # -- linking --

    def link_library(self, changed):
        """The shared library, with objects of `work` for those that a fault changed."""
        objects = [self.work / name if name in changed else self.build / name for name in self.objects]
        # Code in headers is in the tests as well: the library has to keep to its own.
        flags = ["-shared", "-fuse-ld=gold", "-Wl,-Bsymbolic-functions,-z,defs,-soname,libseeded.so"]
        command = ["g++", *flags, "-o", self.work / "libseeded.so"]
        subprocess.run([*command, *objects], check=True, stderr=subprocess.DEVNULL)

    def link_words(self, objects, output):
        reference = [self.build / "tests/reference/libptmatch_reference.a"]
        return ["g++", "-o", output, *objects, *reference, self.work / "libseeded.so",
                f"-Wl,-rpath,{self.work}", "-lgtest_main", "-lgmock", "-lgtest"]

    def link_executables(self):
        meter = self.build / "tests/support/CMakeFiles/ptmatch_test_support.dir/allocation_meter.cpp.o"
        for name, folder in EXECUTABLES.items():
            start = f"tests/{folder}/CMakeFiles/{name}.dir/"
            objects = [self.build / key for key in self.commands if key.startswith(start)]
            objects = [path for path in objects if ".hxx" not in path.name]
            subprocess.run(self.link_words([meter, *objects], self.work / name), check=True)

    def compile_test(self, source, output):
        """A source of the tests by itself, which in the build is compiled together with others."""
        pattern = "tests/ptmatch/CMakeFiles/grid_tests.dir/Unity/unity_grid_tests_0_cxx.cxx.o"
        words = list(self.commands[pattern])
        words[words.index("-o") + 1] = str(output)
        words[words.index("-c") + 1] = str(source)
        return subprocess.run(words, cwd=self.build, capture_output=True, check=False).returncode == 0

    def make_support(self):
        """What tests share, for those that become an executable of their own."""
        support = []
        for source in sorted((self.tree / "tests/ptmatch").glob("*.cpp")):
            if not source.stem.endswith("_test"):
                support.append(self.work / f"{source.stem}.o")
                if not self.compile_test(source, support[-1]):
                    raise SystemExit(f"{source} does not compile")
        archive = self.work / "libsupport.a"
        archive.unlink(missing_ok=True)
        subprocess.run(["ar", "rc", archive, *support], check=True)

    # -- running --

    def call(self, executable, filter_text, timeout, extra=()):
        """Whether tests pass: "" or what failed."""
        environment = {**os.environ, "PTMATCH_DIFFERENTIAL_CASES": str(self.cases)}
        words = [self.work / executable, f"--gtest_filter={filter_text}", "--gtest_brief=1", *extra]
        with open(self.work / "output.txt", "w+b") as output:
            # The clock may run much faster than the test where others use the machine.
            try:
                ended = subprocess.run(words, stdout=output, stderr=subprocess.STDOUT, timeout=20 * timeout,
                                       check=False, env=environment, cwd=self.work,
                                       preexec_fn=lambda: limit(int(timeout) + 1))
            except subprocess.TimeoutExpired:
                return f"{executable} takes too long"
            if ended.returncode == 0:
                return ""
            if ended.returncode == -signal.SIGXCPU:
                return f"{executable} takes too long"
            output.seek(0)
            text = output.read().decode(errors="replace")
        if ended.returncode == NOT_FOUND and "symbol lookup error" in text:
            raise LookupError(text)
        failed = re.search(r"\[  FAILED  \] ([\w/.]+)", text)
        return failed.group(1) if failed else f"{executable} ends with {ended.returncode}"

    def time_tests(self):
        times = {}
        for name in EXECUTABLES:
            report = self.work / "times.json"
            failed = self.call(name, "*", 3600, [f"--gtest_output=json:{report}"])
            if failed:
                print(f"{name}: {failed} fails without a fault, and is left out")
            suites = json.loads(report.read_text(encoding="utf-8"))["testsuites"]
            times[name] = {
                f"{suite['name']}.{case['name']}": [Path(case["file"]).stem, float(case["time"].rstrip("s"))]
                for suite in suites for case in suite["testsuite"] if not case.get("failures")}
        (self.root / "times.json").write_text(json.dumps(times), encoding="utf-8")
        self.times = times

    def stages(self, name):
        """Executables, tests and how long these should take, likely ones first."""
        mirrors = {source.stem for source in self.mirroring_tests(name)}
        order = sorted(self.times, key=lambda key: -sum(file in mirrors for file, _ in self.times[key].values()))
        if name.split("/")[1] == "foundation":
            order.sort(key=lambda key: key != "foundation_tests")
        elif "/gridcorr/" in name or "/ptgdmap/" in name:
            order.sort(key=lambda key: key != "grid_tests")
        endless = float("inf")
        groups = [(True, 0, VERY_QUICK_SECONDS), (True, VERY_QUICK_SECONDS, QUICK_SECONDS),
                  (False, 0, VERY_QUICK_SECONDS)]
        if not self.is_quick:
            groups += [(True, QUICK_SECONDS, endless), (False, VERY_QUICK_SECONDS, QUICK_SECONDS),
                       (False, QUICK_SECONDS, endless)]
        for mirrors_it, least, below in groups:
            for executable in order:
                yield executable, {test for test, (file, seconds) in self.times[executable].items()
                                   if (file in mirrors) == mirrors_it and least <= seconds < below}

    def find_failure(self, name):
        for executable, tests in self.stages(name):
            if not tests:
                continue
            expected = sum(self.times[executable][test][1] for test in tests)
            failed = self.call(executable, ":".join(sorted(tests)), max(LEAST_TIMEOUT, 3 * expected),
                               ["--gtest_fail_fast"])
            if failed:
                return failed
        return ""

    def mirroring_tests(self, name):
        stem = Path(name).stem
        folder = self.tree / "tests" / ("foundation" if name.split("/")[1] == "foundation" else "ptmatch")
        sources = [source for source in sorted(folder.glob("*_test.cpp")) if source.stem.startswith(stem)]
        if not sources:
            header = re.compile(rf'^#include "\w+/(?:\w+/)?{stem}\.h"', re.M)
            sources = [source for source in sorted(folder.glob("*_test.cpp"))
                       if header.search(source.read_text(encoding="utf-8"))]
        return sources[:4]

    # -- a fault --

    def compile_into(self, name, output):
        words = list(self.commands[name])
        output.parent.mkdir(parents=True, exist_ok=True)
        words[words.index("-o") + 1] = str(output)
        words += ["-w", "-include", str(self.root / "precompiled.h")]
        return subprocess.run(words, cwd=self.build, capture_output=True, check=False).returncode == 0

    def precompile(self):
        """The headers of the standard library, which are most of what there is to compile."""
        words = self.commands[next(name for name in self.objects if name.endswith("/exception.cpp.o"))]
        words = words[:words.index("-o")] + ["-w", "-x", "c++-header", "precompiled.h"]
        text = "".join(f"#include <{header}>\n" for header in HEADERS)
        (self.root / "precompiled.h").write_text(text, encoding="utf-8")
        subprocess.run(words, cwd=self.root, check=True)

    def is_changed(self, objects):
        """Whether the objects in `work` are not those of the sources as they are now."""
        for name in objects:
            clean = self.work / "clean" / name
            if not clean.is_file():
                self.compile_into(name, clean)
            if clean.read_bytes() != (self.work / name).read_bytes():
                return True
        return False

    def try_own_tests(self, name):
        """Of a header: its tests, compiled with the fault. Whether all compile, whether any changes, what fails."""
        meter = self.build / "tests/support/CMakeFiles/ptmatch_test_support.dir/allocation_meter.cpp.o"
        differs = False
        for source in self.mirroring_tests(name):
            clean = self.work / "clean" / f"{source.stem}.o"
            if not clean.is_file():
                continue
            compiled = self.work / f"{source.stem}.o"
            if not self.compile_test(source, compiled):
                return False, differs, ""
            if compiled.read_bytes() == clean.read_bytes():
                continue
            differs = True
            words = self.link_words([meter, compiled, self.work / "libsupport.a"], self.work / "own_tests")
            if subprocess.run(words, capture_output=True, check=False).returncode:
                continue
            tests = {test: seconds for of_executable in self.times.values()
                     for test, (file, seconds) in of_executable.items() if file == source.stem and seconds < 5}
            if tests:
                timeout = max(LEAST_TIMEOUT, 3 * sum(tests.values()))
                failed = self.call("own_tests", ":".join(sorted(tests)), timeout, ["--gtest_fail_fast"])
                if failed:
                    return True, differs, failed
        return True, differs, ""

    def compile_clean(self, name):
        for source in self.mirroring_tests(name):
            clean = self.work / "clean" / f"{source.stem}.o"
            clean.parent.mkdir(exist_ok=True)
            if not clean.is_file() or clean.stat().st_mtime < source.stat().st_mtime:
                self.compile_test(source, clean)

    def verdict(self, name, site):
        """Seeds the fault, and gives "caught", "survived", "open" or "discarded", and by what or why."""
        survived = "open" if self.is_quick else "survived"
        path = self.tree / name
        text = path.read_text(encoding="utf-8")
        stamp = path.stat()
        is_header = name.endswith(".h")
        if is_header:
            self.compile_clean(name)
        path.write_text(text[:site.start] + site.text + text[site.end:], encoding="utf-8")
        try:
            differs = False
            if is_header:
                self.link_library([])
                compiles, differs, failed = self.try_own_tests(name)
                if not compiles:
                    return "discarded", "does not compile"
                if failed:
                    return "caught", failed
            objects = sorted(self.users[str(path)] & set(self.objects))
            if not all(self.compile_into(key, self.work / key) for key in objects):
                return "discarded", "does not compile"
        finally:
            path.write_text(text, encoding="utf-8")
            os.utime(path, ns=(stamp.st_atime_ns, stamp.st_mtime_ns))
        try:
            self.link_library(objects)
            failed = self.find_failure(name)
        except (subprocess.CalledProcessError, LookupError):
            return "discarded", "does not link"
        if failed:
            return "caught", failed
        return (survived, "") if differs or self.is_changed(objects) else ("discarded", "is the same")

    def past(self):
        return entries_of(self.verdicts) if self.verdicts.is_file() else []

    def past_of_all_seeds(self):
        return [entry for log in sorted(self.root.glob("verdicts*.jsonl")) for entry in entries_of(log)]

    def note(self, entry):
        with open(self.verdicts, "a", encoding="utf-8") as log:
            log.write(json.dumps(entry) + "\n")


def entries_of(log):
    return [json.loads(line) for line in log.read_text(encoding="utf-8").splitlines()]


def limit(seconds):
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 5))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


# --- Commands -----------------------------------------------------------------------------------


def described(name, text, site):
    """Of a fault: the line as it was and as it is, for people."""
    seeded = text[:site.start] + site.text + text[site.end:]
    number = text.count("\n", 0, site.start)
    last = text.count("\n", 0, site.end)
    before = " ".join(" ".join(text.split("\n")[number:last + 1]).split())
    after = " ".join(" ".join(seeded.split("\n")[number:last + 1]).split())
    return {"file": name, "line": number + 1, "kind": site.kind, "before": before, "after": after}


def tried(scratch, number, name, text, site):
    start = time.monotonic()
    verdict, by = scratch.verdict(name, site)
    entry = {"number": number, **described(name, text, site), "verdict": verdict, "by": by,
             "start": site.start, "end": site.end, "text": site.text, "seconds": round(time.monotonic() - start, 1)}
    scratch.note(entry)
    print(f"{number:4} {verdict:9} {name}:{entry['line']} {site.kind}  {by}", flush=True)
    return verdict


def tried_again(scratch, number, entry):
    text = (scratch.tree / entry["file"]).read_text(encoding="utf-8")
    site = Site(entry["kind"], entry["start"], entry["end"], entry["text"])
    return tried(scratch, number, entry["file"], text, site)


def run(scratch, count, seed, sources_alone, only):
    scratch.load()
    slots, queues = drawn(scratch.tree, count, seed, sources_alone)
    past = scratch.past()
    done = set(latest(past))
    still_open = {} if scratch.is_quick else {
        entry["number"]: entry for entry in past if entry["verdict"] == "open" and entry["number"] not in done}
    done |= {entry["number"] for entry in past if entry["verdict"] == "open"}
    used = {(entry["file"], entry["start"], entry["end"], entry["text"], entry["kind"])
            for entry in scratch.past_of_all_seeds()}
    for name, queue in queues.items():
        queues[name] = [site for site in queue if (name, site.start, site.end, site.text, site.kind) not in used]
    for number, entry in sorted(still_open.items()):
        if not only or number in only:
            tried_again(scratch, number, entry)
    for number, name in enumerate(slots):
        if number in done or (only and number not in only):
            continue
        text = (scratch.tree / name).read_text(encoding="utf-8")
        while queues[name]:
            if tried(scratch, number, name, text, queues[name].pop(0)) != "discarded":
                break


def latest(past):
    """The last verdict on each fault that counts."""
    return {entry["number"]: entry for entry in past if entry["verdict"] in ("caught", "survived")}


def again(scratch, only):
    scratch.copy("tests")
    scratch.compile_all(1)
    scratch.load()
    scratch.link_library([])
    scratch.make_support()
    scratch.link_executables()
    scratch.time_tests()
    for number, entry in sorted(latest(scratch.past()).items()):
        if number in only if only else entry["verdict"] == "survived":
            tried_again(scratch, number, entry)


def report(scratch):
    past = scratch.past()
    first = {}
    for entry in past:
        if entry["verdict"] in ("caught", "survived"):
            first.setdefault(entry["number"], entry)
    last = latest(past)
    print(f"{'kind':12}{'seeded':>8}{'caught at first':>17}{'caught now':>12}")
    for kind in (*KINDS, "all"):
        numbers = [number for number, entry in last.items() if kind in ("all", entry["kind"])]
        at_first = sum(first[number]["verdict"] == "caught" for number in numbers)
        now = sum(last[number]["verdict"] == "caught" for number in numbers)
        print(f"{kind:12}{len(numbers):8}{at_first:17}{now:12}")
    why = Counter(entry["by"] for entry in past if entry["verdict"] == "discarded")
    print("discarded and replaced: " + (", ".join(f"{n} {reason}" for reason, n in sorted(why.items())) or "none"))
    hours = sum(entry["seconds"] for entry in past) / 3600
    print(f"{len({entry['file'] for entry in last.values()})} files, {hours:.1f} hours")
    for number, entry in sorted(last.items()):
        if entry["verdict"] == "survived":
            print(f"\n{number} {entry['file']}:{entry['line']} {entry['kind']}\n"
                  f"    {entry['before']}\n    {entry['after']}")


def show(count, seed, sources_alone):
    slots, queues = drawn(PROJECT, count, seed, sources_alone)
    kinds = Counter()
    for number, name in enumerate(slots):
        site = queues[name].pop(0)
        kinds[site.kind] += 1
        entry = described(name, (PROJECT / name).read_text(encoding="utf-8"), site)
        print(f"{number} {name}:{entry['line']} {site.kind}\n    {entry['before']}\n    {entry['after']}")
    print(dict(kinds), f"{len(set(slots))} of {len(queues)} files", f"{sum(map(len, queues.values()))} left")


def main():
    # Stopped in whatever way, the copy is to hold no fault afterwards.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("command", choices=("list", "prepare", "run", "again", "report"))
    parser.add_argument("scratch", nargs="?")
    parser.add_argument("--count", type=int, default=205)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--sources", action="store_true", help="draw in .cpp files alone")
    parser.add_argument("--cases", type=int, default=30)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--only", default="", help="numbers, with commas")
    options = parser.parse_args()
    only = {int(number) for number in options.only.split(",") if number}
    if options.command == "list":
        return show(options.count, options.seed, options.sources)
    if options.scratch is None:
        parser.error("which scratch folder?")
    scratch = Scratch(options.scratch, options.cases, options.seed, options.quick)
    if options.command == "prepare":
        scratch.copy()
        scratch.show_all_names()
        scratch.compile_all(options.jobs)
        scratch.load()
        scratch.precompile()
        scratch.link_library([])
        scratch.make_support()
        scratch.link_executables()
        scratch.time_tests()
    elif options.command == "run":
        run(scratch, options.count, options.seed, options.sources, only)
    elif options.command == "again":
        again(scratch, only)
    else:
        report(scratch)
    return None


if __name__ == "__main__":
    sys.exit(main())
