#!/usr/bin/env python3
"""The checker of the guide's pages accepts what is right and refuses each kind of what is wrong."""
import contextlib
import io
import pathlib
import tempfile
import unittest

import check_pages

SNIPPET = """\
#include <cstdio>

int main() {
    // [greeting]
    const int answer = 42;
    if (answer) {
        std::puts("two\\nlines");
    }
    // [greeting]
    return 0;
}
"""

PAGE = """\
# A page

<!-- snippet: hello.cpp greeting -->
```cpp
const int answer = 42;
if (answer) {
    std::puts("two\\nlines");
}
```

It prints

<!-- output: hello.cpp -->
```text
two
lines
```

The tool:

```console
$ ptmatch greet > greeting.txt
$ cat greeting.txt
hello from the tool
$ ptmatch \\
    greet
hello from the tool
```

<!-- exit: 3 -->
```console
$ test -f greeting.txt
$ ptmatch fail
1 fault
...
that is all
```

<!-- plain -->
```text
any drawing
```
"""

PROGRAM = "#!/bin/sh\nprintf 'two\\nlines\\n'\n"
TOOL = """#!/bin/sh
if [ "$1" = greet ]; then echo hello from the tool; exit 0; fi
echo 1 fault; echo took $$ seconds; echo that is all >&2; exit 3
"""


class World(unittest.TestCase):
    """A project in a scratch folder: a page, a snippet and its program, a tool, data."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="check_pages_")
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name).resolve()
        self.write("docs/guide/snippets/hello.cpp", SNIPPET)
        self.write("data/points.csv", "x,y\n")
        self.write("programs/hello", PROGRAM, 0o755)
        self.write("tool/ptmatch", TOOL, 0o755)
        check_pages.run_program.cache_clear()
        check_pages.anchors.cache_clear()

    def write(self, name, text, mode=0o644):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)

    def check(self, *arguments):
        """The exit code and what was told."""
        told = io.StringIO()
        with contextlib.redirect_stdout(told):
            code = check_pages.main(["--root", str(self.root), *arguments])
        return code, told.getvalue()

    def check_page(self, text, tool=True):
        self.write("docs/guide/01_page.md", text)
        given = ["page", "docs/guide/01_page.md", "--programs", str(self.root / "programs")]
        return self.check(*given, *(["--tool", str(self.root / "tool/ptmatch")] if tool else []))

    def refuses(self, text, line, message):
        code, told = self.check_page(text)
        self.assertEqual(code, 1, told)
        self.assertIn(message, told)
        self.assertTrue(told.startswith(f"docs/guide/01_page.md:{line}: "), told)

    def refuses_with(self, old, new, line, message):
        """The good page with one thing changed."""
        self.assertEqual(PAGE.count(old), 1)
        self.refuses(PAGE.replace(old, new), line, message)


class GoodPages(World):
    def test_accepts_each_kind_of_block(self):
        self.assertEqual(self.check_page(PAGE), (0, ""))

    def test_accepts_a_part_of_the_output(self):
        page = PAGE.replace("<!-- output: hello.cpp -->\n```text\ntwo\n",
                            "<!-- output: hello.cpp region -->\n```text\n")
        self.assertEqual(self.check_page(page), (0, ""))

    def test_accepts_a_block_in_a_list_and_text_behind_it(self):
        page = "- item\n\n  <!-- plain -->\n  ```text\n  drawing\n  ```\n\n    more of the item\n"
        self.assertEqual(self.check_page(page), (0, ""))

    def test_accepts_a_diagram(self):
        self.assertEqual(self.check_page("<!-- plain -->\n```mermaid\ngraph TD\n```\n"), (0, ""))

    def test_accepts_dots_for_no_line_and_for_all(self):
        self.assertEqual(self.check_page("```console\n$ echo a\na\n...\n```\n"), (0, ""))
        self.assertEqual(self.check_page("```console\n$ seq 5\n...\n```\n"), (0, ""))
        self.assertEqual(self.check_page("```console\n$ seq 5\n1\n...\n4\n5\n```\n"), (0, ""))

    def test_gives_commands_a_copy_of_the_data(self):
        page = "```console\n$ cat data/points.csv\nx,y\n$ echo 1 > data/points.csv\n```\n"
        self.assertEqual(self.check_page(page), (0, ""))
        self.assertEqual((self.root / "data/points.csv").read_text(encoding="utf-8"), "x,y\n")

    def test_says_that_commands_were_not_run_without_a_tool(self):
        code, told = self.check_page(PAGE, tool=False)
        self.assertEqual(code, 77)
        self.assertIn("not run", told)

    def test_still_refuses_what_can_be_checked_without_a_tool(self):
        self.assertEqual(self.check_page(PAGE.replace("= 42", "= 43"), tool=False)[0], 1)


class BadBlocks(World):
    def test_refuses_other_kinds(self):
        for kind in ("sh", "json", "", "c++", "cpp "):
            self.refuses(f"```{kind}\n1\n```\n", 1, "needs a comment")

    def test_refuses_code_without_a_snippet(self):
        self.refuses_with("<!-- snippet: hello.cpp greeting -->\n", "", 3, "needs a comment")

    def test_refuses_text_without_a_comment(self):
        self.refuses_with("<!-- output: hello.cpp -->\n", "", 13, "needs a comment")

    def test_refuses_code_called_plain(self):
        self.refuses("<!-- plain -->\n```cpp\nint a;\n```\n", 2, "cannot have the comment 'plain'")

    def test_refuses_a_comment_that_is_not_in_the_line_before(self):
        self.refuses_with("greeting -->\n", "greeting -->\n\n", 3, "no fenced block follows")

    def test_refuses_a_block_without_an_end(self):
        self.refuses("<!-- plain -->\n```text\n1\n", 2, "without an end")

    def test_refuses_code_by_indentation(self):
        self.refuses("Text\n\n    int a;\n", 3, "indented code")

    def test_refuses_code_in_a_quotation_and_in_html(self):
        self.refuses("> ```cpp\n> int a;\n> ```\n", 1, "cannot be checked here")
        self.refuses("<pre>int a;</pre>\n", 1, "cannot be checked here")


class BadCode(World):
    def test_refuses_code_that_differs_and_shows_where(self):
        self.refuses_with("answer = 42;", "answer = 41;", 4, "+const int answer = 41;")

    def test_refuses_another_indentation(self):
        self.refuses_with("    std::puts", "  std::puts", 4, "not as in the snippet")

    def test_refuses_a_part_of_a_region(self):
        self.refuses_with("const int answer = 42;\n", "", 4, "not as in the snippet")

    def test_refuses_unknown_regions_and_files(self):
        self.refuses_with("hello.cpp greeting", "hello.cpp farewell", 4, "has no region 'farewell'")
        self.refuses_with("hello.cpp greeting", "other.cpp greeting", 4, "there is no docs/guide/sn")

    def test_refuses_a_region_that_does_not_end_or_begins_twice(self):
        for text in (SNIPPET.replace("    // [greeting]\n    return", "    return"),
                     SNIPPET + "// [greeting]\n"):
            self.write("docs/guide/snippets/hello.cpp", text)
            code, told = self.check_page(PAGE)
            self.assertEqual(code, 1)
            self.assertIn("marks, not 2", told)

    def test_leaves_marks_of_other_regions_out(self):
        text = SNIPPET.replace("    if (answer) {\n", "    // [all]\n    if (answer) {\n")
        self.write("docs/guide/snippets/hello.cpp", text + "// [all]\n")
        self.assertEqual(self.check_page(PAGE), (0, ""))


class BadOutput(World):
    def test_refuses_output_that_differs(self):
        self.refuses_with("```text\ntwo\nlines\n", "```text\ntwo\nlinen\n", 14, "+linen")

    def test_refuses_a_part_that_does_not_say_so(self):
        self.refuses_with("```text\ntwo\nlines\n", "```text\ntwo\n", 14, "not as printed")

    def test_refuses_an_empty_block(self):
        self.refuses("<!-- output: hello.cpp region -->\n```text\n```\n", 2, "shows no output")

    def test_refuses_lines_that_are_not_together(self):
        page = "<!-- output: hello.cpp region -->\n```text\nlines\ntwo\n```\n"
        self.refuses(page, 2, "do not occur together")

    def test_refuses_a_program_that_fails(self):
        self.write("programs/hello", PROGRAM + "exit 1\n", 0o755)
        self.refuses(PAGE, 14, "ends with 1")

    def test_refuses_a_program_that_is_not_there(self):
        self.refuses_with("output: hello.cpp", "output: other.cpp", 14, "there is no program")


class BadCommands(World):
    def test_refuses_other_output_and_shows_it(self):
        self.refuses_with("$ cat greeting.txt\nhello from the tool\n", "$ cat greeting.txt\nhello\n",
                          23, "-hello from the tool\n+hello")

    def test_refuses_output_that_is_not_shown(self):
        self.refuses("```console\n$ echo a\n```\n", 2, "prints something else")

    def test_refuses_output_that_is_not_printed(self):
        self.refuses("```console\n$ true\na\n```\n", 2, "prints something else")
        self.refuses("```console\n$ seq 3\n1\n...\n4\n```\n", 2, "prints something else")

    def test_refuses_lines_behind_the_output(self):
        self.refuses("```console\n$ seq 3\n1\n2\n```\n", 2, "prints something else")

    def test_refuses_a_command_that_fails(self):
        self.refuses("```console\n$ false\n$ true\n```\n", 2, "ends with 1, not 0")

    def test_refuses_another_exit_code(self):
        self.refuses_with("exit: 3", "exit: 2", 33, "ends with 3, not 2")
        self.refuses("<!-- exit: 1 -->\n```console\n$ true\n```\n", 3, "ends with 0, not 1")

    def test_refuses_a_failure_before_the_last_command(self):
        self.refuses("<!-- exit: 1 -->\n```console\n$ false\n$ false\n```\n", 3, "ends with 1, not 0")

    def test_refuses_a_block_without_a_command(self):
        self.refuses("```console\nhello\n$ true\n```\n", 1, "begins with a command")
        self.refuses("```console\n```\n", 1, "begins with a command")


class Regions(World):
    def check_regions(self, page=PAGE):
        self.write("docs/guide/01_page.md", page)
        return self.check("regions")

    def test_accepts_regions_that_are_shown(self):
        self.assertEqual(self.check_regions(), (0, ""))

    def test_refuses_a_region_that_no_page_shows(self):
        code, told = self.check_regions("# A page\n")
        self.assertEqual(code, 1)
        self.assertEqual(told, "docs/guide/snippets/hello.cpp:4: no page shows region 'greeting'\n")

    def test_refuses_a_snippet_without_a_region(self):
        self.write("docs/guide/snippets/bare.cpp", "int main() {}\n")
        code, told = self.check_regions()
        self.assertEqual(code, 1)
        self.assertIn("bare.cpp:1: has no region", told)

    def test_refuses_an_empty_region(self):
        self.write("docs/guide/snippets/hello.cpp", "// [greeting]\n// [greeting]\n")
        code, told = self.check_regions()
        self.assertEqual(code, 1)
        self.assertIn("hello.cpp:1: region 'greeting' is empty", told)

    def test_refuses_a_guide_without_pages_or_snippets(self):
        self.assertIn("0 pages, 1 snippets", self.check("regions")[1])
        (self.root / "docs/guide/snippets/hello.cpp").unlink()
        code, told = self.check_regions()
        self.assertEqual(code, 1)
        self.assertIn("1 pages, 0 snippets", told)


class Links(World):
    def check_links(self, text):
        self.write("README.md", text)
        self.write("docs/guide/01_page.md", "# First *step*: `a` & b\n\n## Twice\n\n## Twice\n")
        self.write("docs/guide/pictures/a.svg", "")
        return self.check("links")

    def test_accepts_what_is_there(self):
        self.assertEqual(self.check_links("""\
# Top
[a](docs/guide/01_page.md) ![b](docs/guide/pictures/a.svg "title") [c](https://x.example/y)
[over
a line](#top) [d](docs/guide/01_page.md#first-step-a--b) [e](docs/guide/01_page.md#twice-1)
<img src="docs/guide/pictures/a.svg"> `[not a](link)`

[named]: docs
```cpp
array[0](missing)
```
"""), (0, ""))

    def refuses(self, text, line, target):
        code, told = self.check_links(text)
        self.assertEqual(code, 1, text)
        self.assertTrue(told.startswith(f"README.md:{line}: links to '{target}'"), told)

    def test_refuses_what_is_not_there(self):
        self.refuses("\n[a](docs/missing.md)\n", 2, "docs/missing.md")
        self.refuses("![a](docs/guide/pictures/b.svg)\n", 1, "docs/guide/pictures/b.svg")
        self.refuses("[a\nb](missing)\n", 2, "missing")
        self.refuses("[![a](docs/guide/pictures/a.svg)](missing)\n", 1, "missing")
        self.refuses("<img src=\"missing.svg\">\n", 1, "missing.svg")
        self.refuses("[a]: missing\n", 1, "missing")
        self.refuses("`code` [a](missing) `code`\n", 1, "missing")
        self.refuses("[a]()\n", 1, "")

    def test_refuses_headings_that_are_not_there(self):
        self.refuses("[a](docs/guide/01_page.md#second)\n", 1, "docs/guide/01_page.md#second")
        self.refuses("[a](docs/guide/01_page.md#twice-2)\n", 1, "docs/guide/01_page.md#twice-2")
        self.refuses("[a](#top)\n", 1, "#top")

    def test_refuses_what_is_outside_the_project(self):
        self.refuses("[a](../)\n", 1, "../")

    def test_looks_at_every_page(self):
        self.write("docs/guide/02_page.md", "[a](01.md)\n")
        self.write("docs/tool.md", "[a](b.md)\n")
        self.write("examples/README.md", "[a](b.cpp)\n")
        _, told = self.check_links("")
        self.assertEqual(told.count("which is not there"), 3)

    def test_refuses_a_project_without_documents(self):
        self.assertEqual(self.check("links")[0], 1)


if __name__ == "__main__":
    unittest.main()
