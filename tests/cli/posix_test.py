"""Terminals, signals, permissions and full disks, as Unix systems have them."""

import fcntl
import os
import pathlib
import pty
import re
import signal
import stat
import struct
import subprocess
import termios
import threading
import time

import program
from program import SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run

BOOKS = encoded("Title|Price|;" + "".join(f"A long title of book number {n}|{n}.50|;" for n in range(9)))


def on_terminal(*arguments: str, columns: int = 80, stdin: int = subprocess.DEVNULL,
                output_too: bool = True, **environment: str) -> tuple[str, int]:
    """What the program shows on a terminal of that width, and its exit status."""
    ours, theirs = pty.openpty()
    fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    own = {"TERM": "xterm", "PATH": os.environ["PATH"], **environment}
    process = subprocess.Popen([*program.COMMAND, *arguments], stdin=stdin, stderr=theirs, env=own,
                               stdout=theirs if output_too else subprocess.DEVNULL)
    os.close(theirs)
    shown = b""
    while True:
        try:
            part = os.read(ours, 4096)
        except OSError:  # how Linux says that the other end is closed
            break
        if not part:
            break
        shown += part
    os.close(ours)
    return shown.decode("utf-8").replace("\r\n", "\n"), process.wait(timeout=60)


def plain(text: str) -> str:
    return re.sub("\x1b\\[[0-9;]*m", "", text)


def put(folder: pathlib.Path, content: bytes = BOOKS) -> pathlib.Path:
    file = folder / "a.txt"
    file.write_bytes(content)
    return file


def test_a_table_is_as_wide_as_the_terminal(folder: pathlib.Path) -> None:
    file = path(put(folder))
    for columns in (20, 33, 60):
        shown, code = on_terminal("view", file, columns=columns)
        expect("code", SUCCESS, code)
        widths = [len(line) for line in plain(shown).splitlines()]
        expect(f"at most {columns}", True, max(widths) <= columns)
        expect("cut", columns < 40, "…" in shown)
    contains("A long ti…   0.50", plain(on_terminal("view", file, columns=20)[0]))


def test_colour_only_on_a_terminal(folder: pathlib.Path) -> None:
    file = path(put(folder))
    contains("\x1b[1m", on_terminal("view", file)[0])
    expect("NO_COLOR", False, "\x1b" in on_terminal("view", file, NO_COLOR="1")[0])
    contains("\x1b[1m", on_terminal("view", file, NO_COLOR="")[0])
    expect("dumb", False, "\x1b" in on_terminal("view", file, TERM="dumb")[0])
    expect("pipe", False, "\x1b" in run("view", file).text)
    contains("\x1b[32m", on_terminal("check", file)[0])


def test_a_verdict_for_who_waits(folder: pathlib.Path) -> None:
    file = path(put(folder))
    contains("no defects, 9 records", plain(on_terminal("check", file)[0]))
    expect("nobody waits", "", run("check", file).errors)


def slowly(seconds: float, content: bytes) -> int:
    """A pipe whose second half comes a while after the first."""
    source, sink = os.pipe()

    def write() -> None:
        # Each is more than the program reads at a time.
        for half in (content + b"\r\n" * 150_000, b"\r\n" * 150_000):
            for at in range(0, len(half), 60_000):
                os.write(sink, half[at:at + 60_000])
            time.sleep(seconds)
        os.close(sink)

    threading.Thread(target=write).start()
    return source


def test_progress_for_work_over_a_second(_: pathlib.Path) -> None:
    source = slowly(1.1, BOOKS)
    shown, code = on_terminal("check", "-", stdin=source, output_too=False)
    os.close(source)
    expect("code", SUCCESS, code)
    contains("\rchecking 1 MB\r", shown)
    # It is wiped out before anything else is said.
    contains("\r" + " " * 79 + "\rbrindlex: -: ", plain(shown))


def test_no_progress_for_quick_work(folder: pathlib.Path) -> None:
    expect("nothing", False, "checking" in on_terminal("check", path(put(folder)))[0])


def test_a_full_disk(folder: pathlib.Path) -> None:
    file = path(put(folder))
    with open("/dev/full", "wb") as full:
        for arguments in (["view", file], ["info", file], ["--help"]):
            done = subprocess.run([*program.COMMAND, *arguments], stdout=full, check=False,
                                  stderr=subprocess.PIPE)
            expect(arguments[0], INPUT_OUTPUT, done.returncode)
            contains("cannot write standard output: No space left", done.stderr.decode())
    result = run("salvage", file, "-o", "/dev/full")
    expect("a device", INPUT_OUTPUT, result.code)


def test_what_cannot_be_read(folder: pathlib.Path) -> None:
    expect("a folder", INPUT_OUTPUT, run("check", str(folder)).code)
    contains("Is a directory", run("info", str(folder)).errors)
    contains("No such file", run("view", str(folder / "none")).errors)


def test_an_output_keeps_permissions_and_links(folder: pathlib.Path) -> None:
    file = path(put(folder))
    target, link = folder / "target", folder / "link"
    target.write_bytes(b"old")
    target.chmod(0o640)
    link.symlink_to(target)
    expect("code", SUCCESS, run("salvage", file, "-o", str(link), "--force").code)
    expect("still a link", True, link.is_symlink())
    expect("the target", BOOKS, target.read_bytes())
    expect("permissions", 0o640, stat.S_IMODE(target.stat().st_mode))


def test_the_file_itself_under_another_name(folder: pathlib.Path) -> None:
    file = put(folder)
    (folder / "hard").hardlink_to(file)
    (folder / "soft").symlink_to(file)
    for name in ("hard", "soft", "./a.txt"):
        expect(name, USAGE, run("salvage", str(file), "-o", str(folder / name), "--force").code)
        expect("untouched", BOOKS, file.read_bytes())


def test_nothing_is_left_when_it_is_interrupted(folder: pathlib.Path) -> None:
    file = put(folder, BOOKS[:13] + BOOKS[13:] * 200_000)
    command = [*program.COMMAND, "salvage", str(file), "-o", str(folder / "b.txt")]
    interrupted = 0
    while interrupted < 30:
        process = subprocess.Popen(command)
        deadline = time.monotonic() + 20
        # As soon as the file is there.
        while len(os.listdir(folder)) == 1 and time.monotonic() < deadline:
            pass
        process.send_signal(signal.SIGINT)
        if process.wait(timeout=60) == SUCCESS:
            # It was done before the signal was sent.
            (folder / "b.txt").unlink()
            continue
        interrupted += 1
        expect("ended by it", -signal.SIGINT, process.returncode)
        expect("files", ["a.txt"], sorted(os.listdir(folder)))


def test_a_reader_that_stops_reading(folder: pathlib.Path) -> None:
    file = put(folder, BOOKS[:13] + BOOKS[13:] * 20_000)
    process = subprocess.Popen([*program.COMMAND, "view", "--all", str(file)],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.readline()
    process.stdout.close()
    expect("ended quietly", b"", process.stderr.read())
    expect("by the signal", -signal.SIGPIPE, process.wait(timeout=60))


program.main(globals())
