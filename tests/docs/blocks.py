"""The blocks of code of the documentation, and what is done with those of each page and language.

Tests take their pages from here: a block is either run, compared or parsed by the test that its treatment names, or it
has the reason why not. blocks_test.py fails for a block of which nothing is known.
"""

import pathlib
import re
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parents[2]
GUIDE = "docs/tool.md"
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
# Code that is set off by blanks alone has no language.
INDENTED = re.compile(r"\n\n    \S")

# What a test does.
SCRIPT_HOST = "run under Wine by tests/docs/examples_test.py"
TASKS = "run under Wine, and compared with its output, by tests/hosts/tasks_test.py"
SHELL = "run, and compared with its output, by tests/docs/shell_test.py"
CARRIED = "converted there and back by tests/docs/shell_test.py"
SHOWN = "the output of the block before it"
PERMISSIONS = "compared with each other, and run under Wine, by tests/install/shared_folder_test.py"
GRAMMAR = "every name is defined, checked by tests/docs/blocks_test.py"
BYTES = "the bytes are those of the text before them, checked by tests/docs/blocks_test.py"
COMMANDS = "every ./dev command exists, checked by tests/docs/blocks_test.py; they take minutes, and .ci/run runs test"
INSTALLERS = "the packages are those that are made, checked by tests/docs/blocks_test.py; tests/install runs msiexec " \
    "and regsvr32 under Wine"
LINUX_PACKAGES = "both packages are installed in folders of their own by tests/install/linux_test.py"
POWERSHELL = "parsed by ./dev clients: PowerShell runs nowhere here"
FORM = "no code: a pattern, or a text that a test of the component compares"

# By page and language.
TREATMENT = {
    ("README.md", "vb"): SCRIPT_HOST,
    ("README.md", "sh"): COMMANDS,
    ("README.md", "bat"): INSTALLERS,
    ("CONTRIBUTING.md", "text"): COMMANDS,
    ("CONTRIBUTING.md", "sh"): COMMANDS,
    ("docs/deployment.md", "bat"): INSTALLERS,
    ("docs/deployment.md", "sh"): LINUX_PACKAGES,
    ("docs/faq.md", "sh"): SHELL,
    ("docs/files.md", "vb"): SCRIPT_HOST,
    ("docs/files.md", "xml"): PERMISSIONS,
    ("docs/files.md", "bat"): PERMISSIONS,
    ("docs/files.md", "text"): FORM,
    ("docs/format.md", "ebnf"): GRAMMAR,
    ("docs/format.md", "text"): BYTES,
    ("docs/number-bases.md", "vb"): SCRIPT_HOST,
    ("docs/reference.md", "vb"): SCRIPT_HOST,
    ("docs/reference.md", "vba"): SCRIPT_HOST,
    ("docs/reference.md", "js"): SCRIPT_HOST,
    ("docs/reference.md", "pascal"): SCRIPT_HOST,
    ("docs/reports.md", "vb"): SCRIPT_HOST,
    ("docs/reports.md", "text"): FORM,
    ("docs/tasks.md", "vb"): TASKS,
    ("docs/tool.md", "sh"): SHELL,
    ("docs/tool.md", "text"): SHOWN,
    ("docs/tool-reference.md", "json"): CARRIED,
    ("docs/tool-reference.md", "csv"): CARRIED,
    ("docs/tool-reference.md", "text"): FORM,
    ("docs/troubleshooting.md", "powershell"): POWERSHELL,
}


@dataclass
class Block:
    page: str
    language: str
    code: str


def pages() -> list[str]:
    """Every page that a person reads."""
    found = [*ROOT.glob("*.md"), *(ROOT / "docs").rglob("*.md"), *(ROOT / "examples").rglob("*.md")]
    return sorted(str(path.relative_to(ROOT)) for path in found)


def blocks_of(page: str) -> list[Block]:
    text = (ROOT / page).read_text(encoding="utf-8")
    return [Block(page, language, code) for language, code in FENCE.findall(text)]


def pages_with(treatment: str) -> list[str]:
    """The pages that have blocks with this treatment."""
    return list(dict.fromkeys(page for (page, _), own in TREATMENT.items() if own == treatment))
