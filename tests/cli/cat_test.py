"""brindlex cat: files appended to each other, their columns matched by name."""

import pathlib
import random

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run
from tables import Form, random_form, random_table

SEVERAL = "DataString|Name|;A<B<>1<2<>|Books|;A<>x<>|Films|;"


def cat(folder: pathlib.Path, *contents: bytes, options: tuple[str, ...] = ()) -> program.Result:
    files = []
    for number, content in enumerate(contents):
        file = folder / f"{number}.txt"
        file.write_bytes(content)
        files.append(path(file))
    return run("cat", *files, *options)


def appended(folder: pathlib.Path, *texts: str, options: tuple[str, ...] = ()) -> str:
    result = cat(folder, *map(encoded, texts), options=options)
    expect((texts, options), (SUCCESS, ""), (result.code, result.errors))
    return result.output.decode("windows-1252").translate(str.maketrans("¥Œ", "|;"))


def refused(folder: pathlib.Path, message: str, *texts: str, options: tuple[str, ...] = (),
            code: int = DEFECTS) -> None:
    result = cat(folder, *map(encoded, texts), options=options)
    expect((texts, options), (code, b""), (result.code, result.output))
    contains(message, result.errors)


def test_records_are_appended(folder: pathlib.Path) -> None:
    expect("one", "A|B|;1|2|;", appended(folder, "A|B|;1|2|;"))
    expect("three", "A|B|;1|2|;3|4|;5|6|;", appended(folder, "A|B|;1|2|;", "A|B|;3|4|;", "A|B|;5|6|;"))
    expect("another order and letter case", "A|B|;1|2|;3|4|;", appended(folder, "A|B|;1|2|;", "b|a|;4|3|;"))
    expect("nothing", "", appended(folder, "", ""))
    expect("empty files", "A|;1|;", appended(folder, "", "A|;", "A|;1|;", ""))
    expect("names that come twice", "A|a|;1|2|;3|4|;", appended(folder, "A|a|;1|2|;", "A|A|;3|4|;"))


def test_other_columns_are_refused(folder: pathlib.Path) -> None:
    refused(folder, '1.txt: it lacks the column "B", which ', "A|B|;1|2|;", "A|;3|;")
    refused(folder, '1.txt: it has the column "C", which ', "A|;1|;", "C|A|;2|3|;")
    refused(folder, '1.txt: the header has the name "a" twice', "A|;1|;", "A|a|;2|3|;")
    refused(folder, "no column in common", "A|;1|;", "B|;2|;", options=("--common",))
    refused(folder, "excludes", "A|;1|;", options=("--common", "--fill"), code=USAGE)


def test_fill_and_common(folder: pathlib.Path) -> None:
    texts = ("A|B|;1|2|;", "C|a|;3|4|;", "B|;5|;")
    expect("fill", "A|B|C|;1|2||;4||3|;|5||;", appended(folder, *texts, options=("--fill",)))
    expect("common", "A|;1|;4|;", appended(folder, *texts[:2], options=("--common",)))


def test_malformed_files_are_refused_with_their_names(folder: pathlib.Path) -> None:
    refused(folder, "1.txt: byte 7: record 1 has 1 value, the header has 2 names", "A|B|;1|2|;", "A|B|;x|;")
    refused(folder, "0.txt: ", "A|B;1|2|;", "A|B|;1|2|;")
    expect("missing", INPUT_OUTPUT, run("cat", path(folder / "no.txt")).code)


def test_the_form_is_that_of_the_first(folder: pathlib.Path) -> None:
    first = "\ufeffA»Š\r\nж»Š\r\n".encode("utf-8")
    result = cat(folder, first, encoded("A|;é|;"))
    expect("UTF-8", "\ufeffA»Š\r\nж»Š\r\né»Š\r\n".encode("utf-8"), result.output)
    result = cat(folder, encoded("A|;é|;"), first)
    expect("refused", (DEFECTS, b""), (result.code, result.output))
    contains('1.txt: record 1, "A": it holds ж U+0436, which windows-1252 does not have; --to-encoding utf-8', result.errors)
    result = cat(folder, encoded("A|;é|;"), first, options=("--to-encoding", "utf-8", "--line-breaks", "0"))
    expect("given", encoded("A|;é|;ж|;", "utf-8"), result.output)
    result = cat(folder, b"", first)
    expect("the first with a header", first, result.output)


def test_files_of_several(folder: pathlib.Path) -> None:
    refused(folder, "--collection NAME", SEVERAL, "A|B|;3|4|;", code=USAGE)
    expect("one of them", "A|B|;1|2|;3|4|;1|2|;",
           appended(folder, SEVERAL, "A|B|;3|4|;", SEVERAL, options=("--collection", "books")))
    refused(folder, "no collection", SEVERAL, options=("--collection", "x"), code=USAGE)


def test_output_and_standard_input(folder: pathlib.Path) -> None:
    file = folder / "a.txt"
    file.write_bytes(encoded("A|;1|;"))
    result = run("cat", path(file), "-", "-o", path(folder / "b.txt"), stdin=encoded("A|;2|;"))
    expect("output", (SUCCESS, encoded("A|;1|;2|;")), (result.code, (folder / "b.txt").read_bytes()))
    expect("into an input", SUCCESS, run("cat", path(file), path(file), "-o", path(file), "--force").code)
    expect("twice", encoded("A|;1|;1|;"), file.read_bytes())
    expect("two pipes", USAGE, run("cat", "-", "-").code)


def model(tables: list[tuple[list[str], list[list[str]]]], mode: str) -> tuple[list[str], list[list[str]]] | None:
    """What comes of the tables; nothing if they are refused."""
    columns = list(tables[0][0])
    for names, _ in tables[1:]:
        if mode == "--common":
            columns = [name for name in columns if name in names]
        elif mode == "--fill":
            columns += [name for name in names if name not in columns]
        elif set(names) != set(columns):
            return None
    rows = [dict(zip(names, row)) for names, rows in tables for row in rows]
    return (columns, [[row.get(name, "") for name in columns] for row in rows]) if columns else None


def test_random_tables_against_the_model(folder: pathlib.Path) -> None:
    dice = random.Random(program.seed(7))
    written = 0
    for _ in range(program.tables(120)):
        form = random_form(dice)
        tables = [random_table(dice, "ab1 éж\r\n", 3) for _ in range(dice.randint(1, 3))]
        if dice.random() < 0.4:  # the same columns in another order
            names = tables[0][0]
            tables = [(shuffled, [(row * 4)[:len(names)] for row in rows])
                      for shuffled, (_, rows) in ((dice.sample(names, len(names)), table) for table in tables)]
        source = Form("utf-8", form.mark, form.markers, 0)
        if not all(source.holds(*table) for table in tables):
            continue
        mode = dice.choice(["", "--fill", "--common"])
        result = cat(folder, *(source.file(*table) for table in tables),
                     options=(*source.reading(), *form.target(), *([mode] if mode else [])))
        wanted = model(tables, mode)
        if wanted and form.holds(*wanted):
            expect((form, tables, mode), (SUCCESS, form.file(*wanted)), (result.code, result.output))
            written += 1
        else:
            expect((form, tables, mode), (DEFECTS, b""), (result.code, result.output))
    expect("most were compared", True, written > 30)


program.main(globals())
