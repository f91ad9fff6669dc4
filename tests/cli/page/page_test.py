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


def make_page(program: str, folder: pathlib.Path) -> pathlib.Path:
    text = ("DataString¥Name¥Œ" + collection("»", "Š") + "¥Books <1>¥Œ" + "Only»ŠoneŠ".replace(
        "oneŠ", "one»Š") + "¥Second¥Œ")
    (folder / "lists.txt").write_text(text, encoding="windows-1252", newline="")
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
    page.type(" nowhere")
    page.wait("document.querySelectorAll('#body tr').length === 0")
    page.value("document.querySelector('#search').value = ''")
    page.value("document.querySelector('#search').dispatchEvent(new Event('input'))")
    page.wait("document.querySelectorAll('#body tr').length === 200")
    page.value("window.scrollTo(0, document.body.scrollHeight)")
    page.wait("document.querySelectorAll('#body tr').length > 200")
    print("ok more comes when the end is near")


def check_second_collection(page: Browser) -> None:
    expect("collections", ["Books <1>", "Second"],
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
        check_second_collection(page)
        check_phone(page)
        check_dark(page)
        check_quiet(page)
        check_policy(page)


main(sys.argv[1])
