"""Files as people have them: a line break at the end, UTF-8 without a byte order mark, columns that are called
like those of a file of several collections, every byte of a code page, markers of one's own."""

import json
import pathlib

import program
from program import DEFECTS, SUCCESS, USAGE, contains, encoded, expect, path, run

HEAD = "DataString|Name|;"


def put(folder: pathlib.Path, content: bytes, name: str = "a.txt") -> str:
    (folder / name).write_bytes(content)
    return path(folder / name)


def output(*arguments: str, stdin: bytes = b"") -> bytes:
    result = run(*arguments, stdin=stdin)
    expect((*arguments, result.errors), SUCCESS, result.code)
    return result.output


def test_a_tail_after_the_last_record_end_is_no_record(folder: pathlib.Path) -> None:
    for tail in ("\n", "\r\n", "\r\n\r\n", "\r\n" * 5, " ", "\0\0", "\x1a", "\n \t\r\n\0\x1a"):
        original = encoded("T|;aaa|;" + tail)
        file = put(folder, original)
        expect("check", (SUCCESS, b""), (run("check", file).code, run("check", file).output))
        made = output("to-json", file)
        expect("to-json", [{"T": "aaa"}], json.loads(made))
        expect("to-csv", b"T\r\naaa\r\n", output("to-csv", file))
        expect("like it", original, output("from-json", "-", "--like", file, stdin=made))
        expect("view", 3, len(output("view", file).splitlines()))
        out = path(folder / "out.txt")
        expect("salvage", SUCCESS, run("salvage", file, "-o", out, "--force").code)
        expect("salvage", original, (folder / "out.txt").read_bytes())
    contains("byte 8: 1 byte of line breaks", run("check", put(folder, encoded("T|;aaa|;\n"))).errors)


def test_a_tail_of_a_file_of_several_collections(folder: pathlib.Path) -> None:
    original = encoded(HEAD + "T<>a<>|One|;\n")
    file = put(folder, original)
    expect("check", SUCCESS, run("check", file).code)
    made = output("to-json", file)
    expect("to-json", {"One": [{"T": "a"}]}, json.loads(made))
    expect("like it", original, output("from-json", "-", "--like", file, stdin=made))
    expect("view", 3, len(output("view", file).splitlines()))
    contains("collections   1\n", output("info", file).decode())


def test_other_text_after_the_last_record_end_is_named_by_its_byte(folder: pathlib.Path) -> None:
    file = put(folder, encoded("T|;aaa|;x\n"))
    for command in ("to-json", "to-csv"):
        result = run(command, file)
        expect(command, DEFECTS, result.code)
        contains("byte 8: the last record has no record end", result.errors)


def test_columns_that_are_called_DataString_and_Name(folder: pathlib.Path) -> None:
    text = HEAD + "two litres|Milk|;|Water|;"
    file = put(folder, encoded(text))
    rows = [{"DataString": "two litres", "Name": "Milk"}, {"DataString": "", "Name": "Water"}]
    expect("to-json", rows, json.loads(output("to-json", file)))
    expect("back", encoded(text), output("from-json", "-", stdin=output("to-json", file)))
    contains("1  two litres  Milk", output("view", file).decode())
    out = path(folder / "out.txt")
    expect("salvage", SUCCESS, run("salvage", file, "-o", out).code)
    expect("salvage", encoded(text), (folder / "out.txt").read_bytes())
    expect("check", SUCCESS, run("check", file).code)


def test_either_reading_can_be_forced(folder: pathlib.Path) -> None:
    lists = put(folder, encoded(HEAD + "T<>a<>|One|;"))
    expect("plain", [{"DataString": "T»Ša»Š", "Name": "One"}], json.loads(output("to-json", lists, "--plain")))
    contains("T»Ša»Š", output("view", lists, "--plain").decode())
    damaged = put(folder, encoded(HEAD + "T<>a<>|One|;damaged|Two|;"), "b.txt")
    contains("Collection", output("view", damaged, "--collections").decode())
    contains("collection 2: there is no record end", run("check", damaged, "--collections").text)
    books = put(folder, encoded("T|;a|;"), "c.txt")
    result = run("check", books, "--collections")
    expect("not several", USAGE, result.code)
    contains("no header with DataString and Name", result.errors)


def test_what_would_be_read_as_several_is_written_only_on_demand(_: pathlib.Path) -> None:
    for rows in ([{"DataString": "", "Name": "x"}], [{"DataString": "T»Š", "Name": "x"}],
                 [{"name": "x", "datastring": "T»Ša»Š"}]):
        made = json.dumps(rows).encode()
        result = run("from-json", "-", stdin=made)
        expect(rows, DEFECTS, result.code)
        contains("--plain", result.errors)
        written = output("from-json", "-", "--plain", stdin=made)
        expect(rows, rows, json.loads(output("to-json", "-", "--plain", stdin=written)))
    made = json.dumps([{"DataString": "two litres", "Name": "Milk"}]).encode()
    expect("not several", encoded(HEAD + "two litres|Milk|;"), output("from-json", "-", stdin=made))


def test_utf_8_without_a_byte_order_mark(folder: pathlib.Path) -> None:
    rows = [{"T": "Čeština"}, {"T": "день"}, {"T": "日本"}]
    text = encoded("T|;Čeština|;день|;日本|;", "utf-8")
    file = put(folder, text)
    expect("check", (SUCCESS, b""), (run("check", file).code, run("check", file).output))
    expect("to-json", rows, json.loads(output("to-json", file)))
    contains("encoding      utf-8, detected\n", output("info", file).decode())
    made = output("from-json", "-", "--encoding", "utf-8", stdin=json.dumps(rows).encode())
    expect("its own output", rows, json.loads(output("to-json", "-", stdin=made)))
    expect("like it", text, output("from-json", "-", "--like", file, stdin=output("to-json", file)))


def test_every_byte_of_a_code_page(folder: pathlib.Path) -> None:
    markers = ("--field-end", "U+001F", "--record-end", "U+001E")
    value = bytes(byte for byte in range(256) if byte not in (0x1E, 0x1F))
    original = b"T\x1f\x1e" + value + b"\x1f\x1e"
    file = put(folder, original)
    for page in ("1252", "874", "1253", "1255", "1257"):
        given = (*markers, "--encoding", page)
        made = output("to-json", file, *given)
        expect(page, original, output("from-json", "-", *given, stdin=made))
        csv = output("to-csv", file, *given)
        expect(page, original, output("from-csv", "-", *given, stdin=csv))


def test_markers_that_hold_or_overlap_each_other(folder: pathlib.Path) -> None:
    for field, record in (("||", ";"), ("||", "\n"), ("<>", "<<>>"), ("ab", "bc")):
        markers = ("--field-end", field, "--record-end", record)
        original = f"T{field}U{field}{record}x{field}1{field}{record}".encode()
        file = put(folder, original)
        made = output("to-json", file, *markers)
        expect((field, record), [{"T": "x", "U": "1"}], json.loads(made))
        expect((field, record), original, output("from-json", "-", *markers, stdin=made))
        expect((field, record), SUCCESS, run("check", file, *markers).code)
    rows = json.dumps([{"T": "a|", "U": "b"}]).encode()
    result = run("from-json", "-", "--field-end", "||", "--record-end", ";", stdin=rows)
    expect("refused", DEFECTS, result.code)
    contains("would be read back differently", result.errors)
    rows = json.dumps([{"T": "a", "U": "b|"}]).encode()
    expect("the last field", b"T||U||;a||b|||;",
           output("from-json", "-", "--field-end", "||", "--record-end", ";", stdin=rows))


def test_header_names_with_inner_markers(_: pathlib.Path) -> None:
    for rows in ([{"T»": "1"}], [{"»Š": "1", "x": "2"}], [{"x": "1", "a»b»Š": "2"}]):
        made = json.dumps(rows).encode()
        result = run("from-json", "-", stdin=made)
        if result.code == SUCCESS:
            expect(rows, rows, json.loads(output("to-json", "-", stdin=result.output)))
        else:
            contains("read as", result.errors)


def test_csv_of_other_programs(folder: pathlib.Path) -> None:
    wanted = encoded("Titel|Preis|;Käse|1,50|;")
    text = "Titel;Preis\r\nKäse;1,50\r\n"
    for csv, *options in ((text.encode(),), (b"\xef\xbb\xbf" + text.encode(),),
                          (text.encode("cp1252"), "--input-encoding", "windows-1252"),
                          (b"\xff\xfe" + text.encode("utf-16le"),), (b"\xfe\xff" + text.encode("utf-16be"),),
                          (text.encode("utf-16le"), "--input-encoding", "utf-16")):
        for place in ((), ("-o", path(folder / "out.txt"), "--force")):
            result = run("from-csv", "-", *options, *place, stdin=csv)
            made = (folder / "out.txt").read_bytes() if place else result.output
            expect((csv, result.errors), (SUCCESS, wanted), (result.code, made))
            expect("once", 1, result.errors.count("semicolons separate the values"))
    tabs = run("from-csv", "-", stdin=text.replace(";", "\t").encode())
    expect("tabs", wanted, tabs.output)
    contains("tabs separate the values", tabs.errors)
    given = run("from-csv", "-", "--delimiter", ";", stdin=text.encode())
    expect("given", (wanted, ""), (given.output, given.errors))
    wrong = run("from-csv", "-", stdin=text.encode("cp1252"))
    expect("no UTF-8", DEFECTS, wrong.code)
    contains("--input-encoding", wrong.errors)
    expect("no encoding", USAGE, run("from-csv", "-", "--input-encoding", "latin", stdin=text.encode()).code)


def test_ragged_rows(_: pathlib.Path) -> None:
    csv = b"a,b\n1\n2,3\n"
    result = run("from-csv", "-", stdin=csv)
    expect("refused", (DEFECTS, b""), (result.code, result.output))
    contains("row 2 has 1 value, the header 2; --ragged pad fills missing values up", result.errors)
    expect("error", DEFECTS, run("from-csv", "-", "--ragged", "error", stdin=csv).code)
    expect("pad", encoded("a|b|;1||;2|3|;"), output("from-csv", "-", "--ragged", "pad", stdin=csv))
    dropped = run("from-csv", "-", "--ragged", "drop", stdin=csv)
    expect("drop", (SUCCESS, encoded("a|b|;2|3|;")), (dropped.code, dropped.output))
    expect("once", 1, dropped.errors.count("left out: 1 row with more or fewer values"))
    expect("another word", USAGE, run("from-csv", "-", "--ragged", "fill", stdin=csv).code)


def test_a_refusal_that_utf_8_cures_says_so(_: pathlib.Path) -> None:
    greek = '[{"a":"α"}]'.encode()
    # As windows-1252 the bytes C2 A5, of a field end, make a file look like UTF-8.
    like_utf_8 = json.dumps([{"Â": "Â", "â": "â"}]).encode()
    for made, *options in ((greek,), (like_utf_8,), (greek, "--encoding", "1253"), (b'[{"a":"1"}]', "--encoding", "1251")):
        result = run("from-json", "-", *options, stdin=made)
        expect((made, options), b"", result.output)
        contains("utf-8", result.errors)
        expect("cured", SUCCESS, run("from-json", "-", "--encoding", "utf-8", "--bom", stdin=made).code)


def test_a_number_keeps_its_text(_: pathlib.Path) -> None:
    for number in ("1E400", "-1e-400", "1.50", "123456789012345678901234567890"):
        expect(number, encoded(f"a|;{number}|;"), output("from-json", "-", stdin=b'[{"a":%s}]' % number.encode()))


program.main(globals())
