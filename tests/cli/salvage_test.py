"""brindlex salvage: what is whole, what is not, and what can be joined again."""

import pathlib
import random

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run

NUMBERS = "".join(f"Title {n}|{n}|;" for n in range(1, 9))


def salvage(folder: pathlib.Path, text: str | bytes, *options: str) -> tuple[program.Result, bytes, bytes]:
    """The result, the valid and the damaged records."""
    file, out = folder / "a.txt", folder / "out.txt"
    for name in ("out.txt", "out.txt.damaged"):
        (folder / name).unlink(missing_ok=True)
    given = text if isinstance(text, bytes) else encoded(text)
    file.write_bytes(given)
    result = run("salvage", path(file), "-o", path(out), *options)
    expect("the file itself", given, file.read_bytes())
    damaged = folder / "out.txt.damaged"
    left = {file.name, out.name, damaged.name}
    expect("nothing else is left", set(), {f.name for f in folder.iterdir()} - left)
    return (result, out.read_bytes() if out.exists() else b"",
            damaged.read_bytes() if damaged.exists() else b"")


def test_a_valid_file_is_copied(folder: pathlib.Path) -> None:
    for text in ("A|B|;1|2|;\r\n3|4|;", "DataString|Name|;A<>x<>|One|;|Two|;", "A|;1|;\r\n\r\n\r\n\r\n2|;", "A|;1|;\n", "A|;1|;\r\n\r\n\r\n\r\n \0\x1a"):
        result, out, damaged = salvage(folder, text)
        expect("code", SUCCESS, result.code)
        expect("out", encoded(text), out)
        expect("damaged", b"", damaged)
        expect("output", "", result.text)


def test_damaged_records_are_put_apart(folder: pathlib.Path) -> None:
    result, out, damaged = salvage(folder, "A|B|;1|2|;3|;\r\n;x;5|6|7;8|9|;rest")
    expect("code", DEFECTS, result.code)
    expect("out", encoded("A|B|;1|2|;8|9|;"), out)
    expect("damaged", encoded(
        "byte 10, record 2: 1 of 2 fields\r\n3|;\r\n\r\n"
        "byte 15, record 3: an empty record\r\n;\r\n\r\n"
        "byte 16, record 4: no field end\r\nx;\r\n\r\n"
        "byte 18, record 5: text after the last field end\r\n5|6|7;\r\n\r\n"
        "byte 29, record 7: no record end\r\nrest\r\n\r\n"), damaged)
    contains("2 records valid, in ", result.errors)
    contains("; 5 damaged, in ", result.errors)
    contains(f"{path(folder / 'a.txt')}:10:2:0: 1 of 2 fields\n", result.text)


def test_joins_are_proposed_and_not_made(folder: pathlib.Path) -> None:
    result, out, damaged = salvage(folder, "Title|Count|;" + NUMBERS + "a|b|3|;")
    expect("out", encoded("Title|Count|;" + NUMBERS), out)
    contains('3 of 2 fields; join fields 1 to 2 as "Title"\n', result.text)
    contains(encoded("a|b|3|;").decode("latin-1"), damaged.decode("latin-1"))


def test_the_one_join_that_fits_is_made(folder: pathlib.Path) -> None:
    result, out, damaged = salvage(folder, "Title|Count|;" + NUMBERS + "a|b|3|;", "--join")
    expect("code", DEFECTS, result.code)
    expect("out", encoded("Title|Count|;" + NUMBERS + "a b|3|;"), out)
    expect("damaged", b"", damaged)
    contains('joined fields 1 to 2 as "Title"', result.text)
    contains("8 records valid, 1 joined", result.errors)
    result, out, _ = salvage(folder, "Title|Count|;" + NUMBERS + "a|b|c|3|;", "--join", "--replace", "/")
    expect("three", encoded("Title|Count|;" + NUMBERS + "a/b/c|3|;"), out)


def test_a_join_that_is_not_the_only_one_is_not_made(folder: pathlib.Path) -> None:
    rows = "".join(f"Title {n}|Author {n * 7}|{n}|;" for n in range(1, 9))
    result, out, _ = salvage(folder, "T|A|N|;" + rows + "a|b|c|3|;", "--join")
    expect("out", encoded("T|A|N|;" + rows), out)
    contains('join fields 1 to 2 as "T", or join fields 2 to 3 as "A"\n', result.text)


def test_a_column_of_few_values_decides(folder: pathlib.Path) -> None:
    rows = "".join(f"Title {n}|{'red' if n % 2 else 'green'}|;" for n in range(100))
    _, out, _ = salvage(folder, "T|C|;" + rows + "a|b|red|;", "--join")
    expect("out", encoded("T|C|;" + rows + "a b|red|;"), out)


def test_no_join_that_fits(folder: pathlib.Path) -> None:
    result, out, _ = salvage(folder, "Title|Count|;" + NUMBERS + "a|b|c|;", "--join")
    expect("out", encoded("Title|Count|;" + NUMBERS), out)
    contains("no join of neighbours fits", result.text)


def test_a_record_end_in_a_value(folder: pathlib.Path) -> None:
    rows = "".join(f"{n}|Text {n}|{n}|;" for n in range(1, 9))
    text = "N|T|M|;" + rows + "9|a;b|9|;10|Text|10|;"
    result, out, damaged = salvage(folder, text)
    expect("out", encoded("N|T|M|;" + rows + "10|Text|10|;"), out)
    contains('join it with record 10 in "T"', result.text)
    contains('join it with record 9 in "T"', result.text)
    result, out, damaged = salvage(folder, text, "--join")
    expect("joined", encoded("N|T|M|;" + rows + "9|a b|9|;10|Text|10|;"), out)
    expect("nothing left", b"", damaged)
    contains('joined with record 10 in "T"', result.text)


def test_several_collections(folder: pathlib.Path) -> None:
    inner = "Title<Count<>" + "".join(f"T{n}<{n}<>" for n in range(1, 6))
    text = f"DataString|Name|;{inner}a<>|One|;{inner}a<b<3<>|Two|;"
    result, out, damaged = salvage(folder, text)
    expect("out", encoded(f"DataString|Name|;{inner}|One|;{inner}|Two|;"), out)
    contains("2 collections valid", result.errors)
    contains("10 records valid", result.errors)
    contains("collection 1: 1 of 2 fields", result.text)
    contains("byte 60, collection 1, record 6: 1 of 2 fields\r\n", damaged.decode("cp1252"))
    _, out, _ = salvage(folder, text, "--join")
    expect("joined", encoded(f"DataString|Name|;{inner}|One|;{inner}a b<3<>|Two|;"), out)


def test_an_outer_marker_in_a_collection(folder: pathlib.Path) -> None:
    text = "DataString|Name|;T<C<>a|b<1<>c<2<>|One|;T<>x<>|Two|;"
    result, out, _ = salvage(folder, text)
    expect("apart", encoded("DataString|Name|;T<>x<>|Two|;"), out)
    contains('3 of 2 fields; join fields 1 to 2 as "DataString"', result.text)
    _, out, _ = salvage(folder, text, "--join", "--replace", "_")
    expect("joined", encoded("DataString|Name|;T<C<>a_b<1<>c<2<>|One|;T<>x<>|Two|;"), out)


def test_other_encodings(folder: pathlib.Path) -> None:
    for name, codec, mark in (("utf-8", "utf-8", b""), ("utf-16", "utf-16-le", b"\xff\xfe")):
        text = "A|B|;ä|2|;3|;\U0001F600|4|;"
        result, out, damaged = salvage(folder, mark + encoded(text, codec), "--encoding", name)
        expect("out", mark + encoded("A|B|;ä|2|;\U0001F600|4|;", codec), out)
        expect("mark", mark, damaged[: len(mark)])
        contains("record 2: 1 of 2 fields\r\n3¥Œ\r\n", damaged[len(mark):].decode(codec))


def test_long_records_and_many_blocks(folder: pathlib.Path) -> None:
    random_ = random.Random(3)
    whole, damaged_count, text = "A|B|;", 0, "A|B|;"
    for n in range(3000):
        row = "x" * random_.choice((5, 20, 400_000 if n % 1500 == 7 else 9)) + f"|{n}|;"
        if n % 50 == 3:
            text += "y" * (300_000 if n == 1503 else 3) + ";"
            damaged_count += 1
        else:
            whole += row
            text += row
    result, out, _ = salvage(folder, text)
    expect("out", True, encoded(whole) == out)
    contains(f"{damaged_count} damaged", result.errors)


def test_what_is_refused(folder: pathlib.Path) -> None:
    file, out = folder / "a.txt", folder / "b.txt"
    file.write_bytes(encoded("A|;x|;;"))
    expect("onto itself", USAGE, run("salvage", path(file), "-o", path(file), "--force").code)
    expect("damaged onto itself", USAGE,
           run("salvage", path(file), "-o", path(out), "--damaged", path(file), "--force").code)
    expect("no output", USAGE, run("salvage", path(file)).code)
    out.write_bytes(b"mine")
    expect("no force", USAGE, run("salvage", path(file), "-o", path(out)).code)
    expect("untouched", b"mine", out.read_bytes())
    expect("force", DEFECTS, run("salvage", path(file), "-o", path(out), "--force").code)
    expect("again", USAGE, run("salvage", path(file), "-o", path(folder / "c"), "--damaged",
                               path(folder / "b.txt.damaged")).code)
    expect("a marker", USAGE, run("salvage", path(file), "-o", path(folder / "c"), "--replace", "¥").code)
    expect("no folder", INPUT_OUTPUT, run("salvage", path(file), "-o", path(folder / "no" / "c")).code)


def test_from_standard_input(folder: pathlib.Path) -> None:
    for text in ("A|;x|;;", "DataString|Name|;T<C<>a|b<1<>|One|;T<>x<>|Two|;"):
        expect("of a file", DEFECTS, salvage(folder, text)[0].code)
        made = [(folder / name).read_bytes() for name in ("out.txt", "out.txt.damaged")]
        expect("of a pipe", DEFECTS, run("salvage", "-", "-o", path(folder / "out.txt"), "--force",
                                         stdin=encoded(text)).code)
        expect("the same", made, [(folder / name).read_bytes() for name in ("out.txt", "out.txt.damaged")])


def test_to_standard_output(folder: pathlib.Path) -> None:
    file = folder / "a.txt"
    file.write_bytes(encoded("A|;x|;;"))
    expect("no place for the others", USAGE, run("salvage", path(file), "-o", "-").code)
    result = run("salvage", path(file), "-o", "-", "--damaged", path(folder / "d"))
    expect("data alone", encoded("A|;x|;"), result.output)


program.main(globals())
