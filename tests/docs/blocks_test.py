"""Every block of code of every page has a treatment, and those that no other test takes are checked here.

usage: blocks_test.py
"""

import re
import sys

import blocks
from blocks import ROOT, TREATMENT, Block


def version() -> str:
    return re.search(r"^project\(Brindlex VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)[1]


def packages() -> set[str]:
    number = version()
    return {f"Brindlex-{number}-x86.msi", f"Brindlex-{number}-x64.msi", f"Brindlex-{number}.zip",
            f"brindlex_{number}_amd64.deb", f"brindlex-{number}-linux-amd64.tar.gz"}


def check_grammar(own: list[Block]) -> list[str]:
    """Names that a rule uses and no rule defines."""
    text = re.sub(r"\(\*.*?\*\)", "", "".join(block.code for block in own), flags=re.DOTALL)
    rules = [rule.partition("=") for rule in text.split(";") if "=" in rule]
    defined = {" ".join(name.split()) for name, _, _ in rules}
    parts = {" ".join(part.split()) for _, _, body in rules for part in re.split(r"[][,{}|]", re.sub(r'"[^"]*"', "", body))}
    # Prose stands for what the notation cannot say.
    unknown = parts - defined - {"", "any character", "a marker that the caller gave"}
    return [f"no rule defines {name}" for name in sorted(unknown)] if len(defined) > 5 else ["no grammar was found"]


def check_bytes(own: list[Block]) -> list[str]:
    """A block of hexadecimal bytes after each text: the same in windows-1252."""
    wrong = []
    for text, listing in zip(own[::2], own[1::2]):
        shown = "".join(re.match(r"(?:[0-9A-F]{2} ?)+", line)[0] for line in listing.code.splitlines())
        if bytes.fromhex(shown) != text.code.strip().encode("cp1252"):
            wrong.append(f"the bytes are not those of {text.code}")
    return wrong if len(own) == 4 else [*wrong, f"{len(own)} blocks instead of two texts with their bytes"]


def check_commands(own: list[Block]) -> list[str]:
    shown = (ROOT / "dev").read_text(encoding="utf-8").split("<<'END'")[1].split("\nEND\n")[0]
    known = {name for names in re.findall(r"^  ((?:\w+, )*\w+)", shown, re.MULTILINE) for name in names.split(", ")}
    presets = set(re.findall(r'"name": "(\w[\w-]*)"', (ROOT / "CMakePresets.json").read_text(encoding="utf-8")))
    wrong = [f"there is no ./dev {name}" for block in own for name in re.findall(r"\./dev (\w+)", block.code)
             if name not in known]
    return wrong + [f"there is no preset {name}" for block in own
                    for name in re.findall(r"--preset (\S+)", block.code) if name not in presets]


def check_installers(own: list[Block]) -> list[str]:
    wrong = []
    for line in (line for block in own for line in block.code.splitlines()):
        program = line.split()[0].rpartition("\\")[2]
        named = set(re.findall(r"[Bb]rindlex[-_]\d[\w.-]*", line))
        if program not in ("msiexec", "regsvr32") or not named <= packages() or (program == "msiexec") != bool(named):
            wrong.append(line)
    return wrong


def check_packages(own: list[Block]) -> list[str]:
    named = {name for block in own for name in re.findall(r"brindlex[-_]\d[\w.-]*", block.code)}
    return [f"{name} is no package" for name in named - packages()] if named else ["no package is named"]


CHECKS = {
    blocks.GRAMMAR: check_grammar,
    blocks.BYTES: check_bytes,
    blocks.COMMANDS: check_commands,
    blocks.INSTALLERS: check_installers,
    blocks.LINUX_PACKAGES: check_packages,
}


def check_page(page: str) -> list[str]:
    """What has no treatment."""
    text = (ROOT / page).read_text(encoding="utf-8")
    wrong = []
    for language in dict.fromkeys(block.language for block in blocks.blocks_of(page)):
        if (page, language) not in TREATMENT:
            wrong.append(f"{page}: nothing is known of its blocks of {language or 'no language'}")
    # A list item may have blanks before its text.
    outside = re.sub(r"(?:^|\n)(?:\d+\.|-) .*?(?=\n\S|\Z)", "", blocks.FENCE.sub("", text), flags=re.DOTALL)
    if blocks.INDENTED.search(outside):
        wrong.append(f"{page}: code that is set off by blanks has no language")
    if text.count("\n```") % 2 != text.startswith("```"):
        wrong.append(f"{page}: a block without an end")
    return wrong


def check_examples() -> list[str]:
    """Every example of the tree has a row that says what runs it; report.vbs is for a picture of the README."""
    page = (ROOT / "examples/README.md").read_text(encoding="utf-8")
    return [f"examples/README.md does not name {path.name}" for path in (ROOT / "examples").iterdir()
            if path.name != "README.md" and f"]({path.name}" not in page and path.name != "report.vbs"]


def main() -> int:
    failures = check_examples() + [wrong for page in blocks.pages() for wrong in check_page(page)]
    by_treatment: dict[str, list[Block]] = {}
    for page in blocks.pages():
        for block in blocks.blocks_of(page):
            if treatment := TREATMENT.get((page, block.language)):
                by_treatment.setdefault(treatment, []).append(block)
    found = {(block.page, block.language) for own in by_treatment.values() for block in own}
    failures += [f"{page}: it has no blocks of {language} any more" for page, language in TREATMENT.keys() - found]
    for treatment, own in by_treatment.items():
        print(f"{len(own):3} {', '.join(sorted({block.language for block in own}))}: {treatment}")
        failures += [f"{own[0].page}: {wrong}" for wrong in CHECKS.get(treatment, lambda _: [])(own)]
    print("\n".join(failures) or "every block has its treatment")
    return 1 if failures else 0


sys.exit(main())
