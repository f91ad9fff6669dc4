"""brindlex view on a terminal: what is longer than the screen goes through a pager."""

import fcntl
import os
import pathlib
import pty
import struct
import subprocess
import termios

import program
from program import encoded, expect, path


SHORT = "A|;" + "".join(f"{n}|;" for n in range(5))
LONG = "A|;" + "".join(f"{n}|;" for n in range(15))


def view(folder: pathlib.Path, text: str, *options: str, pager: str | None, lines: int = 10) -> tuple[str, int]:
    """What a terminal of so many lines shows, and the exit status."""
    file = folder / "a.txt"
    file.write_bytes(encoded(text))
    own = {**os.environ, "NO_COLOR": "1"}
    own.pop("PAGER", None)
    if pager is not None:
        own["PAGER"] = pager
    terminal, inside = pty.openpty()
    fcntl.ioctl(inside, termios.TIOCSWINSZ, struct.pack("HHHH", lines, 80, 0, 0))
    process = subprocess.Popen([*program.COMMAND, "view", path(file), *options], stdin=inside, stdout=inside,
                               stderr=subprocess.DEVNULL, env=own)
    os.close(inside)
    shown = b""
    try:
        while part := os.read(terminal, 65536):
            shown += part
    except OSError:  # the end of a terminal
        pass
    os.close(terminal)
    return shown.decode("utf-8").replace("\r\n", "\n"), process.wait(60)


def test_a_long_table_goes_through_the_pager(folder: pathlib.Path) -> None:
    shown, status = view(folder, LONG, pager="sed 's/^/> /'")
    expect("status", 0, status)
    expect("lines", (17, True), (len(shown.splitlines()), all(line.startswith("> ") for line in shown.splitlines())))


def test_a_short_one_does_not(folder: pathlib.Path) -> None:
    expect("short", False, ">" in view(folder, SHORT, pager="sed 's/^/> /'")[0])
    expect("tall screen", False, ">" in view(folder, LONG, pager="sed 's/^/> /'", lines=40)[0])


def test_it_can_be_switched_off(folder: pathlib.Path) -> None:
    expect("--no-pager", False, ">" in view(folder, LONG, "--no-pager", pager="sed 's/^/> /'")[0])
    plain = view(folder, LONG, "--no-pager", pager=None)[0]
    for pager in ("", "cat"):
        expect(pager, plain, view(folder, LONG, pager=pager)[0])


def test_a_pager_that_is_ended_ends_the_program(folder: pathlib.Path) -> None:
    many = "A|;" + "".join(f"{n}|;" for n in range(400_000))
    shown, status = view(folder, many, "--all", pager="head -3")
    expect("status", (0, 3), (status, len(shown.splitlines())))


def test_a_pager_that_is_not_there(folder: pathlib.Path) -> None:
    expect("status", 0, view(folder, LONG, pager="/no/such/pager")[1])


def test_without_a_choice_everything_is_shown(folder: pathlib.Path) -> None:
    # Whether less is installed or not; it waits for a key if the text is longer than the screen.
    own = folder / "bin"
    own.mkdir()
    (own / "less").write_text("#!/bin/sh\necho \"LESS=$LESS\"\ncat\n", encoding="utf-8")
    (own / "less").chmod(0o755)
    before = os.environ["PATH"]
    os.environ["PATH"] = f"{own}:{before}"
    try:
        expect("less", "LESS=FRSX", view(folder, LONG, pager=None)[0].splitlines()[0])
    finally:
        os.environ["PATH"] = before


def test_a_pipe_has_no_pager(folder: pathlib.Path) -> None:
    file = folder / "a.txt"
    file.write_bytes(encoded(LONG))
    result = program.run("view", path(file), environment={"PAGER": "sed 's/^/> /'"})
    expect("piped", False, ">" in result.text)


program.main(globals())
