"""Changes of files of several collections: every other byte stays as it is."""

import pathlib

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run

HEAD = "DataString|Name|;"
ITEMS = "Title<Count<>Alpha<3<>Beta<12<>|Items|;"
NOTES = "Text<>milk<>|Notes|;\r\n"
LISTS = HEAD + ITEMS + NOTES + "|Empty|;"
BOOKS = "Title|;Moby|;Dick|;"


def change(folder: pathlib.Path, before: str, command: str, *arguments: str,
           encoding: str = "windows-1252") -> str:
    """The file after `collections COMMAND FILE ARGUMENTS`, on standard output and in place."""
    (folder / "lists.txt").write_bytes(encoded(before, encoding))
    file = path(folder / "lists.txt")
    result = run("collections", command, file, *arguments)
    expect((command, *arguments), (SUCCESS, ""), (result.code, result.errors))
    expect("untouched", encoded(before, encoding), (folder / "lists.txt").read_bytes())
    if command != "extract":
        expect("in place", SUCCESS, run("collections", command, file, *arguments, "--in-place").code)
        expect("in place", result.output, (folder / "lists.txt").read_bytes())
    return result.output


def refused(folder: pathlib.Path, why: str, code: int, *arguments: str,
            before: str = LISTS, stdin: bytes = b"") -> None:
    file = folder / "lists.txt"
    file.write_bytes(encoded(before))
    given = [path(file) if part == "FILE" else part for part in arguments]
    result = run("collections", *given, stdin=stdin)
    expect(arguments, (code, b""), (result.code, result.output))
    contains(why, result.errors)
    expect("untouched", encoded(before), file.read_bytes())


def test_extract(folder: pathlib.Path) -> None:
    for name, wanted in (("items", "Title|Count|;Alpha|3|;Beta|12|;"), ("Notes", "Text|;milk|;"),
                         ("Empty", "")):
        expect(name, encoded(wanted), change(folder, LISTS, "extract", name))
    expect("inner", encoded("Text<>milk<>"), change(folder, LISTS, "extract", "Notes", "--inner"))
    expect("line breaks", encoded("a|;\r\n1|;\r\n"),
           change(folder, HEAD + "a<>\r\n1<>\r\n|N|;", "extract", "N"))
    for encoding in ("utf-8", "utf-16le"):
        (folder / "wide.txt").write_bytes(encoded("\ufeff" + LISTS, encoding))
        expect(encoding, encoded("\ufeffText|;milk|;", encoding),
               run("collections", "extract", path(folder / "wide.txt"), "Notes").output)
    refused(folder, 'holds no collection "other"; it holds "Items", "Notes", "Empty"', USAGE,
            "extract", "FILE", "other")
    refused(folder, "a single collection", USAGE, "extract", "FILE", "a", before=BOOKS)


def test_remove(folder: pathlib.Path) -> None:
    expect("first", encoded(HEAD + NOTES + "|Empty|;"), change(folder, LISTS, "remove", "ITEMS"))
    expect("middle", encoded(HEAD + ITEMS + "|Empty|;"), change(folder, LISTS, "remove", "Notes"))
    expect("last", encoded(HEAD + ITEMS + NOTES), change(folder, LISTS, "remove", "Empty"))
    expect("only", b"", change(folder, HEAD + ITEMS, "remove", "Items"))


def test_rename(folder: pathlib.Path) -> None:
    expect("other", encoded(LISTS.replace("Notes", "Größe")),
           change(folder, LISTS, "rename", "notes", "Größe"))
    result = run("collections", "rename", path(folder / "lists.txt"), "GRÖSSE", "x")
    expect("no such name", USAGE, result.code)
    expect("letter case", encoded(LISTS.replace("Items", "ITEMS")),
           run("collections", "rename", "-", "items", "ITEMS", stdin=encoded(LISTS)).output)
    refused(folder, 'a collection "Notes" already', DEFECTS, "rename", "FILE", "Items", "NOTES")
    refused(folder, "never found again", USAGE, "rename", "FILE", "Items", "")
    refused(folder, "it holds the field end ¥", DEFECTS, "rename", "FILE", "Items", "a¥b")
    refused(folder, "which windows-1252 does not have", DEFECTS, "rename", "FILE", "Items", "α")


def test_add(folder: pathlib.Path) -> None:
    books = "Title<>Moby<>Dick<>|Books|;"
    (folder / "books.txt").write_bytes(encoded(BOOKS))
    (folder / "lists.txt").write_bytes(encoded(LISTS))
    lists, added = path(folder / "lists.txt"), path(folder / "books.txt")
    expect("at the end", encoded(LISTS + books),
           run("collections", "add", lists, "Books", added).output)
    expect("from standard input", encoded(LISTS + books),
           run("collections", "add", lists, "Books", "-", stdin=encoded(BOOKS)).output)
    expect("replaced", encoded(HEAD + "Title<>Moby<>Dick<>|ITEMS|;" + NOTES + "|Empty|;"),
           run("collections", "add", lists, "ITEMS", added, "--replace").output)
    expect("of another layer", encoded(LISTS + books), run(
        "collections", "add", lists, "Books", "-", stdin=encoded("Title<>Moby<>Dick<>")).output)
    expect("empty", encoded(LISTS + "|Books|;"),
           run("collections", "add", lists, "Books", "-", stdin=b"").output)
    new = folder / "new.txt"
    expect("new", SUCCESS, run("collections", "add", path(new), "Books", added, "--in-place").code)
    expect("new", encoded(HEAD + books), new.read_bytes())
    expect("more", SUCCESS, run("collections", "add", path(new), "More", added, "--in-place").code)
    expect("more", encoded(HEAD + books + "Title<>Moby<>Dick<>|More|;"), new.read_bytes())
    wide = encoded("\ufeff" + BOOKS, "utf-16le")
    expect("wide", SUCCESS, run("collections", "add", path(folder / "wide.txt"), "Books", "-",
                             "--in-place", stdin=wide).code)
    expect("wide", encoded("\ufeff" + HEAD + books, "utf-16le"),
           (folder / "wide.txt").read_bytes())
    expect("no file", INPUT_OUTPUT,
           run("collections", "add", path(folder / "none"), "Books", added).code)


def test_what_cannot_be_added(folder: pathlib.Path) -> None:
    add = ("add", "FILE", "Books", "-", "--in-place")
    refused(folder, 'a collection "Items" already; --replace', DEFECTS, "add", "FILE", "items", "-",
            stdin=encoded(BOOKS))
    refused(folder, 'record 1, "Title": it holds the field end » U+00BB', DEFECTS, *add,
            stdin=encoded("Title|;a<b|;"))
    recode_first = "which windows-1252 does not have; convert the file first: brindlex recode FILE --to-encoding utf-8"
    refused(folder, recode_first, DEFECTS, *add, stdin=encoded("Title|;ж|;", "utf-8"))
    refused(folder, recode_first, DEFECTS, "add", "FILE", "ж", "-", stdin=encoded(BOOKS))
    refused(folder, recode_first, DEFECTS, "rename", "FILE", "Items", "ж")
    refused(folder, "begins with a line break", DEFECTS, *add, stdin=encoded("\r\na|;1|;"))
    refused(folder, "a line break after a record end, at byte 3; --lossy leaves it out", DEFECTS, *add, stdin=encoded("a|;\r\n1|;"))
    refused(folder, "record 1 has 1 value", DEFECTS, *add, stdin=encoded("a|b|;1|;"))
    refused(folder, "extract one of them first", USAGE, *add, stdin=encoded(LISTS))
    refused(folder, "would not find", DEFECTS, *add, before=LISTS.replace("Name", "NAME"),
            stdin=encoded(BOOKS))
    refused(folder, "a second collection named", DEFECTS, *add, before=LISTS.replace("Notes", "items"),
            stdin=encoded(BOOKS))
    refused(folder, "one of the two", USAGE, "add", "-", "Books", "-")
    refused(folder, "--in-place", USAGE, "add", "-", "Books", "FILE", "--in-place")


def test_a_file_of_several_comes_back_from_its_parts(folder: pathlib.Path) -> None:
    original = encoded(HEAD + ITEMS + NOTES.rstrip() + "|Empty|;")
    (folder / "lists.txt").write_bytes(original)
    new = path(folder / "new.txt")
    for name in ("Items", "Notes", "Empty"):
        csv = run("to-csv", path(folder / "lists.txt"), name).output
        part = run("from-csv", "-", stdin=csv).output
        expect(name, SUCCESS,
               run("collections", "add", new, name, "-", "--in-place", stdin=part).code)
    expect("same", original, (folder / "new.txt").read_bytes())


program.main(globals())
