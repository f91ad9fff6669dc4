"""The commands that convert: what they print, what they refuse, and that nothing is half written."""

import base64
import hashlib
import html.parser
import json
import pathlib

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run

BOOKS = encoded("Title|Price|;Moby “Dick”|1.50|;a,\"b\"\n|=1+1|;|True|;")
LISTS = encoded("DataString|Name|;Title<Count<>Alpha<3<>Beta<12<>|Items|;|Empty|;")


def file(folder: pathlib.Path, name: str, data: bytes) -> str:
    (folder / name).write_bytes(data)
    return path(folder / name)


def output(*arguments: str, stdin: bytes = b"") -> bytes:
    result = run(*arguments, stdin=stdin)
    expect(arguments, (SUCCESS, ""), (result.code, result.errors))
    return result.output


def refused(why: str, code: int, *arguments: str, stdin: bytes = b"") -> None:
    result = run(*arguments, stdin=stdin)
    expect(arguments, (code, b""), (result.code, result.output))
    contains(why, result.errors)


def test_json(folder: pathlib.Path) -> None:
    books = file(folder, "books.txt", BOOKS)
    wanted = """[
{"Title":"Moby “Dick”","Price":"1.50"},
{"Title":"a,\\"b\\"\\n","Price":"=1+1"},
{"Title":"","Price":"True"}
]
"""
    expect("to-json", wanted.encode(), output("to-json", books))
    expect("--lines", b'{"Title":"","Price":true}\n',
           output("to-json", books, "--lines", "--infer").splitlines(keepends=True)[2])
    expect("--arrays", [["Title", "Price"], ["Moby “Dick”", "1.50"]],
           json.loads(output("to-json", books, "--arrays"))[:2])
    for options in ((), ("--lines",), ("--arrays", "--infer")):
        made = output("to-json", books, *options)
        expect(options, BOOKS, output("from-json", "-", stdin=made))


def test_several_collections(folder: pathlib.Path) -> None:
    lists = file(folder, "lists.txt", LISTS)
    items = [{"Title": "Alpha", "Count": "3"}, {"Title": "Beta", "Count": "12"}]
    expect("all", {"Items": items, "Empty": []}, json.loads(output("to-json", lists)))
    expect("one", items, json.loads(output("to-json", lists, "ITEMS")))
    expect("plain", 2, len(json.loads(output("to-json", lists, "--plain"))))
    expect("back", LISTS, output("from-json", "-", stdin=output("to-json", lists)))
    expect("csv", b"Title,Count\r\nAlpha,3\r\nBeta,12\r\n", output("to-csv", lists, "Items"))
    refused("several collections", USAGE, "to-csv", lists)
    refused("several collections", USAGE, "to-json", lists, "--lines")
    refused('it holds "Items", "Empty"', USAGE, "to-json", lists, "other")
    refused("without a name", USAGE, "to-json", file(folder, "b", BOOKS), "Items")


def test_csv(folder: pathlib.Path) -> None:
    books = file(folder, "books.txt", BOOKS)
    wanted = 'Title,Price\r\nMoby “Dick”,1.50\r\n"a,""b""\n",=1+1\r\n,True\r\n'
    expect("to-csv", wanted.encode(), output("to-csv", books))
    spreadsheet = ("--delimiter", ";", "--guard-formulas")
    made = output("to-csv", books, *spreadsheet, "--bom")
    expect("bom", b"\xef\xbb\xbfTitle;Price", made[:14])
    contains(";'=1+1", made.decode())
    expect("back", BOOKS, output("from-csv", "-", *spreadsheet, stdin=made))
    refused("delimiter", USAGE, "to-csv", books, "--delimiter", "é")
    refused("delimiter", USAGE, "to-csv", books, "--delimiter", '"')


def test_losses_are_told_before_anything_is_written(folder: pathlib.Path) -> None:
    lines = file(folder, "lines.txt", encoded("a|;\r\n1|;\r\n2|;\r\n"))
    made = folder / "made.json"
    for place in ((), ("-o", path(made))):
        refused("a line break after a record end, 2 times, first at byte 3; --with-format keeps it, --lossy", DEFECTS,
                "to-json", lines, *place)
        refused("field names without a record", DEFECTS, "to-json",
                file(folder, "names.txt", encoded("a|;")), *place)
        refused('"a" twice', DEFECTS, "to-json",
                file(folder, "twice.txt", encoded("a|a|;1|2|;")), *place)
        refused("byte 12: record 2 has 1 value, the header has 2 names", DEFECTS, "to-json",
                file(folder, "ragged.txt", encoded("a|b|;1|2|;3|;\r\n")), *place)
        refused("byte 7: text after the last field end of record 1", DEFECTS, "to-csv",
                file(folder, "behind.txt", encoded("a|b|;1|2;")), *place)
    refused("byte 5: text after the last field end of record 1", DEFECTS, "to-csv",
            file(folder, "behind2.txt", encoded("a|b|;12;")))
    expect("nothing written", False, made.exists())
    result = run("to-json", lines, "--lossy")
    expect("lossy", (SUCCESS, b'[\n{"a":"1"},\n{"a":"2"}\n]\n'), (result.code, result.output))
    contains("left out: a line break", result.errors)
    expect("and back", (folder / "lines.txt").read_bytes(),
           output("from-json", "-", "--line-breaks", "1", stdin=result.output))
    expect("like it", (folder / "lines.txt").read_bytes(),
           output("from-json", "-", "--like", lines, stdin=result.output))


def test_what_a_file_cannot_hold(folder: pathlib.Path) -> None:
    made = folder / "made.txt"
    for place in ((), ("-o", path(made))):
        refused("row 2, \"a\": it holds the field end ¥ U+00A5", DEFECTS, "from-json", "-", *place,
                stdin='[{"a":"1"},{"a":"x¥"}]'.encode())
        refused("U+03B1, which windows-1252 does not have", DEFECTS, "from-csv", "-", *place,
                stdin="a\nα\n".encode())
        refused("row 2 has 1 value, the header 2; --ragged pad", DEFECTS, "from-csv", "-", *place,
                stdin=b"a,b\n1\n")
        refused("a null", DEFECTS, "from-json", "-", *place, stdin=b'[{"a":null}]')
        refused("not well-formed JSON", DEFECTS, "from-json", "-", *place, stdin=b'[{"a":"1"}')
    expect("nothing written", False, made.exists())
    expect("null", encoded("a|;none|;"),
           output("from-json", "-", "--null", "none", stdin=b'[{"a":null}]'))
    expect("utf-8", encoded("a|;α|;", "utf-8"),
           output("from-csv", "-", "--encoding", "utf-8", stdin="a\nα\n".encode()))


def test_forms(folder: pathlib.Path) -> None:
    wide = "a|b|;é|𝄞|;"
    for form, mark in (("utf-16", b"\xff\xfe"), ("utf-16be", b"\xfe\xff")):
        original = mark + encoded(wide, "utf-16le" if form == "utf-16" else "utf-16be")
        name = file(folder, "wide.txt", original)
        made = output("to-json", name)
        expect(form, [{"a": "é", "b": "𝄞"}], json.loads(made))
        expect(form, original, output("from-json", "-", "--encoding", form, stdin=made))
        expect(form, original, output("from-json", "-", "--like", name, stdin=made))
    own = file(folder, "own.txt", b"a\x1fb\x1f\x1e1\x1f2\x1f\x1e")
    markers = ("--field-end", "U+001F", "--record-end", "U+001E")
    made = output("to-csv", own, *markers)
    expect("own markers", b"a,b\r\n1,2\r\n", made)
    expect("and back", (folder / "own.txt").read_bytes(),
           output("from-csv", "-", *markers, stdin=made))
    refused("no byte order mark", USAGE, "from-csv", "-", "--bom", stdin=made)
    refused("--line-breaks", USAGE, "from-csv", "-", "--line-breaks", "4", stdin=made)


def test_files(folder: pathlib.Path) -> None:
    books = file(folder, "bücher €.txt", BOOKS)
    made = folder / "büchér.json"
    expect("to a file", b"", output("to-json", books, "-o", path(made)))
    refused("--force", USAGE, "to-json", books, "-o", path(made))
    expect("replaced", b"", output("to-csv", books, "-o", path(made), "--force"))
    expect("new", b"Title,Price", made.read_bytes()[:11])
    refused("cannot read", INPUT_OUTPUT, "to-json", path(folder / "none.txt"))
    expect("standard input", output("to-csv", books), output("to-csv", "-", stdin=BOOKS))
    expect("lists from standard input", output("to-json", file(folder, "l", LISTS)),
           output("to-json", "-", stdin=LISTS))
    expect("empty", (b"[]\n", b""), (output("to-json", "-"), output("from-json", "-", stdin=b"[]")))


def test_page(folder: pathlib.Path) -> None:
    books = file(folder, "books.txt", "</script><b>¥Œ<!-- <script>¥Œ\"x\"&amp;¥Œ".encode("cp1252"))
    page = output("to-html", books, "--title", "<Books> & \"more\"").decode()
    contains("<title>&lt;Books&gt; &amp; &quot;more&quot;</title>", page)
    start = page.index('class="collection" data-name="">') + len('class="collection" data-name="">')
    data = page[start:page.index("</script>", start)]
    expect("nothing ends the data", False, "<" in data)
    expect("data", {"columns": ["</script><b>"], "rows": [["<!-- <script>"], ["\"x\"&amp;"]]},
           json.loads(data))
    expect("no link elsewhere", False, "http://" in page or "https://" in page)


def test_bases(_: pathlib.Path) -> None:
    expect("hexadecimal", b"FF\n", output("base", "255", "10", "16"))
    expect("negative", b"-26.5\n", output("base", "-1A.8", "16", "10"))
    expect("negative", b"-26.5\n", output("base", "--", "-1A.8", "16", "10"))
    expect("digits", b"11.00011001\n", output("base", "3.1", "10", "2", "--digits", "8"))
    expect("tolerance", b"11.0001\n", output("base", "3.1", "10", "2", "--tolerance", "0.05"))
    expect("group", b"0101\n", output("base", "5", "10", "2", "--group", "4"))
    expect("table", b" 2  100000001\n 8  401\n10  257\n16  101\n26  JX\n30  9L\n31  AB\n32  92\n"
           b"60  04:17:\n", output("base", "--table", "257"))
    refused("Invalid digit for base (error 13 in DeconvertDigit)", DEFECTS, "base", "xyz", "16", "10")
    refused("Unknown base (error 13 in ConvertDigit)", DEFECTS, "base", "5", "10", "7")
    refused("Overflow (error 6)", DEFECTS, "base", "1" + "0" * 400, "10", "2")
    refused("Not a decimal number (error 13 in ConvertBase)", DEFECTS, "base", "12abc", "10", "2")
    for arguments in (("5",), ("5", "10"), ("--table", "5", "10", "2"), ("5", "10", "x")):
        refused("base", USAGE, "base", *arguments)
    result = run("base", "--table", "0.2")
    expect("some fail", DEFECTS, result.code)
    contains("10  0.2\n", result.text)
    contains("0.2 from base 10 to base 2: Overflow (error 6)", result.errors)


class PageParts(html.parser.HTMLParser):
    """The policy, the title, and every script and style of a page, each as its text."""

    def __init__(self, page: str):
        super().__init__()
        self.policy, self.texts, self.attributes, self.within = "", [], [], None
        self.feed(page)

    def handle_starttag(self, tag: str, attributes: list[tuple[str, str | None]]) -> None:
        given = dict(attributes)
        if given.get("http-equiv") == "Content-Security-Policy":
            self.policy = given["content"]
        self.attributes += given
        self.within = tag if given.get("type") != "application/json" else None
        if self.within in ("script", "style", "title"):
            self.texts.append((tag, ""))

    def handle_endtag(self, tag: str) -> None:
        self.within = None

    def handle_data(self, data: str) -> None:
        if self.within in ("script", "style", "title"):
            self.texts[-1] = (self.within, self.texts[-1][1] + data)

    def text(self, tag: str) -> str:
        found = [text for name, text in self.texts if name == tag]
        expect(f"one {tag}", 1, len(found))
        return found[0]


def test_the_policy_of_a_page_names_its_script_and_style_by_hash(folder: pathlib.Path) -> None:
    page = PageParts(output("to-html", file(folder, "lists.txt", LISTS)).decode())
    policy = dict(part.strip().split(" ", 1) for part in page.policy.split(";"))
    expect("by default", "'none'", policy["default-src"])
    for tag in ("script", "style"):
        hashed = base64.b64encode(hashlib.sha256(page.text(tag).encode()).digest()).decode()
        expect(tag, f"'sha256-{hashed}'", policy[f"{tag}-src"])
    expect("handlers and styles of single elements", [],
           [name for name in page.attributes if name.startswith("on") or name == "style"])


def test_the_title_of_a_page_is_the_last_part_of_the_path(folder: pathlib.Path) -> None:
    (folder / "private").mkdir()
    books = file(folder / "private", "books.txt", BOOKS)
    expect("a file", "books.txt", PageParts(output("to-html", books).decode()).text("title"))
    expect("nothing of its folder", False, b"private" in output("to-html", books))
    piped = output("to-html", "-", stdin=BOOKS).decode()
    expect("a pipe", "standard input", PageParts(piped).text("title"))
    given = output("to-html", books, "--title", "a/b").decode()
    expect("as given", "a/b", PageParts(given).text("title"))


program.main(globals())
