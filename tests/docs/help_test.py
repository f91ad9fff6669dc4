"""The help file and the folder of HTML: every context of the type library opens the section of its member,
every link leads somewhere, and a person finds what the search field is asked for.

usage: help_test.py ROOT HELP_FOLDER [SCREENSHOT_FOLDER]

Uses extract_chmLib, which is no part of what makes the help file. Runs a browser.
"""

import base64
import html.parser
import json
import os
import re
import struct
import subprocess
import sys
import tempfile
import urllib.parse

ROOT = os.path.realpath(sys.argv[1])
sys.path[:0] = [os.path.join(ROOT, "tests/cli/page"), os.path.join(ROOT, "tools/generate")]
import idl  # noqa: E402
from browser import Browser  # noqa: E402

WIDTHS = {"desktop": 1280, "phone": 390}
# The least contrast of text that the guidelines for accessibility allow.
CONTRAST = 4.5


class Page(html.parser.HTMLParser):
    """The links and the anchors of a page, and the text after each anchor's heading."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.links: list[str] = []
        self.headings: dict[str, str] = {}
        self.open: str | None = None
        self.feed(text)

    def handle_starttag(self, tag: str, attributes: list[tuple[str, str | None]]) -> None:
        found = dict(attributes)
        self.links += [found[name] for name in ("href", "src") if found.get(name)]
        if re.fullmatch("h[1-6]", tag) and "id" in found:
            assert found["id"] not in self.headings, f"two sections {found['id']}"
            self.open = found["id"]
            self.headings[self.open] = ""

    def handle_endtag(self, tag: str) -> None:
        if re.fullmatch("h[1-6]", tag):
            self.open = None

    def handle_data(self, data: str) -> None:
        if self.open:
            self.headings[self.open] += data


def read_pages(folder: str) -> dict[str, Page]:
    found = {}
    for name in sorted(os.listdir(folder)):
        if name.endswith(".html"):
            with open(os.path.join(folder, name), encoding="utf-8") as file:
                found[name] = Page(file.read())
    return found


def check_links(folder: str, pages: dict[str, Page]) -> int:
    count = 0
    for name, page in pages.items():
        for link in page.links:
            if re.match(r"[a-z]+:", link):
                continue
            target, _, anchor = urllib.parse.unquote(link).partition("#")
            target = target or name
            assert os.path.exists(os.path.join(folder, target)), f"{name}: {link} leads nowhere"
            assert not anchor or anchor in pages[target].headings, f"{name}: there is no section {link}"
            count += 1
    return count


def text_at(strings: bytes, offset: int) -> str:
    return strings[offset:strings.index(b"\0", offset)].decode("ascii")


def check_contexts(folder: str, pages: dict[str, Page]) -> int:
    """#IVB of a help file: its length, then a context and the offset of its target in #STRINGS for each."""
    with open(os.path.join(folder, "#IVB"), "rb") as file:
        content = file.read()
    with open(os.path.join(folder, "#STRINGS"), "rb") as file:
        strings = file.read()
    assert struct.unpack_from("<I", content)[0] == len(content) - 4
    targets = {number: text_at(strings, offset) for number, offset in struct.iter_unpack("<II", content[4:])}
    wanted = {}
    for coclass in idl.read_library(os.path.join(ROOT, "server/Brindlex.idl")).classes:
        wanted[coclass.context] = coclass.name
        wanted |= {member.context: member.name for member in coclass.interface.members}
    assert set(targets) == set(wanted), set(targets) ^ set(wanted)
    assert len(set(targets.values())) == len(targets), "two contexts open one section"
    for number, target in targets.items():
        name, _, anchor = target.partition("#")
        assert pages[name].headings[anchor] == wanted[number], f"{number}: {target} is not of {wanted[number]}"
    return len(targets)


def entries(folder: str, name: str) -> dict[str, str]:
    """The names and targets of a table of contents or an index."""
    with open(os.path.join(folder, name), encoding="cp1252") as file:
        text = file.read()
    return dict(re.findall(r'name="Name" value="([^"]*)"><param name="Local" value="([^"]*)"', text))


def check_lists(folder: str, pages: dict[str, Page]) -> None:
    contents, index = entries(folder, "contents.hhc"), entries(folder, "index.hhk")
    for target in [*contents.values(), *index.values()]:
        name, _, anchor = html.unescape(target).partition("#")
        assert name in pages and (not anchor or anchor in pages[name].headings), target
    for wanted in ("Reference", "Troubleshooting", "clsBases.ConvertBase"):
        assert wanted in contents, f"the contents lack {wanted}"
    assert len(index) > 150 and "clsCollection.Add" in index, len(index)


def check_compiled(compiled: str) -> None:
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["extract_chmLib", compiled, folder], check=True, stdout=subprocess.DEVNULL)
        pages = read_pages(folder)
        links = check_links(folder, pages)
        contexts = check_contexts(folder, pages)
        check_lists(folder, pages)
        # The word list of the full-text search.
        assert os.path.getsize(os.path.join(folder, "$FIftiMain")) > 10000
    print(f"{os.path.basename(compiled)}: {len(pages)} pages, {links} links, {contexts} contexts")


def luminance(colour: str) -> float:
    parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
    linear = [part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one: str, other: str) -> float:
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


COLOURS = """(() => { const style = (element) => getComputedStyle(element);
  const body = style(document.body), link = style(document.querySelector("main a"));
  const code = style(document.querySelector("main pre") || document.body);
  return [[body.color, body.backgroundColor], [link.color, body.backgroundColor], [code.color, code.backgroundColor]];
})()"""


def look(browser: Browser, folder: str, page: str, scheme: str, device: str, keep: str) -> None:
    where = f"{page}, {device}, {scheme}"
    browser.call("Emulation.setDeviceMetricsOverride", width=WIDTHS[device], height=900, deviceScaleFactor=1,
                 mobile=device == "phone")
    browser.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
    browser.open("file://" + os.path.join(folder, page))
    wide = browser.value("document.documentElement.scrollWidth")
    assert wide <= WIDTHS[device], f"{where}: {wide} wide, so that the whole page scrolls sideways"
    for text, ground in browser.value(COLOURS):
        assert contrast(text, ground) >= CONTRAST, f"{where}: {text} on {ground}"
    is_dark = luminance(browser.value("getComputedStyle(document.body).backgroundColor")) < 0.2
    assert is_dark == (scheme == "dark"), where
    visible = browser.value("document.querySelector('nav').offsetHeight > 0")
    assert visible == (device == "desktop"), f"{where}: the contents are {'shown' if visible else 'hidden'}"
    if keep:
        picture = browser.call("Page.captureScreenshot")["data"]
        name = f"{page.removesuffix('.html')}-{device}-{scheme}.png"
        with open(os.path.join(keep, name), "wb") as file:
            file.write(base64.b64decode(picture))


def found_by(browser: Browser, words: str) -> list[str]:
    browser.value("document.getElementById('search').value = ''")
    browser.value("document.getElementById('search').focus()")
    browser.type(words)
    return browser.value("[...document.querySelectorAll('#found a')].map((link) => link.getAttribute('href'))")


def check_search(browser: Browser, folder: str) -> None:
    browser.call("Emulation.setDeviceMetricsOverride", width=1280, height=900, deviceScaleFactor=1, mobile=False)
    browser.open("file://" + os.path.join(folder, "index.html"))
    assert found_by(browser, "convertbase")[0] == "reference.html#convertbase", found_by(browser, "convertbase")
    assert "troubleshooting.html" in found_by(browser, "429")[0]
    assert found_by(browser, "zzzz not there") == []
    assert "No section" in browser.value("document.getElementById('found').textContent")
    found_by(browser, "ReadTextFile")
    browser.click("document.querySelector('#found a')")
    browser.wait("location.hash === '#readtextfile'")


def check_in_browser(folder: str, keep: str) -> None:
    with Browser() as browser:
        for page in ("index.html", "reference.html", "troubleshooting.html", "tool.html", "tool-reference.html"):
            for scheme in ("light", "dark"):
                for device in WIDTHS:
                    look(browser, folder, page, scheme, device, keep)
        check_search(browser, folder)
        errors = [event for event in browser.heard("Log.entryAdded") if event["entry"]["level"] == "error"]
        assert not errors and not browser.heard("Runtime.exceptionThrown"), json.dumps(errors)
    print("the pages fit a desktop and a phone, light and dark, and the search finds")


def main(folder: str, *rest: str) -> None:
    folder = os.path.abspath(folder)
    check_compiled(os.path.join(folder, "Brindlex.chm"))
    web = os.path.join(folder, "html")
    pages = read_pages(web)
    print(f"html: {len(pages)} pages, {check_links(web, pages)} links")
    check_in_browser(web, rest[0] if rest else "")


main(*sys.argv[2:])
