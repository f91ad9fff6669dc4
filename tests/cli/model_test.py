"""Random tables through every conversion, each against an independent model in Python's own JSON and CSV.

./dev fuzz runs it over many more tables.
"""

import csv
import io
import json
import pathlib
import random

import program
from program import DEFECTS, SUCCESS, contains, expect, run
from tables import Form, random_form, random_table

HOSTILE = "ab1 ,\"'=é€ж𝄞\\\t\x01\x1f\x85\u2028<|;»¥\r\n"


def convert(command: str, content: bytes, *options: str) -> program.Result:
    return run(*command.split(), "-", *options, stdin=content)


def as_csv(names: list[str], rows: list[list[str]]) -> bytes:
    text = io.StringIO(newline="")
    csv.writer(text).writerows([names, *rows])
    return text.getvalue().encode()


def from_csv(content: bytes) -> list[list[str]]:
    return list(csv.reader(io.StringIO(content.decode(), newline="")))


def reads_as(form: Form, names: list[str], rows: list[list[str]]) -> None:
    """What a file is converted to is this table, for a reader of JSON or CSV."""
    content = form.file(names, rows)
    result = convert("to-json --lossy", content, *form.reading())
    expect((form, names, rows, result.errors), SUCCESS, result.code)
    expect((form, names, rows), [dict(zip(names, row)) for row in rows], json.loads(result.output))
    result = convert("to-csv --lossy", content, *form.reading())
    expect((form, names, rows, result.errors), SUCCESS, result.code)
    expect((form, names, rows), [names, *rows], from_csv(result.output))


def is_written(form: Form, names: list[str], rows: list[list[str]]) -> bool:
    """Whether the table is written, from JSON and CSV alike: as this file, or not at all."""
    options = [*form.reading(), "--bom" if form.mark else "--no-bom", "--line-breaks", str(form.breaks)]
    lines = "\n".join(json.dumps(dict(zip(names, row))) for row in rows).encode()
    results = [convert("from-json", lines, *options),
               convert("from-csv --delimiter ,", as_csv(names, rows), *options)]
    for result in results:
        expect((form, names, rows, result.errors), results[0].code, result.code)
        if result.code == SUCCESS:
            expect((form, names, rows), form.file(names, rows), result.output)
            continue
        expect((form, names, rows), (DEFECTS, b""), (result.code, result.output))
        if form.holds(names, rows):
            contains("would be read as", result.errors)
    return results[0].code == SUCCESS


def test_random_tables_against_the_model(_: pathlib.Path) -> None:
    dice = random.Random(program.seed(21))
    read = written = 0
    for _ in range(program.tables(60)):
        form = random_form(dice)
        names, rows = random_table(dice, HOSTILE, 4)
        if form.holds(names, rows):
            reads_as(form, names, rows)
            read += 1
        written += is_written(form, names, rows)
    expect("some were compared", True, min(read, written) >= 5)


program.main(globals())
