"""Writes a file that is made from another one, or checks that it is up to date."""

import pathlib
from collections.abc import Sequence


def write_or_check(path: str, text: str, options: Sequence[str]) -> int:
    """Writes `text` to `path`; with the option --check compares instead. Returns the exit status: 1 if
    the file is out of date."""
    file = pathlib.Path(path)
    if not options:
        file.write_text(text, encoding="utf-8", newline="\n")
        return 0
    assert list(options) == ["--check"], options
    if file.exists() and file.read_text(encoding="utf-8") == text:
        return 0
    print(f"{path} is out of date; run ./dev generate")
    return 1
