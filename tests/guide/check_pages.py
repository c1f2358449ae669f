#!/usr/bin/env python3
"""Holds the pages of the guide to what the programs and the tool do.

    check_pages.py page docs/guide/NAME.md [--programs DIR] [--tool FILE]...
        Every fenced block of the page is of one of these kinds, each named by a comment in the line
        before it, and holds what it should:
            <!-- snippet: NAME.cpp REGION -->   ```cpp      the lines between the two lines // [REGION] of
                                                            docs/guide/snippets/NAME.cpp
            <!-- output: NAME.cpp -->           ```text     what the program NAME prints
            <!-- output: NAME.cpp region -->    ```text     lines of it, one after the other
            (none), or <!-- exit: N -->         ```console  commands ("$ " before each) and their output
            <!-- plain -->                      ```text or ```mermaid: a drawing, a formula
            (none)                              ```pycon: a session of Python, which the tests of the Python
                                                package hold to what it shows
    check_pages.py regions
        Every region of every snippet is shown by a page.
    check_pages.py links
        Every file, and every heading, that a document of the project links to or shows is there.

Options: --root DIR, the project's folder. Ends with 0, with 1 after telling every fault, and with 77 when
all that could be checked is right but commands could not be run, because there is no tool.

Commands are run by bash, each by its own, in the order of the page and in one scratch folder, which has a
copy of the project's `data`; the tools are on the PATH. A command that ends with a backslash goes on in the
next line. Both streams are compared. In an expected output a line `...` stands for any number of lines.
"""
import argparse
import difflib
import functools
import io
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap
from dataclasses import dataclass, field

GUIDE = "docs/guide"
SNIPPETS = GUIDE + "/snippets"
SECONDS_PER_COMMAND = 300
SKIPPED = 77

FENCE = re.compile(r"^(?P<indent> *)(?P<ticks>`{3,}|~{3,})(?P<info>[^`]*)$")
COMMENT = re.compile(r"^ *<!-- (?P<text>.*?) -->\s*$")
MARKER = re.compile(r"^\s*// \[(?P<name>\w+)\]$")
SNIPPET = re.compile(r"^snippet: (?P<file>\w+)\.cpp (?P<region>\w+)$")
OUTPUT = re.compile(r"^output: (?P<file>\w+)\.cpp(?P<part> \w+)?$")
EXIT = re.compile(r"^exit: (?P<code>\d+)$")


class Faults:
    """What is wrong, told as it is found."""

    def __init__(self, stream=None):
        self.count = 0
        self.stream = stream or sys.stdout

    def tell(self, file, line, message):
        self.count += 1
        print(f"{file}:{line}: {message}", file=self.stream)


@dataclass
class Block:
    """A fenced block of a page."""

    line: int  # of the fence, from 1
    kind: str
    comment: str | None  # of the line before, without <!-- and -->
    lines: list[str] = field(default_factory=list)


def lines_of(path):
    return path.read_text(encoding="utf-8").split("\n")


def difference(expected, actual, names):
    return "\n".join(difflib.unified_diff(expected, actual, *names, lineterm="", n=2))


# ---------------------------------------------------------------------------------- reading pages


def read_blocks(name, lines, faults):
    """The fenced blocks, and the lines of the page with those of the blocks emptied."""
    blocks, prose, block, fence = [], [], None, None
    for number, line in enumerate(lines, 1):
        match = FENCE.match(line)
        if block is None:
            prose.append("" if match else line)
            if match:
                before = COMMENT.match(lines[number - 2]) if number > 1 else None
                block = Block(number, match["info"].strip(), before and before["text"])
                fence = match
            continue
        prose.append("")
        closes = match and not match["info"].strip() and match["ticks"].startswith(fence["ticks"])
        if closes:
            blocks.append(block)
            block = None
        else:
            # What is indented with its fence, in a list, is so on the page only.
            indent = len(fence["indent"])
            block.lines.append(line[indent:] if not line[:indent].strip() else line)
    if block is not None:
        faults.tell(name, block.line, "a fenced block without an end")
    return blocks, prose


def check_comments(name, lines, blocks, faults):
    """A comment for a block that stands before none would check nothing."""
    before = {block.line - 1 for block in blocks}
    inside = {n for block in blocks for n in range(block.line, block.line + len(block.lines) + 2)}
    for number, line in enumerate(lines, 1):
        match = COMMENT.match(line)
        if match and number not in before and number not in inside:
            if re.match(r"(snippet|output|exit|plain)\b", match["text"]):
                faults.tell(name, number, f"no fenced block follows '{match['text']}' in the next line")


def check_other_code(name, prose, faults):
    """Code that is not in a fenced block would be shown without being checked."""
    in_list = False
    before = ""
    for number, line in enumerate(prose, 1):
        indented = line.startswith("    ") or line.startswith("\t")
        if line.strip() and not line.startswith(" "):
            in_list = bool(re.match(r"([-*+]|\d+[.)])\s", line))
        if indented and line.strip() and not before.strip() and not in_list:
            faults.tell(name, number, "indented code cannot be checked: use a fenced block")
        if "```" in line or "~~~" in line or "<pre" in line:
            faults.tell(name, number, "code cannot be checked here: begin its fence in a line of its own")
        before = line if not indented else "    "


# ------------------------------------------------------------------------------------------- code


def read_regions(name, lines, faults):
    """The regions of a snippet: name to (line, lines). Markers inside a region are left out of it."""
    marks = {}
    for number, line in enumerate(lines, 1):
        match = MARKER.match(line)
        if match:
            marks.setdefault(match["name"], []).append(number)
    regions = {}
    for region, numbers in marks.items():
        if len(numbers) != 2:
            faults.tell(name, numbers[0], f"region '{region}' has {len(numbers)} marks, not 2")
            continue
        inner = [x for x in lines[numbers[0] : numbers[1] - 1] if not MARKER.match(x)]
        text = textwrap.dedent("\n".join(inner)).split("\n")
        if not any(text):
            faults.tell(name, numbers[0], f"region '{region}' is empty")
        regions[region] = (numbers[0], text)
    return regions


def check_snippet(root, name, block, match, faults):
    file = f"{SNIPPETS}/{match['file']}.cpp"
    if not (root / file).is_file():
        faults.tell(name, block.line, f"there is no {file}")
        return
    regions = read_regions(file, lines_of(root / file), faults)
    if match["region"] not in regions:
        faults.tell(name, block.line, f"{file} has no region '{match['region']}'")
        return
    text = regions[match["region"]][1]
    if text != block.lines:
        names = (f"{file} [{match['region']}]", f"{name}:{block.line}")
        faults.tell(name, block.line, "not as in the snippet:\n" + difference(text, block.lines, names))


# ----------------------------------------------------------------------------------------- output


@functools.cache
def run_program(program, folder):
    """Exit code and lines of the standard output."""
    ran = subprocess.run(
        [program], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        timeout=SECONDS_PER_COMMAND, check=False)
    text = ran.stdout.decode("utf-8", "replace")
    return ran.returncode, text.removesuffix("\n").split("\n")


def contains(lines, part):
    return any(lines[i : i + len(part)] == part for i in range(len(lines) - len(part) + 1))


def check_output(root, name, block, match, programs, faults):
    program = programs / match["file"]
    if not (root / SNIPPETS / f"{match['file']}.cpp").is_file() or not program.is_file():
        faults.tell(name, block.line, f"there is no program of {SNIPPETS}/{match['file']}.cpp")
        return
    code, printed = run_program(program, root)
    if code != 0:
        faults.tell(name, block.line, f"{match['file']} ends with {code}")
    if not any(block.lines):
        faults.tell(name, block.line, "an empty block shows no output")
    elif match["part"] and contains(printed, block.lines):
        pass
    elif match["part"] or printed != block.lines:
        names = (f"{match['file']} prints", f"{name}:{block.line}")
        what = "these lines do not occur together in the output" if match["part"] else "not as printed"
        faults.tell(name, block.line, f"{what}:\n" + difference(printed, block.lines, names))


# --------------------------------------------------------------------------------------- commands


@dataclass
class Command:
    line: int
    text: str
    expected: list[str] = field(default_factory=list)


def read_commands(block):
    commands = []
    for number, line in enumerate(block.lines, block.line + 1):
        if commands and not commands[-1].expected and commands[-1].text.endswith("\\"):
            commands[-1].text += "\n" + line
        elif line.startswith("$ "):
            commands.append(Command(number, line[2:]))
        elif commands:
            commands[-1].expected.append(line)
        else:
            return []
    return commands


def matches_output(expected, printed):
    """Whether the lines are the expected ones, `...` standing for any of them."""
    # reachable: how many of the printed lines the expected ones so far may have taken.
    reachable = {0}
    for line in expected:
        if line == "...":
            reachable = set(range(min(reachable), len(printed) + 1)) if reachable else set()
        else:
            reachable = {n + 1 for n in reachable if n < len(printed) and printed[n] == line}
    return len(printed) in reachable


class Scratch:
    """A folder with a copy of the data, in which commands find the tools."""

    def __init__(self, root, tools):
        self.root, self.tools = root, tools
        self.folder = None

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="guide_"))
        work = self.folder / "work"
        work.mkdir()
        # A copy: nothing that a page does may change the project's own.
        shutil.copytree(self.root / "data", work / "data")
        (self.folder / "bin").mkdir()
        for tool in self.tools:
            (self.folder / "bin" / tool.name).symlink_to(tool)
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder)

    def run(self, text):
        environment = dict(os.environ, LC_ALL="C.UTF-8", TERM="dumb", HOME=str(self.folder))
        environment["PATH"] = f"{self.folder / 'bin'}:{environment.get('PATH', '')}"
        ran = subprocess.run(
            ["bash", "-c", text], cwd=self.folder / "work", env=environment, check=False,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            timeout=SECONDS_PER_COMMAND)
        output = ran.stdout.decode("utf-8", "replace")
        return ran.returncode, output.removesuffix("\n").split("\n") if output else []


def check_console(name, block, code, scratch, faults):
    """Runs the commands; the last is to end with the code, those before it with 0."""
    commands = read_commands(block)
    if not commands:
        faults.tell(name, block.line, "a console block begins with a command, '$ ...'")
    for command in commands:
        wanted = code if command is commands[-1] else 0
        ended, printed = scratch.run(command.text)
        if ended != wanted:
            faults.tell(name, command.line, f"ends with {ended}, not {wanted}:\n" + "\n".join(printed))
        elif not matches_output(command.expected, printed):
            names = ("printed", f"{name}:{command.line}")
            faults.tell(name, command.line,
                        "prints something else:\n" + difference(printed, command.expected, names))


# ------------------------------------------------------------------------------------------ pages


def check_page(root, page, programs, tools, faults):
    """Checks the page; returns whether its commands were run."""
    name = str(page.relative_to(root))
    lines = lines_of(page)
    blocks, prose = read_blocks(name, lines, faults)
    check_comments(name, lines, blocks, faults)
    check_other_code(name, prose, faults)
    consoles = []
    for block in blocks:
        comment = block.comment or ""
        snippet, output, code = SNIPPET.match(comment), OUTPUT.match(comment), EXIT.match(comment)
        if block.kind == "cpp" and snippet:
            check_snippet(root, name, block, snippet, faults)
        elif block.kind == "text" and output:
            check_output(root, name, block, output, programs, faults)
        elif block.kind == "console":
            consoles.append((block, int(code["code"]) if code else 0))
        elif block.kind == "pycon" and not comment:
            pass
        elif block.kind not in ("text", "mermaid") or comment != "plain":
            faults.tell(name, block.line, f"a block of kind '{block.kind}' "
                        + (f"cannot have the comment '{comment}'" if comment else "needs a comment")
                        + " in the line before it; see tests/guide/check_pages.py")
    if consoles and tools:
        with Scratch(root, tools) as scratch:
            for block, code in consoles:
                check_console(name, block, code, scratch, faults)
    return bool(tools) or not consoles


def check_regions(root, faults):
    """Every region, and so every snippet, is shown somewhere."""
    shown = set()
    pages = sorted((root / GUIDE).glob("*.md"))
    for page in pages:
        for line in lines_of(page):
            comment = COMMENT.match(line)
            match = comment and SNIPPET.match(comment["text"])
            if match:
                shown.add((match["file"], match["region"]))
    snippets = sorted((root / SNIPPETS).glob("*.cpp"))
    if not pages or not snippets:
        faults.tell(GUIDE, 0, f"{len(pages)} pages, {len(snippets)} snippets: nothing to check")
    for snippet in snippets:
        file = str(snippet.relative_to(root))
        regions = read_regions(file, lines_of(snippet), faults)
        if not regions:
            faults.tell(file, 1, "has no region that a page could show")
        for region, (line, _) in regions.items():
            if (snippet.stem, region) not in shown:
                faults.tell(file, line, f"no page shows region '{region}'")


# ------------------------------------------------------------------------------------------ links

# [text](target "title"), also over the end of a line; [name]: target; src="target", href="target"
LINKS = re.compile(
    r"\]\(\s*<?(?P<inline>[^()<>\s]*)>?(?:\s+\"[^\"]*\")?\s*\)"
    r"|^ {0,3}\[[^\]]+\]:\s+<?(?P<named>[^\s<>]+)"
    r"|\b(?:src|href|srcset)=\"(?P<html>[^\"]*)\"", re.M)


def documents(root):
    found = [root / n for n in ("README.md", "CONTRIBUTING.md", "CHANGELOG.md")]
    found = [path for path in found if path.is_file()]
    for folder in ("docs", "examples", "data"):
        found += sorted((root / folder).rglob("*.md"))
    return found


def prose_of(path):
    """The text without code, line by line."""
    _, prose = read_blocks(str(path), lines_of(path), Faults(io.StringIO()))
    text = "\n".join(prose)
    # Code between backticks keeps its line feeds, so that lines can be counted.
    code = r"(`+)(?!`)(?:(?!\n\n).)+?(?<!`)\1(?!`)"
    return re.sub(code, lambda m: re.sub(r"[^\n]", " ", m[0]), text, flags=re.S)


@functools.cache
def anchors(path):
    """The names by which the headings of a page are linked to."""
    names = {}
    _, prose = read_blocks(str(path), lines_of(path), Faults(io.StringIO()))
    for line in prose:
        heading = re.match(r"^#{1,6} +(.*?)(?: +#+)? *$", line)
        explicit = re.search(r"<a (?:id|name)=\"([^\"]+)\"", line)
        if heading:
            text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading[1]).lower()
            slug = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
            seen = names.get(slug, 0)
            names[slug] = seen + 1
            if seen:
                names[f"{slug}-{seen}"] = 1
        if explicit:
            names[explicit[1]] = 1
    return frozenset(names)


def check_link(root, page, target, line, faults):
    name = str(page.relative_to(root))
    if re.match(r"[a-zA-Z][a-zA-Z0-9+.-]*:", target):
        return
    file, _, anchor = target.partition("#")
    path = (page.parent / file).resolve() if file else page
    if not target or not path.exists():
        faults.tell(name, line, f"links to '{target}', which is not there")
    elif not path.is_relative_to(root.resolve()):
        faults.tell(name, line, f"links to '{target}', outside the project")
    elif anchor and path.suffix == ".md" and anchor not in anchors(path):
        faults.tell(name, line, f"links to '{target}', but {path.name} has no such heading")


def check_links(root, faults):
    pages = documents(root)
    if not pages:
        faults.tell(str(root), 0, "has no document")
    for page in pages:
        text = prose_of(page)
        for match in LINKS.finditer(text):
            target = match["inline"] or match["named"] or match["html"] or ""
            check_link(root, page, target, text.count("\n", 0, match.start()) + 1, faults)


# ------------------------------------------------------------------------------------------- main


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).parents[2])
    commands = parser.add_subparsers(dest="command", required=True)
    page = commands.add_parser("page")
    page.add_argument("page", type=pathlib.Path)
    page.add_argument("--programs", type=pathlib.Path, default=pathlib.Path("."))
    page.add_argument("--tool", type=pathlib.Path, action="append", default=[])
    commands.add_parser("regions")
    commands.add_parser("links")
    given = parser.parse_args(arguments)

    root = given.root.resolve()
    faults = Faults()
    complete = True
    if given.command == "page":
        complete = check_page(root, (root / given.page).resolve(), given.programs.resolve(),
                              [tool.resolve() for tool in given.tool], faults)
    elif given.command == "regions":
        check_regions(root, faults)
    else:
        check_links(root, faults)
    if not faults.count and not complete:
        print("the commands of this page were not run: there is no tool")
    return 1 if faults.count else 0 if complete else SKIPPED


if __name__ == "__main__":
    sys.exit(main())
