"""brindlex recode: the same records in another form, or a refusal with the place."""

import pathlib
import random

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run
from tables import Form, random_form, random_table

BOOKS = "Title|Price|;Moby Dick|9.50|;Emma|7|;"
SEVERAL = "DataString|Name|;Title<Price<>Emma<7<>|Books|;|Nothing|;"


def recode(folder: pathlib.Path, content: bytes, *options: str) -> program.Result:
    file = folder / "a.txt"
    file.write_bytes(content)
    return run("recode", path(file), *options)


def recoded(folder: pathlib.Path, content: bytes, *options: str) -> bytes:
    result = recode(folder, content, *options)
    expect(options, (SUCCESS, ""), (result.code, result.errors))
    return result.output


def refused(folder: pathlib.Path, message: str, content: bytes, *options: str, code: int = DEFECTS) -> None:
    result = recode(folder, content, *options)
    expect(options, (code, b""), (result.code, result.output))
    contains(message, result.errors)


def test_without_options_the_bytes_stay(folder: pathlib.Path) -> None:
    for content in (encoded(BOOKS), b"\xef\xbb\xbf" + encoded(BOOKS, "utf-8"), encoded(SEVERAL), b"",
                    encoded(BOOKS.replace(";", ";\r\n")), encoded(BOOKS) + b"\n\x1a", encoded(SEVERAL) + b"\r\n",
                    encoded(BOOKS.replace("|", "<").replace(";", ">")),
                    "\ufeff".encode("utf-16-le") + encoded(BOOKS, "utf-16-le")):
        expect(content, content, recoded(folder, content))


def test_encoding(folder: pathlib.Path) -> None:
    text = "Título|;€ é|;"
    expect("to UTF-8", encoded(text, "utf-8"), recoded(folder, encoded(text), "--to-encoding", "utf-8"))
    expect("to UTF-16", encoded("\ufeff" + text, "utf-16-le"),
           recoded(folder, encoded(text), "--to-encoding", "utf-16"))
    expect("and back", encoded(text), recoded(folder, encoded("\ufeff" + text, "utf-16-le"),
                                              "--to-encoding", "1252"))
    expect("the tail too", encoded("\ufeff" + text + "\n", "utf-16-le"),
           recoded(folder, encoded(text) + b"\n", "--to-encoding", "utf-16"))
    refused(folder, 'record 2, "T": it holds ж U+0436, which windows-1252 does not have; --to-encoding utf-8 has every',
            encoded("T|;a|;ж|;", "utf-8"), "--to-encoding", "windows-1252")
    refused(folder, "give others with --to-field-end and --to-record-end, or another --to-encoding",
            encoded(text), "--to-encoding", "1251", code=USAGE)
    refused(folder, "windows-1252 has no byte order mark", encoded(text), "--bom", code=USAGE)


def test_several_collections(folder: pathlib.Path) -> None:
    expect("to UTF-8", b"\xef\xbb\xbf" + encoded(SEVERAL, "utf-8"),
           recoded(folder, encoded(SEVERAL), "--to-encoding", "utf-8", "--bom"))
    refused(folder, 'record 1 in "Books", "Title": it holds ж', encoded(SEVERAL.replace("Emma", "ж"), "utf-8"),
            "--to-encoding", "windows-1252")
    refused(folder, "has markers of its own", encoded(SEVERAL), "--to-field-end", ",", code=USAGE)
    broken = encoded(SEVERAL.replace(";", ";\r\n"))
    refused(folder, "a line break after a record end", broken, "--to-encoding", "utf-8")
    expect("without line breaks", encoded(SEVERAL), recoded(folder, broken, "--line-breaks", "0"))


def test_markers(folder: pathlib.Path) -> None:
    expect("controls", BOOKS.replace("|", "\x1f").replace(";", "\x1e").encode(),
           recoded(folder, encoded(BOOKS), "--to-field-end", "U+001F", "--to-record-end", "U+001E"))
    refused(folder, 'record 1, "A": it holds the field end , U+002C', encoded("A|;x,y|;"), "--to-field-end", ",")
    refused(folder, "several collections", encoded(SEVERAL.replace("|", ",")), "--field-end", ",",
            "--to-field-end", "¥")


def test_line_breaks(folder: pathlib.Path) -> None:
    lines = encoded(BOOKS.replace(";", ";\r\n"))
    expect("on lines", lines, recoded(folder, encoded(BOOKS), "--line-breaks", "1"))
    expect("and back", encoded(BOOKS), recoded(folder, lines, "--line-breaks", "0"))
    uneven = encoded("A|;\r\nx|;y|;\r\n")
    refused(folder, "more or fewer line breaks than the first, at byte 8; --line-breaks N gives all records the same",
            uneven, "--to-encoding", "utf-8")
    expect("alike", encoded("A|;\r\nx|;\r\ny|;\r\n"), recoded(folder, uneven, "--line-breaks", "1"))
    refused(folder, "record 2 begins with a line break", encoded("A|;" + "x|;" + "\r\n" * 4 + "y|;"),
            "--line-breaks", "0")


def test_like_and_in_place(folder: pathlib.Path) -> None:
    like = folder / "like.txt"
    like.write_bytes("\ufeffA»Š\r\n1»Š\r\n".encode("utf-8"))
    file = folder / "b.txt"
    file.write_bytes(encoded(BOOKS))
    expect("in place", SUCCESS, run("recode", path(file), "--like", path(like), "--in-place").code)
    expect("content", ("\ufeff" + BOOKS.replace("|", "»").replace(";", "Š\r\n")).encode("utf-8"),
           file.read_bytes())
    expect("not both", USAGE, run("recode", path(file), "--in-place", "-o", path(folder / "c.txt")).code)
    expect("exists", USAGE, run("recode", path(file), "-o", path(like)).code)
    expect("forced", SUCCESS, run("recode", path(file), "-o", path(like), "--force").code)
    expect("same", file.read_bytes(), like.read_bytes())
    expect("missing", INPUT_OUTPUT, run("recode", path(folder / "no.txt")).code)


def test_standard_input(folder: pathlib.Path) -> None:
    result = run("recode", "-", "--to-encoding", "utf-8", stdin=encoded(BOOKS) + b"\n")
    expect("output", (SUCCESS, encoded(BOOKS, "utf-8") + b"\n"), (result.code, result.output))
    del folder


def test_malformed_files_are_refused(folder: pathlib.Path) -> None:
    refused(folder, "byte 12: record 2 has 1 value, the header has 2 names", encoded("A|B|;1|2|;x|;"))


def test_random_tables_against_the_model(folder: pathlib.Path) -> None:
    dice = random.Random(program.seed(4))
    written = 0
    for _ in range(program.tables(150)):
        source, target = random_form(dice), random_form(dice)
        names, rows = random_table(dice, "ab1 é€ж|;»¥\r\n", 4)
        if not source.holds(names, rows):
            continue
        result = recode(folder, source.file(names, rows), *source.reading(), *target.target())
        if target.holds(names, rows):
            expect((source, target, names, rows), (SUCCESS, target.file(names, rows)), (result.code, result.output))
            written += 1
        else:
            expect((source, target, names, rows), (DEFECTS, b""), (result.code, result.output))
    expect("most were compared", True, written > 20)


program.main(globals())
