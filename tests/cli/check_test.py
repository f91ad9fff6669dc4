"""brindlex check: every defect, at its byte."""

import json
import pathlib
import random

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run

REFUSED = 'the component refuses the whole text: "Error ADTC", '
SPLIT = ('the component refuses the whole text: "Application Error", number 5, in SplitString, then '
         '"Error ADTC", number 9, line ')
DROPPED = "the component drops it without a report"


def check(folder: pathlib.Path, text: str | bytes, *options: str) -> program.Result:
    file = folder / "a.txt"
    file.write_bytes(text if isinstance(text, bytes) else encoded(text))
    return run("check", path(file), *options)


def lines(folder: pathlib.Path, text: str | bytes, *options: str) -> list[str]:
    result = check(folder, text, *options)
    found = result.text.splitlines()
    expect("code", DEFECTS if found else SUCCESS, result.code)
    prefix = path(folder / "a.txt") + ":"
    for line in found:
        expect("file", prefix, line[: len(prefix)])
    return [line[len(prefix):] for line in found]


def mismatch(record: int) -> str:
    return REFUSED + f"\"Fields in record don't match field list, record number {record}\""


def test_valid_files(folder: pathlib.Path) -> None:
    for text in ("", "Title|Price|;a|1|;", "Title|Price|;\r\na|1|;\r\n\r\n\r\n", "T|;a|;\n",
                 "T<P<>a<1<>", "DataString|Name|;T<P<>a<1<>|Items|;|Empty|;"):
        expect(text, [], lines(folder, text))


def test_each_defect(folder: pathlib.Path) -> None:
    rows = {
        "A|B|;x|;": [f"7:1:2: 1 field where the header has 2; {mismatch(1)}"],
        "A|B|;x|y|;x|yy|z|;": [f"15:2:3: 3 fields where the header has 2; {mismatch(2)}"],
        "A|B|;;x|y|;": [f"5:1:0: an empty record; {SPLIT}6"],
        "A|B|;x;x|y|;": [f"5:1:0: a record without a field end; {SPLIT}6"],
        "A|B|;x|y;": [f"8:1:2: 1 field where the header has 2; {mismatch(1)}",
                      f"7:1:2: text after the last field end; {DROPPED}"],
        "A|B|;x|y|z;": [f"9:1:3: text after the last field end; {DROPPED}"],
        "A|B|C;x|y|;": [f"4:0:3: text after the last field end of the header; {DROPPED}"],
        "A|B|;x|y|;x|y|": [f"10:2:0: the last record has no record end; {DROPPED}"],
        "A|B|": [f"4:0:0: there is no record end in the text; {SPLIT}4"],
        "\r\n": [f"2:0:0: there is no record end in the text; {SPLIT}4"],
        "A;x|;": ["0:0:0: the header has no field end; "
                  "the component returns no collection, without a report"],
        "A|;": ["3:1:0: a header without records; "
                "the component returns no collection, without a report"],
        "A||;x|y|;": ["2:0:2: a blank name in the header; the component skips the column"],
        "\r\nA|;x|;": ["0:0:1: the name \"\\x0D\\x0AA\" begins with a line break; the component takes "
                       "it for a part of the name and skips the column"],
        "Aé|B|AÉ|;x|y|z|;": ["5:0:3: the name \"AÉ\" is also that of field 1; the component sets the "
                             "property from both, so that the later column wins, and its "
                             "FieldNamesCollection raises error 457"],
    }
    for text, expected in rows.items():
        expect(text, expected, lines(folder, text))


def test_line_breaks_after_record_ends_belong_to_no_record(folder: pathlib.Path) -> None:
    expect("break", [f"7:1:0: an empty record; {SPLIT}6"], lines(folder, "A|B|;\r\n;x|y|;"))
    expect("rest", [f"12:2:0: the last record has no record end; {DROPPED}"],
           lines(folder, "A|B|;x|y|;\r\nrest"))


def test_characters(folder: pathlib.Path) -> None:
    expect("1252", [], lines(folder, encoded("A|B|;x") + b"\x81\x8d" + encoded("|y|;")))
    given = ("--encoding", "utf-8")
    text = "A|;€|;".encode().replace(b"|", "¥".encode()).replace(b";", "Œ".encode())
    expect("utf-8", [], lines(folder, text, *given))
    at = text.index(b"\xe2")
    found = lines(folder, text[:at + 2] + text[at + 3:], *given)
    contains(f"{at}:1:1: the bytes E2 82 are", found[0])
    found = lines(folder, text[:at] + b"\xff" + text[at:], *given)
    contains(f"{at}:1:1: the bytes FF are ill-formed utf-8", found[0])
    wide = encoded("A|;x|;", "utf-16-le")
    expect("utf-16", [], lines(folder, wide, "--encoding", "utf-16"))
    expect("byte order mark", [], lines(folder, b"\xff\xfe" + wide))
    at = wide.index(b"x")
    found = lines(folder, wide[:at] + b"\x00\xd8" + wide[at:], "--encoding", "utf-16")
    contains(f"{at}:1:1: the bytes 00 D8 are an unpaired surrogate of utf-16le", found[0])


def test_keys(folder: pathlib.Path) -> None:
    effect = '; the component refuses the whole text: "Error ADTC", number 457, line 8'
    expect("case", ['15:3:1: the key "äB" is also that of record 1' + effect],
           lines(folder, "A|B|;Äb|1|;|2|;äB|3|;", "--key", "A"))
    expect("none", [], lines(folder, "A|B|;Äb|1|;äB|3|;"))
    expect("second column", ['11:2:2: the key "x" is also that of record 1' + effect],
           lines(folder, "A|A|;x|y|;|x|;", "--key", "A")[1:])
    expect("spelling", ['0:0:0: no column is called exactly "a"; '
                        'the component adds every record without a key'],
           lines(folder, "A|;x|;x|;", "--key", "a"))


def test_several_collections(folder: pathlib.Path) -> None:
    head = "DataString|Name|;"
    inner = 'collection 2: 1 field where the header has 2; the component refuses this collection: '
    found = lines(folder, head + "T<>a<>|One|;T<P<>a<>|Two|;")
    expect("inner", 1, len(found))
    contains("36:1:2: " + inner, found[0])
    found = lines(folder, head + "T<>a<>|One|;T<>b<>|ONE|;")
    contains('36:2:2: the collection name "ONE" is also that of record 1; the component refuses the whole '
             'text with all its collections', found[0])
    found = lines(folder, head + "T<>a<>||;")
    contains("24:1:2: a collection without a name; the component never finds it again", found[0])
    found = lines(folder, "DataString|NAME|;T<>a<>|One|;")
    contains("0:0:2: the header does not spell its column exactly Name", found[0])
    found = lines(folder, head + "T<>a<>a<>|One|;T<>a<>a<>b<>|Two|;", "--key", "T")
    expect("keys", ["23:2:1: collection 1", "38:2:1: collection 2"],
           [line[: line.index(": the")] for line in found])
    found = lines(folder, head + "T<>a<>\x81<>|One|;".replace("\x81", "x|y") + "T<>a<>|Two|;")
    contains(":1:3: 3 fields where the header has 2", found[-1])


def test_a_code_page_that_has_no_markers_of_its_own(folder: pathlib.Path) -> None:
    given = ("--encoding", "1251", "--field-end", "|", "--record-end", ";")
    expect("valid", [], lines(folder, "А|;Привет|;".encode("cp1251"), *given))
    expect("98", [], lines(folder, "А|;Привет".encode("cp1251") + b"\x98|;", *given))
    expect("none given", USAGE, check(folder, b"", "--encoding", "1251").code)


def test_given_markers(folder: pathlib.Path) -> None:
    text = b"A\x1fB\x1f\x1ex\x1f\x1e"
    found = lines(folder, text, "--field-end", "U+001F", "--record-end", "U+001E")
    contains("7:1:2: 1 field where the header has 2", found[0])
    found = lines(folder, b"A<f>B<f><r>x<f><r>", "--field-end", "<f>", "--record-end", "<r>")
    contains("15:1:2: 1 field where the header has 2", found[0])


def test_json(folder: pathlib.Path) -> None:
    result = check(folder, "A|B|;x|;x|y|z;", "--json")
    expect("code", DEFECTS, result.code)
    found = json.loads(result.text)
    expect("kinds", ["field-count", "text-behind-field-end"], [d["kind"] for d in found])
    expect("places", [(7, 1, 2), (12, 2, 3)], [(d["byte"], d["record"], d["field"]) for d in found])
    expect("none", [], json.loads(check(folder, "A|B|;x|y|;", "--json").text))


def test_exit_codes(folder: pathlib.Path) -> None:
    (folder / "good").write_bytes(encoded("A|;x|;"))
    (folder / "bad").write_bytes(encoded("A|;;"))
    good, bad, none = (path(folder / name) for name in ("good", "bad", "none"))
    expect("bad last", DEFECTS, run("check", good, bad).code)
    expect("bad first", DEFECTS, run("check", bad, good).code)
    result = run("check", none, bad)
    expect("no file", INPUT_OUTPUT, result.code)
    contains("cannot read " + none, result.errors)
    contains("an empty record", result.text)
    expect("no argument", USAGE, run("check").code)
    expect("encoding", USAGE, run("check", good, "--encoding", "ebcdic").code)
    expect("markers", USAGE, run("check", good, "--field-end", "|", "--record-end", "|").code)


def test_patterns_where_no_shell_expands_them(folder: pathlib.Path) -> None:
    for name in ("b.txt", "a.txt", "c.dat"):
        (folder / name).write_bytes(encoded("A|;x|;;"))
    result = run("check", path(folder / "*.txt"))
    if program.IS_WINDOWS:
        expect("files", [path(folder / "a.txt"), path(folder / "b.txt")],
               [line[: line.index(":6:")] for line in result.text.splitlines()])
    else:
        contains("*.txt: No such file", result.errors)
    expect("no such files", INPUT_OUTPUT, run("check", path(folder / "*.none")).code)


def test_standard_input(_: pathlib.Path) -> None:
    result = run("check", "-", stdin=encoded("A|;;"))
    expect("code", DEFECTS, result.code)
    contains("-:3:1:0: an empty record", result.text)


def test_hint(folder: pathlib.Path) -> None:
    text = "A|;x|;".translate(str.maketrans("|;", "¥Œ")).encode()
    contains("try --encoding utf-8", check(folder, text, "--encoding", "1252").errors)
    expect("detected", [], lines(folder, text))


def plant(random_: random.Random, rows: list[list[str]]) -> tuple[str, set[tuple[int, int, int]]]:
    """A text with defects in some records, and the places where they must be found."""
    text, places = "A|B|C|;", set()
    for number, row in enumerate(rows, 1):
        start = len(text)
        kind = random_.randrange(40)
        if kind == 0:  # the last field end is missing
            text += "|".join(row) + ";"
            places |= {(len(text) - 1, number, 3), (len(text) - 1 - len(row[2]), number, 3)}
        elif kind == 1:  # a field end in a value
            text += f"{row[0]}|{row[1]}|x|y|;"
            places.add((len(text) - 3, number, 4))
        elif kind == 2:  # nothing at all
            text += ";"
            places.add((start, number, 0))
        else:
            text += "|".join(row) + "|;"
    return text, places


def test_planted_defects_in_large_files(folder: pathlib.Path) -> None:
    random_ = random.Random(5)
    for size in (10, 1000, 30000):
        rows = [["x" * random_.randrange(60), str(random_.randrange(1000)), "y" * random_.randrange(9)]
                for _ in range(size)]
        text, places = plant(random_, rows)
        bytes_ = text.replace("|", "\xa5").replace(";", "\x8c").encode("latin-1")
        found = {tuple(int(part) for part in line.split(":")[:3]) for line in lines(folder, bytes_)}
        expect(f"{size} records", places, found)
        # The same text as a collection, after another one and before a third.
        before = encoded("DataString|Name|;T<>a<>|One|;")
        inner = bytes_.replace(b"\xa5", b"\xbb").replace(b"\x8c", b"\x8a")
        blocks = before + inner + encoded("|Two|;T<>a<>|Three|;")
        found = lines(folder, blocks)
        expect("collection", {"collection 2"}, {line.split(": ")[1] for line in found} | {"collection 2"})
        places = {(at + len(before), record, field) for at, record, field in places}
        expect(f"{size} records of a collection", places,
               {tuple(int(part) for part in line.split(":")[:3]) for line in found})


program.main(globals())
