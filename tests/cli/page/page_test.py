"""The page of to-html in a real browser: shown, sorted, searched, on a phone and in the dark.

usage: page_test.py PROGRAM
"""

import pathlib
import subprocess
import sys
import tempfile

from browser import Browser

HOSTILE = "</script><img src=x onerror='window.harmed=1'><script>window.harmed=1</script>&amp;\"'"
RECORDS = 12_000


def collection(field_end: str, record_end: str) -> str:
    rows = [["Title", "Price", "", "Note"]]
    for number in range(RECORDS):
        # Every price once, in an order that is not theirs, and some without one.
        price = "" if number % 1000 == 7 else f"{(number * 7919) % RECORDS - 500}.5"
        rows.append([f"Book {number}", price, "x", HOSTILE if number == 3 else "plain\nnote"])
    rows[42][0] = "Größe <b>needle</b>"
    return "".join("".join(value + field_end for value in row) + record_end for row in rows)


# The browser of the test writes month, day, year.
DATES = ["2/1/2001", "12/31/1999", "", "10/3/2000 1:05:00 PM", "10/3/2000 9:00:00 AM", "1/15/29", "1/15/30"]
DIRECTED = "a\u202Eb\u2066\x1b[1m\r\nc\rd\t\u05d0"


def dates(field_end: str, record_end: str) -> str:
    rows = [["Date", "Like a date", "ISO", "\u202Ename"]]
    for number, date in enumerate(DATES):
        rows.append([date, "2/30/2001" if number == 3 else date, f"20{99 - number}-01-{number + 1:02}T10:00", DIRECTED])
    return "".join("".join(value + field_end for value in row) + record_end for row in rows)


def make_page(program: str, folder: pathlib.Path) -> pathlib.Path:
    text = ("DataString¥Name¥Œ" + collection("»", "Š") + "¥Books <1>¥Œ" + "Only»ŠoneŠ".replace(
        "oneŠ", "one»Š") + "¥Second¥Œ" + dates("»", "Š") + "¥Dates¥Œ")
    (folder / "lists.txt").write_text(text, encoding="utf-8-sig", newline="")
    subprocess.run([program, "to-html", folder / "lists.txt", "-o", folder / "page.html",
                    "--title", "Our <lists>"], check=True)
    return folder / "page.html"


def expect(what: str, wanted: object, got: object) -> None:
    if wanted != got:
        raise AssertionError(f"{what}\nwanted: {wanted!r}\ngot:    {got!r}")
    print(f"ok {what}")


def column(page: Browser, number: int, count: int = 3) -> list[str]:
    return page.value(f"[...document.querySelectorAll('#body tr')].slice(0, {count})"
                      f".map((row) => row.children[{number}].textContent)")


def header(number: int) -> str:
    return f"document.querySelectorAll('#head button')[{number}]"


def rows(page: Browser) -> int:
    return page.value("document.querySelectorAll('#body tr').length")


def check_first_sight(page: Browser) -> None:
    expect("title", "Our <lists>", page.value("document.title"))
    expect("count", "12,000 records", page.value("document.querySelector('#count').textContent"))
    expect("names", ["#", "Title", "Price", "(column 3)", "Note"],
           page.value("[...document.querySelectorAll('#head button')].map((b) => b.textContent)"))
    expect("file order", ["Book 0", "Book 1", "Book 2"], column(page, 1))
    expect("hostile text is text", HOSTILE, column(page, 4, 4)[3])
    expect("no image came of it", 0, page.value("document.images.length"))
    expect("not all is drawn at once", 200, rows(page))


def check_sorting(page: Browser) -> None:
    page.click(header(2))
    prices = [float(price) for price in column(page, 2, 200)]
    expect("by number", sorted(prices), prices)
    expect("from the lowest", -500.5, prices[0])
    expect("ascending", "ascending", page.value(
        "document.querySelectorAll('#head th')[2].getAttribute('aria-sort')"))
    page.click(header(2))
    expect("descending", True, float(column(page, 2)[0]) > float(column(page, 2)[1]) > 11_000)
    expect("only one column", 1, page.value("document.querySelectorAll('[aria-sort]').length"))
    page.click(header(1))
    expect("text with numbers in it", ["Book 0", "Book 1", "Book 2"], column(page, 1))
    page.click(header(0))
    page.click(header(0))
    expect("last first", ["12000", "11999", "11998"], column(page, 0))


def check_search(page: Browser) -> None:
    page.click("document.querySelector('#search')")
    page.type("NEEDLE größe")
    page.wait("document.querySelectorAll('#body tr').length === 1")
    expect("found", ["Größe <b>needle</b>"], column(page, 1))
    expect("where it stands", ["42"], column(page, 0))
    expect("counted", "1 of 12,000 records",
           page.value("document.querySelector('#count').textContent"))
    hidden = "document.querySelector('#none').hidden"
    expect("something was found", True, page.value(hidden))
    page.type(" nowhere")
    page.wait("document.querySelectorAll('#body tr').length === 0")
    expect("nothing was found, and that is said", ("No record has all of these words.", False),
           (page.value("document.querySelector('#none').textContent"), page.value(hidden)))
    page.value("document.querySelector('#search').value = ''")
    page.value("document.querySelector('#search').dispatchEvent(new Event('input'))")
    page.wait("document.querySelectorAll('#body tr').length === 200")
    page.value("window.scrollTo(0, document.body.scrollHeight)")
    page.wait("document.querySelectorAll('#body tr').length > 200")
    print("ok more comes when the end is near")
    expect("nothing is said any more", True, page.value(hidden))


def check_names_in_sight(page: Browser) -> None:
    page.value("window.scrollTo(0, 3000)")
    page.wait("scrollY > 2000")
    top = page.value("document.querySelector('#head th').getBoundingClientRect().top")
    bar = page.value("document.querySelector('#bar').getBoundingClientRect().bottom")
    expect("the names are below the bar", True, abs(top - bar) <= 1)
    expect("and nothing covers them", "Title", page.value(
        "(() => { const box = document.querySelectorAll('#head button')[1].getBoundingClientRect();"
        "return document.elementFromPoint(box.x + 5, box.y + 5).textContent; })()"))
    page.value("window.scrollTo(0, 0)")


def check_jump(page: Browser) -> None:
    label = "document.querySelector('#jump').textContent"
    expect("to the end", "Go to the end", page.value(label))
    page.click("document.querySelector('#jump')")
    page.wait("document.querySelector('#body').lastChild.firstChild.textContent === '12000'")
    page.wait("document.querySelector('#body').lastChild.getBoundingClientRect().bottom <= innerHeight")
    expect("not all was drawn for it", True, rows(page) < 2000)
    expect("nothing follows", True, page.value("document.querySelector('#more').hidden"))
    for many in (400, 600):
        page.value("window.scrollTo(0, 0)")
        page.wait(f"document.querySelectorAll('#body tr').length === {many}")
        expect("what was in sight stays there", True, page.value("scrollY > 1500"))
    numbers = [int(number) for number in column(page, 0, 10_000)]
    expect("those before come in order", list(range(numbers[0], 12_001)), numbers)
    expect("back", "Go to the start", page.value(label))
    page.click("document.querySelector('#jump')")
    expect("the first ones", ["1", "2", "3"], column(page, 0))


def check_dates(page: Browser) -> None:
    page.value("(() => { const list = document.querySelector('#collection'); list.value = '2';"
               "list.dispatchEvent(new Event('change')); })()")
    page.click(header(1))
    expect("by date", ["1/15/30", "12/31/1999", "10/3/2000 9:00:00 AM", "10/3/2000 1:05:00 PM", "2/1/2001", "1/15/29", ""],
           column(page, 1, 7))
    page.click(header(2))
    expect("a value that is no date makes text", "1/15/29", column(page, 2, 1)[0])
    page.click(header(3))
    expect("the year first", "2093-01-07T10:00", column(page, 3, 1)[0])
    expect("controls are shown", "a\\u202Eb\\u2066\\x1B[1m\nc\\x0Dd\t\u05d0", column(page, 4, 1)[0])
    expect("in names too", "\\u202Ename", page.value(header(4) + ".textContent"))
    expect("values are isolated", ["auto", "isolate"], page.value(
        "(() => { const cell = document.querySelector('#body td:nth-child(5)');"
        "return [cell.dir, getComputedStyle(cell).unicodeBidi]; })()"))


def check_accessible_name(page: Browser) -> None:
    nodes = page.call("Accessibility.getFullAXTree")["nodes"]
    names = [node.get("name", {}).get("value") for node in nodes if node.get("role", {}).get("value") == "table"]
    expect("name of the table", ["Our <lists>, Books <1>"], names)
    nameless = [node["role"]["value"] for node in nodes if node.get("role", {}).get("value") in (
        "button", "combobox", "searchbox", "columnheader") and not node.get("name", {}).get("value")]
    expect("everything that can be used has a name", [], nameless)


def check_second_collection(page: Browser) -> None:
    expect("collections", ["Books <1>", "Second", "Dates"],
           page.value("[...document.querySelector('#collection').options].map((o) => o.text)"))
    page.value("(() => { const list = document.querySelector('#collection'); list.value = '1';"
               "list.dispatchEvent(new Event('change')); })()")
    expect("another collection", ["one"], column(page, 1))
    expect("one record", "1 record", page.value("document.querySelector('#count').textContent"))
    page.value("(() => { const list = document.querySelector('#collection'); list.value = '0';"
               "list.dispatchEvent(new Event('change')); })()")


def check_phone(page: Browser) -> None:
    page.call("Emulation.setDeviceMetricsOverride", width=375, height=667, deviceScaleFactor=2,
              mobile=True)
    page.wait("innerWidth === 375")
    expect("nothing sticks out", True, page.value("document.documentElement.scrollWidth <= 375"))
    expect("values below their names", '"Title"', page.value(
        "getComputedStyle(document.querySelector('#body td:nth-child(2)'), '::before').content"))
    expect("sorted without a header", "block",
           page.value("getComputedStyle(document.querySelector('#order')).display"))
    page.value("(() => { const list = document.querySelector('#order'); list.value = '1 down';"
               "list.dispatchEvent(new Event('change')); })()")
    expect("sorted", True, float(column(page, 2)[0]) > float(column(page, 2)[1]))
    page.call("Emulation.clearDeviceMetricsOverride")


def check_dark(page: Browser) -> None:
    colours = {}
    for scheme in ("light", "dark"):
        page.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])
        colours[scheme] = page.value("getComputedStyle(document.body).backgroundColor")
    expect("light and dark", {"light": "rgb(255, 255, 255)", "dark": "rgb(21, 24, 28)"}, colours)


def check_policy(page: Browser) -> None:
    """What the page's policy lets run is its own script and style, and nothing that came later."""
    page.value("(() => { const added = document.createElement('script');"
               "added.textContent = 'window.harmed = 2'; document.body.append(added); })()")
    page.value("(() => { const added = document.createElement('div');"
               "added.innerHTML = '<b style=\"color: red\" onclick=\"window.harmed = 3\">x</b>';"
               "document.body.append(added); added.firstChild.click(); })()")
    expect("no other script runs", None, page.value("window.harmed"))
    expect("no other style counts", False, page.value(
        "getComputedStyle(document.querySelector('div > b')).color === 'rgb(255, 0, 0)'"))


def check_quiet(page: Browser) -> None:
    expect("no script of the data ran", None, page.value("window.harmed"))
    expect("no exceptions", [], page.heard("Runtime.exceptionThrown"))
    expect("nothing logged", [], page.heard("Log.entryAdded"))
    asked = {event["request"]["url"].split(":")[0] for event in page.heard(
        "Network.requestWillBeSent")}
    expect("nothing asked from elsewhere", {"file"}, asked)


def main(program: str) -> None:
    with tempfile.TemporaryDirectory() as folder, Browser() as page:
        page.open(make_page(program, pathlib.Path(folder)).as_uri())
        check_first_sight(page)
        check_sorting(page)
        check_search(page)
        check_names_in_sight(page)
        check_accessible_name(page)
        page.click(header(0))
        check_jump(page)
        check_second_collection(page)
        check_phone(page)
        check_dates(page)
        check_dark(page)
        check_quiet(page)
        check_policy(page)


main(sys.argv[1])
