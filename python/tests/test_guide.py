"""The page of the guide on Python shows what happens."""

import doctest
import re

import pytest

BLOCK = re.compile(r"^```pycon\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def test_the_page_shows_what_happens(root, tmp_path, monkeypatch):
    page = (root / "docs" / "guide" / "python.md").read_text(encoding="utf-8")
    blocks = [(page.count("\n", 0, match.start(1)), match[1]) for match in BLOCK.finditer(page)]
    assert len(blocks) > 5
    (tmp_path / "data").symlink_to(root / "data")
    monkeypatch.chdir(tmp_path)
    parser, names, report = doctest.DocTestParser(), {}, []
    for line, text in blocks:
        test = parser.get_doctest(text, names, f"python.md, line {line + 1}", "python.md", line)
        assert test.examples
        test.globs = names  # one session for the page
        runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS, verbose=False)
        runner.run(test, out=report.append, clear_globs=False)
    if report:
        pytest.fail("".join(report), pytrace=False)
