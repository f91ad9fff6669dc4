"""brindlex diff: what it finds, against a naive model."""

import json
import pathlib
import random

import program
from program import DEFECTS, SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect, path, run
from tables import Form

DIFFERENT = DEFECTS
BOOKS = "Title|Price|;Moby Dick|9.50|;Emma|7|;Nana|8|;"
SEVERAL = "DataString|Name|;A<B<>1<2<>3<4<>|Books|;A<>x<>|Films|;"


def compare(folder: pathlib.Path, before: str | bytes, after: str | bytes, *options: str) -> program.Result:
    for name, content in (("old.txt", before), ("new.txt", after)):
        (folder / name).write_bytes(content if isinstance(content, bytes) else encoded(content))
    return run("diff", path(folder / "old.txt"), path(folder / "new.txt"), *options)


def found(folder: pathlib.Path, before: str | bytes, after: str | bytes, *options: str) -> list[dict]:
    result = compare(folder, before, after, "--json", *options)
    expect("errors", "", result.errors)
    differences = json.loads(result.text)
    expect("status", DIFFERENT if differences else SUCCESS, result.code)
    return differences


def refused(folder: pathlib.Path, code: int, message: str, before: str, after: str, *options: str) -> None:
    result = compare(folder, before, after, *options)
    expect(options, (code, b""), (result.code, result.output))
    contains(message, result.errors)


def test_equal_files(folder: pathlib.Path) -> None:
    for text in ("", "A|;", BOOKS, SEVERAL):
        for options in ([], ["--key", "Title"] if text == BOOKS else []):
            result = compare(folder, text, text, *options)
            expect(text, (SUCCESS, b"", ""), (result.code, result.output, result.errors))
    expect("no differences", "[]\n", compare(folder, BOOKS, BOOKS, "--json").text)


def test_the_form_does_not_count(folder: pathlib.Path) -> None:
    other = ("\ufeff" + BOOKS.replace("|", "»").replace(";", "Š\r\n")).encode("utf-16-le")
    expect("form", [], found(folder, BOOKS, other))
    expect("order and letter case of columns", [], found(folder, BOOKS, "price|TITLE|;9.50|Moby Dick|;7|Emma|;8|Nana|;"))
    expect("collections", [], found(folder, SEVERAL, encoded(SEVERAL, "utf-8")))


def test_for_people(folder: pathlib.Path) -> None:
    result = compare(folder, BOOKS, "Title|Price|Pages|;Emma|7.20|400|;New|1||;Nana|8|300|;")
    expect("text", """\
+ column "Pages"
- record 1
    Title: "Moby Dick"
    Price: "9.50"
~ record 2, now 1
    Price: "7" → "7.20"
+ record 2
    Title: "New"
    Price: "1"
""", result.text)
    result = compare(folder, BOOKS, "Title|Price|;Nana|8|;Emma|7|;Moby Dick|9|;", "--key", "title")
    expect("by key", """\
~ record 1, now 3
    Title: "Moby Dick"
    Price: "9.50" → "9"
> record 2
    Title: "Emma"
> record 1, now 3
    Title: "Moby Dick"
""", result.text)
    result = compare(folder, SEVERAL, SEVERAL.replace("4", "5").replace("Films", "Songs"))
    expect("collections", """\
- collection "Films"
collection "Books"
~ record 2
    B: "4" → "5"
+ collection "Songs"
""", result.text)
    contains('"x\\x1B[31m↵' + "y" * 189 + '…"', compare(folder, "A|;", "A|;x\x1b[31m\r\n" + "y" * 3000 + "|;").text)


def test_json(folder: pathlib.Path) -> None:
    expect("records", [
        {"kind": "column-removed", "name": "Price"},
        {"kind": "removed", "old": 1, "fields": [{"name": "Title", "old": "Moby Dick"}, {"name": "Price", "old": "9.50"}]},
        {"kind": "added", "new": 3, "fields": [{"name": "Title", "new": "é\"\r\n"}]},
    ], found(folder, BOOKS, "Title|;Emma|;Nana|;é\"\r\n|;"))
    expect("by key", [{"kind": "changed", "old": 2, "new": 2, "key": "emma", "fields": [
        {"name": "Title", "old": "Emma", "new": "emma"}, {"name": "Price", "old": "7", "new": ""}]}],
        found(folder, BOOKS, BOOKS.replace("Emma|7|", "emma||"), "--key", "Title"))
    expect("collections", [
        {"kind": "collection-removed", "collection": "Books"},
        {"kind": "removed", "collection": "FILMS", "old": 1, "fields": [{"name": "A", "old": "x"}]},
        {"kind": "added", "collection": "FILMS", "new": 1, "fields": [{"name": "A", "new": "y"}]},
        {"kind": "collection-added", "collection": "New"},
    ], found(folder, SEVERAL, "DataString|Name|;A<>y<>|FILMS|;|New|;"))


def test_one_collection(folder: pathlib.Path) -> None:
    single = "A|B|;1|2|;3|5|;"
    expect("of both", 0, len(found(folder, SEVERAL, SEVERAL.replace("x", "y"), "--collection", "books")))
    expect("of one", 1, len(found(folder, SEVERAL, single, "--collection", "Books")))
    refused(folder, USAGE, "--collection", SEVERAL, single)
    refused(folder, USAGE, "holds no collection", SEVERAL, single, "--collection", "x")
    refused(folder, USAGE, "holds one collection", single, BOOKS, "--collection", "x")


def test_refusals_are_no_difference(folder: pathlib.Path) -> None:
    refused(folder, INPUT_OUTPUT, "byte 9: record 1 has 1 value, the header has 2 names", "A|B|;a|b|;", "A|B|;xyz|;")
    refused(folder, USAGE, 'has no column "x"', BOOKS, BOOKS + "a|b|;", "--key", "x")
    refused(folder, INPUT_OUTPUT, "twice", "A|a|;1|2|;", "A|;1|;")
    expect("missing", INPUT_OUTPUT, run("diff", path(folder / "no.txt"), path(folder / "old.txt")).code)
    expect("two pipes", USAGE, run("diff", "-", "-").code)


def test_standard_input(folder: pathlib.Path) -> None:
    (folder / "a.txt").write_bytes(encoded(BOOKS))
    expect("same", SUCCESS, run("diff", "-", path(folder / "a.txt"), stdin=encoded(BOOKS)).code)
    expect("other", DIFFERENT, run("diff", path(folder / "a.txt"), "-", stdin=encoded(BOOKS + "a|b|;")).code)


def test_one_record_in_the_middle_of_many(folder: pathlib.Path) -> None:
    rows = [f"{n % 7}|{n // 3}|;" for n in range(20_000)]
    before = "A|B|;" + "".join(rows)
    rows.insert(10_000, "x|y|;")
    rows[15_000] = rows[15_000].replace("|", "z|", 1)
    del rows[16_000]
    differences = found(folder, before, "A|B|;" + "".join(rows))
    expect("differences", [("added", None, 10_001), ("changed", 15_000, 15_001), ("removed", 16_000, None)],
           [(one["kind"], one.get("old"), one.get("new")) for one in differences])


def longest_common(before: list, after: list) -> int:
    row = [0] * (len(after) + 1)
    for left in before:
        diagonal = 0
        for at, right in enumerate(after, 1):
            diagonal, row[at] = row[at], diagonal + 1 if left == right else max(row[at], row[at - 1])
    return row[-1]


def patched(before: list[dict], differences: list[dict]) -> list[dict]:
    """The new table, made of the old one and the differences alone."""
    removed = {one["old"] for one in differences if one["kind"] in ("removed", "changed")}
    at = {one["new"]: one for one in differences if one["kind"] in ("added", "changed")}
    kept = iter(row for number, row in enumerate(before, 1) if number not in removed)
    table = []
    for number in range(1, len(before) - len(removed) + len(at) + 1):
        if number not in at:
            table.append(next(kept))
            continue
        old = before[at[number]["old"] - 1] if at[number]["kind"] == "changed" else {}
        for field in at[number]["fields"]:
            expect("old value", old.get(field["name"]), field.get("old"))
        table.append({**old, **{field["name"]: field["new"] for field in at[number]["fields"]}})
    return table


def edited(dice: random.Random, rows: list[list[str]], alphabet: str) -> list[list[str]]:
    rows = [list(row) for row in rows]
    for _ in range(dice.randint(0, 5)):
        choice = dice.randint(0, 3)
        if choice == 0 or not rows:
            rows.insert(dice.randint(0, len(rows)), [dice.choice(alphabet) for _ in range(3)])
        elif choice == 1:
            rows.pop(dice.randrange(len(rows)))
        elif choice == 2:
            rows.insert(dice.randrange(len(rows)), rows.pop(dice.randrange(len(rows))))
        else:
            dice.choice(rows)[dice.randrange(3)] = dice.choice(alphabet)
    return rows


def random_pairs(seed: int, count: int):
    dice = random.Random(seed)
    names = ["K", "a", "b"]
    for _ in range(count // program.SAMPLE):
        alphabet = dice.choice(["ab", "abcdefgh", "".join(map(chr, range(0x430, 0x450)))])
        rows = [[dice.choice(alphabet) for _ in names] for _ in range(dice.randint(0, 14))]
        yield names, rows, edited(dice, rows, alphabet)


def test_in_file_order_against_the_model(folder: pathlib.Path) -> None:
    form = Form("utf-8")
    for names, old, new in random_pairs(program.seed(11), program.tables(150)):
        differences = found(folder, form.file(names, old), form.file(names, new))
        tables = [[dict(zip(names, row)) for row in rows] for rows in (old, new)]
        expect((old, new), tables[1], patched(tables[0], differences))
        common = longest_common(old, new)
        changed = sum(1 for one in differences if one["kind"] == "changed")
        most = len(old) + len(new) - 2 * common
        expect(("few enough", old, new, differences), True, len(differences) + changed <= most + 4)


def longest_rise(numbers: list[int]) -> int:
    best: list[int] = []
    for at, number in enumerate(numbers):
        best.append(1 + max([best[i] for i in range(at) if numbers[i] < number], default=0))
    return max(best, default=0)


def test_by_key_against_the_model(folder: pathlib.Path) -> None:
    form = Form("utf-8")
    for names, old, new in random_pairs(program.seed(12), program.tables(150)):
        differences = found(folder, form.file(names, old), form.file(names, new), "--key", "k")
        waiting: dict[str, list[int]] = {}
        for number, row in enumerate(old, 1):
            waiting.setdefault(row[0], []).append(number)
        pairs, added = [], set()
        for number, row in enumerate(new, 1):
            if waiting.get(row[0]):
                pairs.append((waiting[row[0]].pop(0), number))
            else:
                added.add(number)
        removed = {number for left in waiting.values() for number in left}
        of = {kind: [one for one in differences if one["kind"] == kind]
              for kind in ("added", "removed", "changed", "moved")}
        expect((old, new, "added"), added, {one["new"] for one in of["added"]})
        expect((old, new, "removed"), removed, {one["old"] for one in of["removed"]})
        changed = {(i, j): {name: (left, right) for name, left, right in zip(names, old[i - 1], new[j - 1])
                            if left != right} for i, j in pairs if old[i - 1] != new[j - 1]}
        expect((old, new, "changed"), changed,
               {(one["old"], one["new"]): {field["name"]: (field["old"], field["new"]) for field in one["fields"]}
                for one in of["changed"]})
        moved = {(one["old"], one["new"]) for one in of["moved"]}
        kept = [i for i, j in pairs if (i, j) not in moved]
        expect((old, new, "moved"), (True, sorted(kept)), (moved <= set(pairs), kept))
        expect((old, new, "few moved"), len(pairs) - longest_rise([i for i, _ in pairs]), len(moved))


program.main(globals())
