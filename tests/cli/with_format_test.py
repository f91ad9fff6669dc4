"""Files that go through JSON or CSV with their format, and come back as the same bytes."""

import itertools
import json
import pathlib

import program
from program import DEFECTS, SUCCESS, USAGE, contains, encoded, expect, path, run

MARKS = {"utf-8": b"\xef\xbb\xbf", "utf-16le": b"\xff\xfe", "utf-16be": b"\xfe\xff"}
PAGES = ("windows-1252", "windows-1254", "windows-1250", "windows-874")
ROUTES = (("to-json", "from-json"), ("to-json --arrays", "from-json"), ("to-json --infer", "from-json"),
          ("to-csv", "from-csv"), ("to-csv --delimiter ;", "from-csv"), ("to-csv --delimiter = --bom --guard-formulas",
                                                                          "from-csv --delimiter = --guard-formulas"))


def output(*arguments: str, stdin: bytes = b"") -> bytes:
    result = run(*arguments, stdin=stdin)
    expect((*arguments, result.errors), SUCCESS, result.code)
    return result.output


def there(route: str, original: bytes, *options: str) -> bytes:
    return output(*route.split(), "-", "--with-format", *options, stdin=original)


def comes_back(original: bytes, *options: str, routes: tuple = ROUTES) -> None:
    """The options are needed to read the file; none is needed to write it."""
    for to, back in routes:
        if not program.is_sampled():
            continue
        made = there(to, original, *options)
        expect((to, options, made), original, output(*back.split(), "-", stdin=made))


def test_every_encoding_with_and_without_a_byte_order_mark(_: pathlib.Path) -> None:
    for encoding in MARKS:
        text = encoded("Titel|Preis|;Čeština, x|1.50|;=1+1|\t\"𝄞,\"\r\n|;", encoding)
        comes_back(MARKS[encoding] + text)
        comes_back(text, *(() if encoding == "utf-8" else ("--encoding", encoding)))
        comes_back(MARKS[encoding])
    for page in PAGES:
        # Not every page has the component's markers.
        text = "Titel\x1fPreis\x1f\x1eaé\x1f\x1f\x1e" if page != "windows-874" else "กข\x1fb\x1f\x1e\x1f\x1f\x1e"
        comes_back(text.encode(page.replace("windows-", "cp")), "--encoding", page, "--field-end", "U+001F", "--record-end",
                   "U+001E")
    comes_back(encoded("T|;é€|;"))
    # Needs --encoding, because it would be taken for UTF-8.
    comes_back("Â¥â¥ŒÂ¥â¥Œ".encode("cp1252"), "--encoding", "1252")
    comes_back(b"")


def test_markers(_: pathlib.Path) -> None:
    comes_back(encoded("T<U<>x<y|<>"))
    for field, record in (("||", ";"), ("||", "\n"), ("<>", "<<>>"), ("\x1f", "\x1e"), ("U=,", " ")):
        original = f"T{field}U{field}{record}x{field}1{field}{record}".encode()
        comes_back(original, "--field-end", field, "--record-end", record)
    comes_back(encoded("T>|;a|;", "utf-16le"), "--encoding", "utf-16", "--field-end", "¥", "--record-end", "Œ")


def test_line_breaks_and_what_follows_the_last_record_end(_: pathlib.Path) -> None:
    tails = ("", "\n", "\r\n", "\r\n" * 5, " \t\0\x1a", "\n" * 1000)
    for (encoding, breaks), tail in itertools.product((("cp1252", 0), ("cp1252", 2), ("utf-16be", 1)), tails):
        text = "T|U|;" + "\r\n" * breaks + "a|1|;" + "\r\n" * breaks + "b|2|;" + tail
        comes_back(MARKS.get(encoding, b"") + encoded(text, encoding))
    comes_back(encoded("T|;\r\n"), routes=ROUTES[3:])
    for made in ("T|;\r\na|;b|;", "T|;a|;\r\nb|;", "T|;\r\na|;\r\n\r\nb|;", "T|;a|;" + "\n" * 70000):
        for to, _back in ROUTES:
            result = run(*to.split(), "-", "--with-format", stdin=encoded(made))
            expect((to, made[:20]), (DEFECTS, b""), (result.code, result.output))
            contains("converting back would give another file", result.errors)


def test_several_collections(folder: pathlib.Path) -> None:
    for encoding in ("cp1252", "utf-16le", "utf-8"):
        text = encoded("DataString|Name|;T<>a<>|format|;|records|;\r\n", encoding)
        original = MARKS.get(encoding, b"") + text
        comes_back(original, routes=ROUTES[:2])
        made = json.loads(there("to-json", original))
        expect("shape", {"format": [{"T": "a"}], "records": []}, made["records"])
        one = MARKS.get(encoding, b"") + encoded("T|;a|;", encoding)
        (folder / "lists.txt").write_bytes(original)
        for to, back in ROUTES:
            csv = output(*to.split(), path(folder / "lists.txt"), "format", "--with-format")
            expect((to, encoding), one, output(*back.split(), "-", stdin=csv))
    comes_back(encoded("DataString|Name|;T<>a<>|x|;"), "--plain")
    expect("nothing", "", output("to-json", "-", stdin=b"").decode().strip("[]\n"))


def test_columns_that_are_called_like_the_members(_: pathlib.Path) -> None:
    comes_back(encoded("format|records|;1|2|;"))
    comes_back(encoded("brindlex-formats|brindlex-format|;1|2|;"))
    result = run("to-csv", "-", stdin=encoded("T|brindlex-format encoding=utf-8|;1|2|;"))
    expect("a name like that of the column", DEFECTS, result.code)
    contains("for the format of a file", result.errors)


def test_the_published_shapes(_: pathlib.Path) -> None:
    original = b"\xff\xfe" + encoded("T|U|;\r\na|1|;\r\n", "utf-16le")
    expect("json", {"format": {"encoding": "utf-16le", "bom": True, "field-end": "U+00A5", "record-end": "U+0152",
                               "line-breaks": 1, "tail": "0D000A00"},
                    "records": [{"T": "a", "U": "1"}]}, json.loads(there("to-json", original)))
    name = "brindlex-format encoding=utf-16le bom=true field-end=U+00A5 record-end=U+0152 line-breaks=1 tail=0D000A00"
    expect("csv", f"T,U,{name}\r\na,1,\r\n".encode(), there("to-csv", original))
    expect("of lines", USAGE, run("to-json", "-", "--lines", "--with-format", stdin=original).code)


def test_options_win(folder: pathlib.Path) -> None:
    original = b"\xff\xfe" + encoded("T|;a|;\r\n", "utf-16le")
    made = there("to-json", original)
    for options, wanted in (
            (("--encoding", "utf-8"), encoded("T|;a|;", "utf-8")),
            (("--encoding", "utf-8", "--bom"), b"\xef\xbb\xbf" + encoded("T|;a|;", "utf-8")),
            (("--encoding", "utf-16be"), b"\xfe\xff" + encoded("T|;a|;", "utf-16be")),
            (("--no-bom",), original[2:]),
            (("--line-breaks", "1"), b"\xff\xfe" + encoded("T|;\r\na|;\r\n", "utf-16le")),
            (("--field-end", "#"), b"\xff\xfe" + encoded("T#;a#;\r\n", "utf-16le"))):
        expect(options, wanted, output("from-json", "-", *options, stdin=made))
    (folder / "like.txt").write_bytes(encoded("T|;b|;\n"))
    expect("like", encoded("T|;a|;\n"), output("from-json", "-", "--like", path(folder / "like.txt"), stdin=made))


def test_a_format_that_is_damaged_is_refused(_: pathlib.Path) -> None:
    for made, why in (('{"format":{"encoding":"latin"},"records":[]}', 'member "encoding" with "latin"'),
                      ('{"format":{"colour":"red"},"records":[]}', 'member "colour"'),
                      ('{"format":{"bom":[]},"records":[]}', "an array where a value"),
                      ('{"format":{}}', "a format without records"),
                      ('{"format":{},"rows":[]}', "something other than the records"),
                      ('{"format":{},"records":[],"x":1}', "something other than the records"),
                      ('{"records":[],"format":{}}', "has to come first")):
        result = run("from-json", "-", stdin=made.encode())
        expect(made, (DEFECTS, b""), (result.code, result.output))
        contains(why, result.errors)


program.main(globals())
