"""Files of any size in bounded memory: 64 MB, whatever is asked of them.

The files are mostly holes, so that they cost nothing but reading.
"""

import os
import pathlib
import subprocess

import program
from program import DEFECTS, SUCCESS, encoded, expect, path

LIMIT_KB = 64 * 1024
SIZE = 100_000_000


def peak(*arguments: str, wanted: int = SUCCESS) -> int:
    """The most memory the program had at a time, in KB; at least what this script has."""
    process = subprocess.Popen([*program.COMMAND, *arguments], stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    expect(arguments, wanted, os.waitstatus_to_exitcode(status))
    return usage.ru_maxrss


def within_limit(*arguments: str, wanted: int = SUCCESS) -> None:
    used = peak(*arguments, wanted=wanted)
    print(f"   {used // 1024:>3} MB: {arguments[0]}")
    expect(f"{arguments} within {LIMIT_KB} KB, not {used}", True, used <= LIMIT_KB)


def hole(file: pathlib.Path, before: str, after: str) -> str:
    """A file with nothing but zeros between two texts."""
    with file.open("wb") as stream:
        stream.write(encoded(before))
        stream.seek(SIZE)
        stream.write(encoded(after))
    return path(file)


def test_one_field_that_is_the_whole_file(folder: pathlib.Path) -> None:
    file = hole(folder / "a.txt", "A|B|;x|", "|;")
    for arguments in (["check", file], ["view", file], ["view", "--record", "1", file],
                      ["salvage", file, "-o", path(folder / "out")]):
        within_limit(*arguments)


def test_one_value_of_a_table(folder: pathlib.Path) -> None:
    out = path(folder / "out")
    for name, before, after in (("plain.csv", "A,B\nx,", "\ny,z\n"), ("quoted.csv", 'A,B\n"x","', '"\n')):
        file = hole(folder / name, before, after)
        within_limit("from-csv", file, "-o", out, "--force")
        expect(name, True, (folder / "out").stat().st_size > SIZE - 100)


def test_one_value_of_json(folder: pathlib.Path) -> None:
    file, out = folder / "a.json", folder / "out"
    for before, after in (('[{"A":"x","B":"', '"},{"A":"1","B":""}]'), ('[["A"],["', '"]]'), ('{"A":"', '"}\n{"A":""}')):
        with file.open("wb") as stream:
            stream.write(before.encode())
            for _ in range(100):
                stream.write(b"xxxx\xc3\xa9\\n\\u20AC" * 66_667)
            stream.write(after.encode())
        within_limit("from-json", path(file), "-o", path(out), "--force")
        expect(before, True, out.stat().st_size > 7 * 6_666_700)


def names(file: pathlib.Path, before: str, each: str, between: str, after: str) -> str:
    """A file of three million names."""
    with file.open("wb") as stream:
        stream.write(encoded(before))
        for at in range(0, 3_000_000, 1000):
            stream.write(encoded((between if at else "") + between.join(each % n for n in range(at, at + 1000))))
        stream.write(encoded(after))
    return path(file)


def test_more_names_than_are_promised(folder: pathlib.Path) -> None:
    for command, *parts in (("from-csv", "", '"%d"', ",", "\n"), ("to-csv", "", "%d", "|", "|;"),
                            ("from-json", "[[", '"%d"', ",", "]]"), ("from-json", "[{", '"%d":1', ",", "}]")):
        within_limit(command, names(folder / "a.txt", *parts), wanted=DEFECTS)


def test_a_header_without_an_end(folder: pathlib.Path) -> None:
    file = hole(folder / "a.txt", "A|B|", "")
    for command in ("check", "info"):
        within_limit(command, file, wanted=DEFECTS if command == "check" else SUCCESS)


def test_many_records_with_keys(folder: pathlib.Path) -> None:
    file = folder / "a.txt"
    with file.open("wb") as stream:
        stream.write(encoded("Id|;"))
        for at in range(0, 1_800_000, 1000):
            stream.write(b"".join(b"%d\xa5\x8c" % n for n in range(at, at + 1000)))
    within_limit("check", "--key", "Id", path(file))


def test_a_collection_that_is_the_whole_file(folder: pathlib.Path) -> None:
    file = hole(folder / "a.txt", "DataString|Name|;T<>", "<>|One|;")
    for arguments in (["check", file], ["view", file], ["view", file, "One"], ["info", file]):
        within_limit(*arguments)


def test_other_forms(folder: pathlib.Path) -> None:
    file = hole(folder / "a.txt", "A|B|;x|", "|;")
    within_limit("recode", file, "--to-encoding", "utf-16", "-o", path(folder / "out"))
    within_limit("cat", file, file, "-o", path(folder / "both"))
    # Columns in another order have to be kept, so much of them is refused.
    other = folder / "b.txt"
    other.write_bytes(encoded("B|A|;1|2|;"))
    within_limit("cat", path(other), file, wanted=DEFECTS)


def test_differences(folder: pathlib.Path) -> None:
    file, other = hole(folder / "a.txt", "A|B|;x|", "|;"), hole(folder / "b.txt", "A|B|;x|", "y|;")
    within_limit("diff", file, other, wanted=DEFECTS)
    within_limit("diff", "--json", file, other, wanted=DEFECTS)
    half = 300_000
    for name, parts in (("c.txt", [range(2 * half)]), ("d.txt", [range(half, 2 * half), range(half)]),
                        ("e.txt", [range(2 * half - 1, -1, -1)])):
        with (folder / name).open("wb") as stream:
            stream.write(encoded("K|V|;"))
            for part in parts:
                stream.writelines(b"%d\xa5%d\xa5\x8c" % (n, n % 10) for n in part)
    for name in ("d.txt", "e.txt"):
        within_limit("diff", "--key", "K", path(folder / "c.txt"), path(folder / name), wanted=DEFECTS)
    within_limit("diff", path(folder / "c.txt"), path(folder / "d.txt"), wanted=DEFECTS)


def test_many_markers_and_no_records(folder: pathlib.Path) -> None:
    file = folder / "a.txt"
    with file.open("wb") as stream:
        for _ in range(200):
            stream.write(b"\xa5" * 100_000)
    within_limit("check", path(file), wanted=DEFECTS)
    within_limit("view", path(file))
    within_limit("info", path(file))


program.main(globals())
