"""No name, key, value or path reaches a terminal as it is: escape sequences, line breaks, marks of direction
and what is no text, put into every place that a message can quote."""

import itertools
import json
import pathlib
import subprocess

import program
from program import IS_WINDOWS, encoded, expect, path

# Each run takes its time under Wine, so one text holds many; tests/cli/unit/escape_test.cpp goes over every character.
HOSTILE = [
    "\x1b]0;title\x07\x1b[31mred\x1b[2J\x08\x7f\x9b31m\x85next", "a\nbrindlex: forged\rb\tc",
    "\u202eetirw\u2066in\u2069\u200f\u200e\u061cline\u2028para\u2029", 'quote" twice', "x" * 100_000, "\x1b" * 100_000,
]
# As bytes of UTF-8, what no text has: no character, halves of a pair, a character in too many bytes.
NO_TEXT = [b"\xff\xfe\x1b[m\xed\xa0\x80", b"\xc1\x9b\xf4\x90\x80\x80"]

FORBIDDEN = {*range(0x20), *range(0x7F, 0xA0), 0x61C, 0x200E, 0x200F, *range(0x2028, 0x202F),
             *range(0x2066, 0x206A)}
MOST_OF_A_LINE = 10_100

escaped_by: dict[str, int] = {}


def look(what: str, shown: bytes, prefix: str) -> None:
    """Nothing in `shown` drives a terminal; each of its lines begins with `prefix`."""
    text = shown.replace(b"\r\n", b"\n").decode("utf-8")  # what is no UTF-8 fails here
    for line in text.split("\n")[:-1]:
        raw = {hex(ord(c)) for c in line if ord(c) in FORBIDDEN}
        expect(f"{what}: raw in {line[:200]!r}", set(), raw)
        expect(f"{what}: {line[:200]!r} begins", prefix, line[:len(prefix)])
        # A table is as wide as it is asked to be.
        expect(f"{what}: characters in a line, at most", True, prefix == "" or len(line) <= MOST_OF_A_LINE)
    expect(f"{what}: its end", True, text == "" or text.endswith("\n"))


def look_at_run(*arguments: str, stdin: bytes = b"", for_people: bool = False,
                folder: pathlib.Path | None = None) -> None:
    if not program.is_sampled():
        return
    done = subprocess.run([*program.COMMAND, *arguments], input=stdin, capture_output=True, check=False,
                          cwd=folder, timeout=120)
    what = " ".join(arguments)[:200] + f" exit {done.returncode}"
    expect(f"{what}: exit status", True, 0 <= done.returncode <= 3)
    look(what, done.stderr, "brindlex: ")
    if for_people:
        look(what, done.stdout, "")
    for sign in (b"\\x", b"\\u", "…".encode()):
        if sign in done.stderr or for_people and sign in done.stdout:
            command = arguments[0] if arguments else ""
            escaped_by[command] = escaped_by.get(command, 0) + 1
            break


def file_of(*records: list[str | bytes], inner: bool = False) -> bytes:
    """A file in UTF-8, whatever its fields hold."""
    end, record = ("»", "Š") if inner else ("¥", "Œ")

    def raw(field: str | bytes) -> bytes:
        return field.encode() if isinstance(field, str) else field

    return b"".join(b"".join(raw(field) + end.encode() for field in fields) + record.encode()
                    for fields in records)


def lists_of(*collections: tuple[str | bytes, bytes]) -> bytes:
    return file_of(["DataString", "Name"], *([data, name] for name, data in collections))


def each() -> "itertools.chain[str | bytes]":
    return itertools.chain(HOSTILE, NO_TEXT)


def can_be_argument(text: str | bytes) -> bool:
    # Linux gives a single argument no more than 128 KB; Windows a command line 32 KB.
    return isinstance(text, str) and len(text) < (8_000 if IS_WINDOWS else 100_001)


def put(folder: pathlib.Path, name: str, content: bytes) -> str:
    (folder / name).write_bytes(content)
    return path(folder / name)


UTF8 = ("--encoding", "utf-8")
FOR_PEOPLE = ("view", "info", "check", "salvage", "base", "diff")


def test_what_a_file_holds(folder: pathlib.Path) -> None:
    for hostile in each():
        twice = put(folder, "a.txt", file_of([hostile, "B", hostile], ["1", hostile, "2"], ["3"], [hostile, "5"]))
        for more in ([], ["--all"], ["--record", "1"], ["--columns", "nothing"], ["--width", "0"]):
            look_at_run("view", twice, *UTF8, *more, for_people=True)
        look_at_run("info", twice, *UTF8, for_people=True)
        for more in ([], ["--key", "B"], ["--key", "none"]):
            look_at_run("check", twice, *UTF8, *more, for_people=True)
        for more in ([], ["--join"]):
            look_at_run("salvage", twice, *UTF8, "-o", path(folder / "out"), "--force", *more, for_people=True)
        for command in ("to-json", "to-csv", "to-html"):
            look_at_run(command, twice, *UTF8, "-o", path(folder / "out"), "--force")
        plain = put(folder, "plain.txt", file_of(["A"], ["1"]))
        other = put(folder, "other.txt", file_of([hostile, "B"], ["1", hostile], [hostile, "2"]))
        again = put(folder, "again.txt", file_of([hostile, "B"], [hostile, "3"], ["1", hostile]))
        look_at_run("recode", other, *UTF8, "--to-encoding", "windows-1252")
        look_at_run("recode", other, *UTF8, "--to-field-end", "b")
        for more in ([], ["--fill"], ["--common"]):
            look_at_run("cat", other, plain, *UTF8, *more, "-o", path(folder / "out"), "--force")
        for more in ([], ["--key", "B"], ["--key", "none"]):
            look_at_run("diff", other, again, *UTF8, *more, for_people=True)
            look_at_run("diff", other, plain, *UTF8, *more, for_people=True)
        unfinished = put(folder, "b.txt", file_of([hostile, "B"], ["1", "2"]) + b"x")
        for command in ("to-json", "to-csv", "to-html", "check", "view", "info", "recode", "cat"):
            look_at_run(command, unfinished, *UTF8)
        look_at_run("diff", other, unfinished, *UTF8)
        names = put(folder, "c.txt", file_of([hostile, hostile], ["1", "2"]))
        look_at_run("to-json", names, *UTF8)
        keys = put(folder, "d.txt", file_of(["Key"], [hostile], [hostile]))
        look_at_run("check", keys, *UTF8, "--key", "Key", for_people=True)
        many = put(folder, "e.txt", file_of([f"{n}" for n in range(3000)], ["1"]))
        look_at_run("view", many, *UTF8, "--columns", "nothing", for_people=True)


def test_names_of_collections(folder: pathlib.Path) -> None:
    inner = file_of(["A", "B"], ["1", "2"], inner=True)
    books = put(folder, "books.txt", file_of(["A"], ["1"]))
    for hostile in each():
        lists = put(folder, "lists.txt", lists_of((hostile, inner), ("Books", inner)))
        twice = put(folder, "twice.txt", lists_of((hostile, inner), (hostile, inner)))
        broken = put(folder, "broken.txt", lists_of((hostile, inner + b"x")))
        for file in (lists, twice, broken):
            for command in ("view", "info", "check"):
                look_at_run(command, file, *UTF8, for_people=True)
            look_at_run("view", file, "nothing", *UTF8, for_people=True)
            look_at_run("recode", file, *UTF8, "--to-encoding", "windows-1252", "-o", path(folder / "out"), "--force")
            look_at_run("cat", file, file, "--collection", "nothing", *UTF8)
            for more in ([], ["--key", "A"], ["--collection", "nothing"]):
                look_at_run("diff", file, lists, *UTF8, *more, for_people=True)
            look_at_run("salvage", file, *UTF8, "-o", path(folder / "out"), "--force", for_people=True)
            for command in ("to-json", "to-csv", "to-html"):
                look_at_run(command, file, *UTF8, "-o", path(folder / "out"), "--force")
                look_at_run(command, file, "nothing", *UTF8)
            look_at_run("collections", "extract", file, "nothing", *UTF8)
            look_at_run("collections", "rename", file, "Books", "Books", *UTF8)
            if can_be_argument(hostile):
                look_at_run("view", file, hostile, *UTF8, "--columns", hostile, for_people=True)
                look_at_run("collections", "add", file, hostile, books, *UTF8)
                look_at_run("collections", "rename", file, "Books", hostile, *UTF8)
                look_at_run("collections", "remove", file, hostile + "x", *UTF8)


def test_what_is_converted(folder: pathlib.Path) -> None:
    for hostile in HOSTILE:
        text = json.dumps(hostile)
        for source in (f"[{{{text}: 1, {text}: 2}}]", f'[{{"A": 1}}, {{{text}: 2}}]', f"[{{{text}: 1}}, {{}}]",
                       f"[{{{text}: {{}}}}]", f"[{{{text}: null}}]", f'{{{text}: [{{"A": "»"}}]}}',
                       f'{{{text}: [{{"A": 1}}], {text}: [{{"A": 1}}]}}', f'[{{{text}: "¥"}}]',
                       f'{{{text}: [{{"A": []}}]}}', f"[{text}]", f"[{text} {text}]", f'[{{"A": 1}}] {text}',
                       f'[{{"A": {text}x}}]', f"[\"{hostile}", f"[{hostile}]", f'[{{"A": {hostile}: "x": 1}}]'):
            file = put(folder, "a.json", source.encode())
            look_at_run("from-json", file, "-o", path(folder / "out"), "--force")
        quoted = '"' + hostile.replace('"', '""') + '"'
        for source in (f"{quoted},{quoted}\r\n1\r\n", f"{quoted}\r\n¥\r\n", f"A\r\n{quoted}x\r\n", f"A\r\n{quoted[:-1]}",
                       f"A,B\r\n{hostile},1,2\r\n"):
            file = put(folder, "a.csv", source.encode())
            look_at_run("from-csv", file, "-o", path(folder / "out"), "--force")
    for raw in NO_TEXT:
        for source in (b'[{"A": "' + raw + b'"}]', b'[{"' + raw + b'": 1}]', b"[" + raw + b"]"):
            look_at_run("from-json", put(folder, "a.json", source), "-o", path(folder / "out"), "--force")
        for source in (raw + b"," + raw + b"\r\n1\r\n", b"A\r\n" + raw + b"\r\n", raw + b"\r\n\xc2\xa5\r\n"):
            look_at_run("from-csv", put(folder, "a.csv", source), "-o", path(folder / "out"), "--force")


def test_arguments(folder: pathlib.Path) -> None:
    file = put(folder, "a.txt", encoded("A|B|;1|2|;"))
    for hostile in filter(can_be_argument, HOSTILE):
        for arguments in ([hostile], ["--" + hostile], ["view"], ["view", file, "a", hostile], ["view", file, hostile],
                          ["view", file, "--record", hostile], ["view", file, "--width", hostile],
                          ["view", file, "--columns", hostile], ["view", "--" + hostile, file],
                          ["view", file, "--field-end", hostile], ["info", file, "--field-end", hostile],
                          ["check", file, "--key", hostile], ["check", file, "--encoding", hostile],
                          ["check", file, "--field-end", hostile, "--record-end", hostile],
                          ["salvage", file, "-o", path(folder / "o"), "--replace", hostile, "--force"],
                          ["to-csv", file, "--delimiter", hostile], ["to-json", file, hostile],
                          ["to-html", file, "--title", hostile, "-o", path(folder / "o"), "--force"],
                          ["from-csv", file, "--delimiter", hostile], ["from-json", file, "--line-breaks", hostile],
                          ["collections", hostile], ["collections", "add", hostile, hostile, hostile],
                          ["recode", file, "--to-encoding", hostile], ["recode", file, "--to-field-end", hostile],
                          ["cat", file, "--collection", hostile], ["diff", file, file, "--key", hostile],
                          ["base", hostile, "10", "16"], ["base", "5", hostile, "16"], ["base", "--table", hostile],
                          ["base", "5", "10", "2", "--digits", hostile]):
            look_at_run(*arguments, for_people=arguments[0] in FOR_PEOPLE)


def commands_on(file: str, out: str, books: str) -> list[list[str]]:
    return [["view", file], ["view", file, "nothing"], ["info", file], ["check", file], ["check", file, "--key", "X"],
            ["salvage", file, "-o", out], ["salvage", file, "-o", out, "--force"], ["salvage", file, "-o", file],
            ["to-json", file, "-o", out], ["to-csv", file, "x"], ["to-html", file, "-o", out],
            ["from-json", file, "-o", out], ["from-csv", file, "--like", file, "-o", out],
            ["collections", "add", file, "A", books], ["collections", "add", books, "A", file],
            ["collections", "extract", file, "A"], ["collections", "remove", file, "A", "--in-place"],
            ["recode", file, "-o", out], ["recode", file, "--in-place"], ["cat", file, books], ["cat", books, file],
            ["diff", file, books], ["diff", books, file, "--key", "X"],
            ["view", books, file], ["to-json", books, "-o", file + "/x"], ["to-json", books, "-o", out + "/x"]]


def test_names_of_files(folder: pathlib.Path) -> None:
    books = put(folder, "books.txt", encoded("A|B|;1|2|3|;x"))
    for hostile in (*HOSTILE, *NO_TEXT):
        if IS_WINDOWS:
            if not can_be_argument(hostile):
                continue
            name = hostile
        else:
            raw = hostile if isinstance(hostile, bytes) else hostile.encode()
            name = str(folder).encode() + b"/" + raw[:200]
            with open(name, "wb") as made:
                made.write(encoded("A|B|;1|2|3|;x"))
            name = name.decode("utf-8", "surrogateescape")
        for arguments in commands_on(name, name + ".out", books):
            look_at_run(*arguments, for_people=arguments[0] in FOR_PEOPLE, folder=folder)
        look_at_run("check", "--json", name)


def test_json_of_check_stays_json(folder: pathlib.Path) -> None:
    for hostile in each():
        file = put(folder, "a.txt", file_of([hostile, hostile], ["1"]))
        done = program.run("check", "--json", file, *UTF8)
        found = json.loads(done.output)
        expect("defects", True, len(found) >= 1)
        look("json", done.output, "")


# The last one: tests run in the order of the file.
def test_every_command_had_something_to_escape(_: pathlib.Path) -> None:
    if program.SAMPLE > 1:
        expect("commands with something escaped", True, len(escaped_by) > 5)
        return
    for command in ("view", "info", "check", "salvage", "to-json", "to-csv", "to-html", "from-json", "from-csv",
                    "collections", "base", "recode", "cat", "diff"):
        expect(f"{command}: messages with something escaped", True, escaped_by.get(command, 0) > 0)


program.main(globals())
