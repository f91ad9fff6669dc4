"""brindlex view and info: what they show, to the letter."""

import pathlib

import program
from program import SUCCESS, USAGE, contains, encoded, expect, path, run

BOOKS = "Title|Price|;Moby Dick, or, the Whale|9.50|;Emma|7|;"
SEVERAL = "DataString|Name|;Title<Price<>Emma<7<>Nana<8<>|Books|;Title<>A<>|Films|;|Nothing|;"


def shown(folder: pathlib.Path, command: str, text: str | bytes, *options: str) -> program.Result:
    file = folder / "a.txt"
    file.write_bytes(text if isinstance(text, bytes) else encoded(text))
    return run(command, path(file), *options)


def view(folder: pathlib.Path, text: str | bytes, *options: str) -> str:
    result = shown(folder, "view", text, *options)
    expect("code", SUCCESS, result.code)
    return result.text


def test_a_table(folder: pathlib.Path) -> None:
    expect("table", """\
#  Title                     Price
─  ────────────────────────  ─────
1  Moby Dick, or, the Whale   9.50
2  Emma                          7
""", view(folder, BOOKS))


def test_long_values_are_truncated(folder: pathlib.Path) -> None:
    expect("width 20", """\
#  Title       Price
─  ──────────  ─────
1  Moby Dick…   9.50
2  Emma            7
""", view(folder, BOOKS, "--width", "20"))
    wide = "A|B|;" + "x" * 5000 + "|" + "y" * 90 + "|;"
    for line in view(folder, wide).splitlines():
        expect("at most 80 columns", True, len(line) <= 80)
    contains("x" * 4096 + "…", view(folder, wide, "--width", "0"))


def test_wide_and_combining_characters(folder: pathlib.Path) -> None:
    text = "T|N|;日本語の本|1|;e\u0301te\u0301|2|;ab|3|;"
    expect("table", """\
#  T           N
─  ──────────  ─
1  日本語の本  1
2  e\u0301te\u0301         2
3  ab          3
""", view(folder, encoded(text, "utf-8"), "--encoding", "utf-8"))
    expect("cut", "1  日本…  1", view(folder, encoded(text, "utf-8"), "--encoding", "utf-8",
                                    "--width", "11").splitlines()[2])


def test_nothing_drives_the_terminal(folder: pathlib.Path) -> None:
    shown_ = view(folder, encoded("A|;x\x1b[31m\r\ny\tz\x7f") + b"\x81" + encoded("|;"))
    contains("x\\x1B[31m↵y→z\\x7F\\x81", shown_)


def test_columns(folder: pathlib.Path) -> None:
    text = "A|B|C|;1|2|3|;"
    expect("names and numbers", "#  C  A\n─  ─  ─\n1  3  1\n", view(folder, text, "--columns", "c,1"))
    result = shown(folder, "view", text, "--columns", "D")
    expect("code", USAGE, result.code)
    contains('there is no column "D"; there are "A", "B", "C"', result.errors)


def test_columns_without_room(folder: pathlib.Path) -> None:
    text = "".join(f"Name{n:02}|" for n in range(40)) + ";" + "value|" * 40 + ";"
    result = shown(folder, "view", text)
    contains("columns do not fit", result.errors)
    expect("width", True, max(map(len, result.text.splitlines())) <= 80)
    contains("Name39", view(folder, text, "--width", "0"))


def test_one_record(folder: pathlib.Path) -> None:
    text = "Title|Text|;a|1|;b|one\r\ntwo|;"
    expect("record 2", "Title  b\nText   one\n       two\n", view(folder, text, "--record", "2"))
    expect("no such record", USAGE, shown(folder, "view", text, "--record", "3").code)


def test_the_first_page(folder: pathlib.Path) -> None:
    text = "N|;" + "".join(f"{n}|;" for n in range(1, 101))
    result = shown(folder, "view", text)
    expect("lines", 22, len(result.text.splitlines()))
    contains("the first 20 records; --all shows the rest", result.errors)
    expect("all", 102, len(view(folder, text, "--all").splitlines()))


def test_many_rows_keep_their_columns(folder: pathlib.Path) -> None:
    text = "N|;" + "".join(f"{n}|;" for n in range(1, 3001))
    rows = view(folder, text, "--all").splitlines()[2:]
    expect("rows", [f"{n:>4}  {n:>4}" for n in range(1, 3001)], rows)


def test_damaged_records_are_marked(folder: pathlib.Path) -> None:
    result = shown(folder, "view", "A|B|;1|;1|2|3|;1|2|x;1|2|")
    expect("rows", ["1!  1", "2!  1  2", "3!  1  2", "4!  1  2"], result.text.splitlines()[2:])
    for note in ("record 1 has 1 of 2 fields", "record 2 has 3 of 2 fields",
                 "record 3 has text after its last field end", "record 4 has no record end"):
        contains(note, result.errors)


def test_collections(folder: pathlib.Path) -> None:
    expect("list", """\
#  Collection  Records  Fields  Bytes
─  ──────────  ───────  ──────  ─────
1  Books             2       2     29
2  Films             1       1     10
3  Nothing           0       0      0
""", view(folder, SEVERAL))
    expect("one", "#  Title  Price\n─  ─────  ─────\n1  Emma       7\n2  Nana       8\n",
           view(folder, SEVERAL, "bOOKS"))
    result = shown(folder, "view", SEVERAL, "Book")
    expect("code", USAGE, result.code)
    contains('holds no collection "Book"', result.errors)
    contains('it holds "Books", "Films", "Nothing"', result.errors)
    expect("a name for nothing", USAGE, shown(folder, "view", BOOKS, "Books").code)
    contains("there is nothing in it", shown(folder, "view", SEVERAL, "Nothing").errors)


def test_the_inner_layer_alone(folder: pathlib.Path) -> None:
    contains("1  Emma       7", view(folder, "Title<Price<>Emma<7<>"))


def test_a_unicode_path(folder: pathlib.Path) -> None:
    file = folder / "Bücher Ж.txt"
    file.write_bytes(encoded(BOOKS))
    contains("Emma", run("view", path(file)).text)
    contains("Bücher Ж.txt", run("info", path(file)).text)


def test_standard_input(_: pathlib.Path) -> None:
    contains("Emma", run("view", "-", stdin=encoded(BOOKS)).text)
    contains("1  Emma       7", run("view", "-", "Books", stdin=encoded(SEVERAL)).text)


def test_options_end(folder: pathlib.Path) -> None:
    (folder / "--all").write_bytes(encoded(BOOKS))
    contains("Emma", run("view", "--", "--all", folder=folder).text)


def test_info(folder: pathlib.Path) -> None:
    result = shown(folder, "info", "Title|Text|;\r\na|x\r\ny\nz\r|;\r\n\r\nlonger||;")
    expect("text", f"""\
{path(folder / "a.txt")}
  size          {12 + 2 + 11 + 4 + 9} bytes
  encoding      windows-1252
  field end     ¥  (A5)
  record end    Œ  (8C)
  markers       those of the outer layer
  records       2
  fields        2
  line breaks   3 after record ends, which are dropped; in values 1 CR LF, 1 LF, 1 CR

Field  Name   Longest value  in record  Empty
─────  ─────  ─────────────  ─────────  ─────
    1  Title              6          2      0
    2  Text               7          1      1
""", result.text)


def test_info_of_collections(folder: pathlib.Path) -> None:
    result = shown(folder, "info", SEVERAL)
    for part in ("collections   3\n", "records       3\n", "1. Books  records 2, fields 2, bytes 29\n",
                 "    1  Title              4          1      0\n",
                 "3. Nothing  records 0, fields 0, bytes 0\n"):
        contains(part, result.text)


def test_info_of_unicode_files(folder: pathlib.Path) -> None:
    text = "A|;ä\U0001F600\r\n|;"
    for encoding, name in (("utf-8", "utf-8"), ("utf-16-le", "utf-16"), ("utf-16-be", "utf-16be")):
        result = shown(folder, "info", encoded(text, encoding), "--encoding", name)
        contains("    1  A                 5          1      0\n", result.text)
        contains("in values 1 CR LF, 0 LF, 0 CR", result.text)


def test_names_alone(folder: pathlib.Path) -> None:
    for text, option, wanted in ((BOOKS, "--column-names", "Title\nPrice\n"), (BOOKS, "--collection-names", ""),
                                 (SEVERAL, "--collection-names", "Books\nFilms\nNothing\n"),
                                 (SEVERAL, "--column-names", ""), ("", "--column-names", ""),
                                 ("a\x1bb|;", "--column-names", "a\\x1Bb\n")):
        result = shown(folder, "info", text, option)
        expect((text, option), (SUCCESS, wanted), (result.code, result.text.replace("\r\n", "\n")))


program.main(globals())
