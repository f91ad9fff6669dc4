"""Runs the examples of the documentation, so that no page shows what does not work.

usage: examples_test.py WINE PASCAL

WINE runs a Windows program in which the component is registered, PASCAL is the command that compiles a
program of Free Pascal: tools/pascal with the bitness. Every block of code of the pages that blocks.py names is run
in the language that it is marked with: "vb" is VBScript, one script for each page; "vba" is VB and VBA, which run nowhere
here, so they are translated to VBScript, as examples/vba is; "js" and "pascal" run each by themselves. What a line prints is
after "' ->" or "// ->".
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import blocks as documentation

BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PRINTS = re.compile(r"(?:'|//) -> (.*)$", re.MULTILINE)
MODULE = re.compile(r"Class module `(\w+)`:\s*\Z")
REFERENCE = "reference.md"
DONE = "examples: done"
# A report that no example expects is printed, and fails the comparison, instead of waiting for a user.
REPORTS = """Class ReportPrinter
  Public Sub OnReport(caption, text, style, number, description, line)
    WScript.Echo "report: " & caption & ": " & text
  End Sub
End Class
Set CreateObject("Brindlex.clsEnvironment").ReportListener = New ReportPrinter
"""
# What a page takes for granted beside the first script of the reference.
ASSUMED = {
    "files.md": 'Class HostOfThePage\n  Public ProgDir\n  Public UsingFarOrFarBar\nEnd Class\n'
                "Dim host\nSet host = New HostOfThePage\n",
}
# From VB and VBA to VBScript: types go, and the few statements that a script does not have.
TRANSLATION = (
    (re.compile(r"^Option Explicit$", re.MULTILINE), ""),
    (re.compile(r"^( *)Dim (\w+) As New Collection$", re.MULTILINE),
     r'\1Dim \2: Set \2 = CreateObject("Brindlex.clsCollection")'),
    (re.compile(r"^( *)Dim (\w+) As New (Brindlex\.\w+)$", re.MULTILINE), r'\1Dim \2: Set \2 = CreateObject("\3")'),
    (re.compile(r" As (?:New )?[\w.]+"), ""),
    (re.compile(r"Debug\.Print ([\w.]+), ([\w.]+)$", re.MULTILINE), r'WScript.Echo \1 & " " & \2'),
    (re.compile(r"Debug\.Print"), "WScript.Echo"),
    (re.compile(r'Environ\("TEMP"\)'), 'CreateObject("Scripting.FileSystemObject").GetSpecialFolder(2).Path'),
    (re.compile(r"^( *)Kill (\w+)$", re.MULTILINE), r'\1CreateObject("Scripting.FileSystemObject").DeleteFile \2'),
    (re.compile(r"KeyProperty:="), ", , "),
    (re.compile(r'Environ\$\("TEMP"\)'), 'CreateObject("Scripting.FileSystemObject").GetSpecialFolder(2).Path'),
    (re.compile(r"New (Brindlex\.\w+)"), r'CreateObject("\1")'),
)


class Failure(Exception):
    """An example that does not do what its page says."""


def run(command: list[str]) -> list[str]:
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=180, check=False)
    lines = [line.rstrip() for line in result.stdout.decode("cp1252", "replace").splitlines()]
    if result.returncode:
        raise Failure(f"ended with status {result.returncode}: {lines}")
    return lines


def windows_path(path: str) -> str:
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def run_script(wine: list[str], text: str, ending: str, expected: list[str]) -> None:
    with tempfile.NamedTemporaryFile("w", suffix=ending, encoding="cp1252", newline="\r\n") as file:
        file.write(text)
        file.flush()
        printed = run([*wine, "cscript", "//nologo", windows_path(file.name)])
    if printed != [*expected, DONE]:
        raise Failure(f"expected {expected}\nprinted  {printed}\nby\n{text}")


def in_subroutine(block: str, number: int) -> str:
    """A block that leaves its procedure, as one."""
    if not re.search(r"\bExit Sub\b", block) or re.search(r"^\s*(Public )?Sub ", block, re.MULTILINE):
        return block
    return f"Sub Example{number}\n{block}End Sub\nExample{number}\n"


def run_vbscript(wine: list[str], first: str, page: str, blocks: list[str]) -> None:
    script = [] if blocks and blocks[0] == first else [PRINTS.sub("", first).replace("WScript.Echo", "Quiet")]
    script.insert(0, REPORTS + "Sub Quiet(text)\nEnd Sub\n")
    script.append(ASSUMED.get(page, ""))
    script += [in_subroutine(block, number) for number, block in enumerate(blocks)]
    # Option Explicit is for the first statement alone, and the pages do not declare everything.
    text = re.sub(r"^Option Explicit$", "", "\n".join(script), flags=re.MULTILINE)
    text = re.sub(r"^Dim ([\w, ]+)$", "", text, flags=re.MULTILINE)
    expected = [line for block in blocks for line in PRINTS.findall(block)]
    run_script(wine, f'{text}\nWScript.Echo "{DONE}"\n', ".vbs", expected)


def translated(block: str) -> str:
    for pattern, replacement in TRANSLATION:
        block = pattern.sub(replacement, block)
    return block


def run_vba(wine: list[str], modules: list[tuple[str, str]]) -> None:
    """`modules` are (name of the class or "", code), in the order of the page."""
    script, calls = [REPORTS], []
    for number, (name, code) in enumerate(modules):
        code = translated(code)
        if name:
            script.append(f"Class {name}\n{code}End Class\n")
        elif found := re.search(r"^Public Sub (\w+)", code, re.MULTILINE):
            script.append(code)
            calls.append(found[1])
        else:
            script.append(f"Sub Vba{number}\n{code}End Sub\n")
            calls.append(f"Vba{number}")
    marked = [f'{call}\nWScript.Echo "ran {call}"' for call in calls]
    text = "\n".join([*script, *marked, f'WScript.Echo "{DONE}"\n'])
    with tempfile.NamedTemporaryFile("w", suffix=".vbs", encoding="cp1252", newline="\r\n") as file:
        file.write(text)
        file.flush()
        printed = run([*wine, "cscript", "//nologo", windows_path(file.name)])
    missing = {f"ran {call}" for call in calls} - set(printed)
    # Each prints something; an example that stops early would be silent.
    silent = [first for first, second in zip(["ran", *printed], printed)
              if first.startswith("ran") and second.startswith("ran")]
    reports = [line for line in printed if line.startswith("report: ")]
    if missing or silent or reports or printed[-1:] != [DONE]:
        raise Failure(f"printed {printed}\nby\n{text}")


def run_vba_files(wine: list[str], folder: pathlib.Path) -> None:
    """The modules of a folder, as VB exports them; the one that is no class has the Sub to call."""
    script, calls, expected = [REPORTS], [], []
    for path in sorted(folder.iterdir()):
        # Before the code are the lines of the editor.
        code = path.read_text(encoding="cp1252").partition("Option Explicit\n")[2]
        expected += PRINTS.findall(code)
        calls += [] if path.suffix == ".cls" else re.findall(r"^Public Sub (\w+)", code, re.MULTILINE)
        code = translated(code)
        script.append(f"Class {path.stem}\n{code}End Class\n" if path.suffix == ".cls" else code)
    if not calls or not expected:
        raise Failure(f"{folder} has nothing to run, or prints nothing")
    run_script(wine, "\n".join([*script, *calls, f'WScript.Echo "{DONE}"\n']), ".vbs", expected)


def run_pascal(wine: list[str], pascal: list[str], block: str) -> None:
    with tempfile.TemporaryDirectory() as folder:
        source, program = os.path.join(folder, "example.pas"), os.path.join(folder, "example.exe")
        body = block.rstrip().removesuffix("end;").replace("uses ", "uses ActiveX, ", 1)
        body = body.replace("begin\n", "begin\n  CoInitialize(nil);\n", 1)
        with open(source, "w", encoding="utf-8") as file:
            file.write(f"program example;\n{{$mode delphi}}{{$apptype console}}\n{body}  WriteLn('{DONE}');\nend.\n")
        run([*pascal, source, program])
        if run([*wine, program])[-1:] != [DONE]:
            raise Failure(f"does not print its last line:\n{block}")


def check_page(wine: list[str], pascal: list[str], path: str, first: str) -> int:
    with open(path, encoding="utf-8") as file:
        text = file.read()
    blocks: dict[str, list[str]] = {}
    modules = []
    for match in BLOCK.finditer(text):
        blocks.setdefault(match[1], []).append(match[2])
        if match[1] == "vba":
            module = MODULE.search(text[:match.start()])
            modules.append((module[1] if module else "", match[2]))
    if "vb" in blocks:
        run_vbscript(wine, first, os.path.basename(path), blocks["vb"])
    if modules:
        run_vba(wine, modules)
    for block in blocks.get("js", []):
        run_script(wine, f'{block}\nWScript.Echo("{DONE}");\n', ".js", PRINTS.findall(block))
    for block in blocks.get("pascal", []):
        run_pascal(wine, pascal, block)
    return sum(len(blocks.get(language, [])) for language in ("vb", "vba", "js", "pascal"))


def main(wine: str, pascal: str) -> int:
    pages = [str(documentation.ROOT / page) for page in documentation.pages_with(documentation.SCRIPT_HOST)]
    with open(next(page for page in pages if page.endswith(REFERENCE)), encoding="utf-8") as file:
        first = next(match[2] for match in BLOCK.finditer(file.read()) if match[1] == "vb")
    failures = 0
    for page in pages:
        try:
            count = check_page(wine.split(), pascal.split(), page, first)
            print(f"{page}: {count} examples")
            failures += count == 0
        except Failure as failure:
            failures += 1
            print(f"{page}: {failure}")
    try:
        run_vba_files(wine.split(), documentation.ROOT / "examples/vba")
        print("examples/vba: done")
    except Failure as failure:
        failures += 1
        print(f"examples/vba: {failure}")
    return 1 if failures else 0


sys.exit(main(*sys.argv[1:]))
