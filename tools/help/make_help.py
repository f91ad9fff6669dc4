"""Makes the documentation that users read: one folder of HTML with a search field, and one file for Windows'
own help, which F1 in an object browser opens.

usage: make_help.py ROOT VERSION OUTPUT_FOLDER

Writes OUTPUT_FOLDER/html and OUTPUT_FOLDER/Brindlex.chm. Equal sources make equal files, to the byte. Fails
at a link that leads nowhere and at a member that has no section in the reference.
"""

import html
import json
import os
import posixpath
import shutil
import subprocess
import sys
import tempfile

from contexts import REFERENCE, contexts
from pages import MARKDOWN, Documentation, Page, page_name

HERE = os.path.dirname(os.path.abspath(__file__))
WEB = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<link rel="stylesheet" href="style.css">
</head>
<body>
<header id="bar"><button id="menu" type="button">Contents</button><a href="index.html">Brindlex {version}</a>
<input id="search" type="search" placeholder="Search ( / )" aria-label="Search the documentation" autocomplete="off">
<ul id="found"></ul></header>
<div id="frame"><nav aria-label="Contents">{contents}</nav>
<main>
{body}
</main></div>
<script src="search_index.js"></script>
<script src="search.js"></script>
</body>
</html>
"""
HELP = """<html><head><meta http-equiv="Content-Type" content="text/html; charset=utf-8">
<title>{title}</title><link rel="stylesheet" href="help.css"></head>
<body>
{body}
</body></html>
"""
# The first entry of the part #SYSTEM: version 3, then code 10 with 4 bytes, the time.
SYSTEM_TIME = b"\x03\0\0\0\x0a\0\x04\0"
TREE_HEAD = '<!DOCTYPE HTML PUBLIC "-//IETF//DTD HTML//EN">\n<html><head></head><body>\n'


def write(path: str, text: str, encoding: str = "utf-8") -> None:
    with open(path, "w", encoding=encoding, errors="xmlcharrefreplace", newline="\n") as file:
        file.write(text)


def top_pages(documentation: Documentation) -> list[Page]:
    return [documentation.pages[page_name(path)] for path in MARKDOWN]


def web_contents(documentation: Documentation, current: Page) -> str:
    """The list of the pages, with the sections of the current one."""
    lines = ["<ol>"]
    for page in top_pages(documentation):
        marked = ' aria-current="page"' if page is current else ""
        lines.append(f'<li><a href="{page.name}"{marked}>{html.escape(page.title)}</a>')
        if page is current:
            inner = [f'<li><a href="#{s.anchor}">{html.escape(s.title)}</a></li>'
                     for s in page.sections if s.level == 2]
            lines += ["<ol>", *inner, "</ol>"]
        lines.append("</li>")
    return "\n".join([*lines, "</ol>"])


def write_images(documentation: Documentation, folder: str) -> None:
    os.makedirs(os.path.join(folder, "images"))
    for image in sorted(documentation.images):
        shutil.copyfile(os.path.join(documentation.root, image),
                        os.path.join(folder, "images", posixpath.basename(image)))


def write_web(documentation: Documentation, version: str, folder: str) -> None:
    os.makedirs(folder)
    for page in documentation.pages.values():
        title = page.title if page.name == "index.html" else f"{page.title} - Brindlex"
        write(os.path.join(folder, page.name), WEB.format(
            title=html.escape(title), version=version, body=page.body,
            contents=web_contents(documentation, page)))
    sections = [[page.name, s.anchor, page.title, s.title, s.text]
                for page in documentation.pages.values() for s in page.sections]
    write(os.path.join(folder, "search_index.js"),
          "const sections = " + json.dumps(sections, ensure_ascii=False, indent=0) + ";\n")
    for name in ("style.css", "search.js"):
        shutil.copyfile(os.path.join(HERE, name), os.path.join(folder, name))
    write_images(documentation, folder)


def tree_entry(title: str, target: str) -> str:
    return (f'<LI><OBJECT type="text/sitemap"><param name="Name" value="{html.escape(title)}">'
            f'<param name="Local" value="{html.escape(target)}"></OBJECT>\n')


def help_contents(documentation: Documentation, members: dict[int, tuple[str, str]]) -> str:
    lines = [TREE_HEAD, "<UL>\n"]
    for page in top_pages(documentation):
        lines.append(tree_entry(page.title, page.name))
        inner = [tree_entry(s.title, f"{page.name}#{s.anchor}") for s in page.sections if s.level == 2]
        if page.name == REFERENCE:
            inner += [tree_entry(name, f"{REFERENCE}#{anchor}") for name, anchor in members.values()]
        if inner:
            lines += ["<UL>\n", *inner, "</UL>\n"]
    return "".join([*lines, "</UL>\n</body></html>\n"])


def help_index(documentation: Documentation, members: dict[int, tuple[str, str]]) -> str:
    """Classes and members by name, then every section."""
    entries = {(name, f"{REFERENCE}#{anchor}") for name, anchor in members.values()}
    entries |= {(s.title, f"{page.name}#{s.anchor}") for page in top_pages(documentation) for s in page.sections}
    lines = [tree_entry(title, target) for title, target in sorted(entries, key=lambda e: (e[0].lower(), e))]
    return "".join([TREE_HEAD, "<UL>\n", *lines, "</UL>\n</body></html>\n"])


def compiler(folder: str) -> str:
    """The program that makes a help file, compiled in `folder`."""
    path = os.path.join(folder, "compile_chm")
    gcc = subprocess.run(["gcc", "-print-file-name=crtbegin.o"], stdout=subprocess.PIPE, text=True, check=True)
    command = ["fpc", "-n", "-v0ew", "-O1", "-Fu/usr/lib/x86_64-linux-gnu/fpc/$fpcversion/units/$fpctarget/*",
               f"-Fl{os.path.dirname(gcc.stdout)}", f"-FU{folder}", f"-o{path}", os.path.join(HERE, "compile_chm.pas")]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    assert done.returncode == 0, done.stdout
    return path


def without_time(content: bytes) -> bytes:
    """A help file without the time of its making, which is in its head and in the system's own part."""
    head, _, rest = content.partition(SYSTEM_TIME)
    assert content.startswith(b"ITSF") and rest and SYSTEM_TIME not in rest, "no help file as it is known"
    return head[:16] + bytes(4) + head[20:] + SYSTEM_TIME + bytes(4) + rest[4:]


def write_pages(documentation: Documentation, members: dict[int, tuple[str, str]], folder: str) -> list[str]:
    """What the help file is compiled from. Returns the lines of the compiler's list."""
    for page in documentation.pages.values():
        write(os.path.join(folder, page.name), HELP.format(title=html.escape(page.title), body=page.body))
    shutil.copyfile(os.path.join(HERE, "help.css"), os.path.join(folder, "help.css"))
    write_images(documentation, folder)
    write(os.path.join(folder, "contents.hhc"), help_contents(documentation, members), "cp1252")
    write(os.path.join(folder, "index.hhk"), help_index(documentation, members), "cp1252")
    images = [f"images/{posixpath.basename(image)}" for image in sorted(documentation.images)]
    return [
        *(f"file {name}" for name in (*documentation.pages, "help.css", *images)),
        *(f"context {number} {REFERENCE}#{anchor}" for number, (_, anchor) in members.items()),
        "contents contents.hhc", "index index.hhk",
    ]


def write_help(documentation: Documentation, version: str, description: str, path: str) -> None:
    members = contexts(description, documentation.pages[REFERENCE].sections)
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as pages:
        lines = write_pages(documentation, members, pages)
        write(os.path.join(folder, "list"), "\n".join(lines) + "\n")
        compiled = os.path.join(folder, "Brindlex.chm")
        subprocess.run([compiler(folder), pages, os.path.join(folder, "list"), compiled,
                        f"Brindlex {version}"], check=True, stdout=subprocess.DEVNULL)
        with open(compiled, "rb") as file:
            content = without_time(file.read())
    with open(path, "wb") as file:
        file.write(content)


def main(root: str, version: str, output: str) -> None:
    root = os.path.realpath(root)
    documentation = Documentation(root)
    shutil.rmtree(output, ignore_errors=True)
    os.makedirs(output)
    write_web(documentation, version, os.path.join(output, "html"))
    write_help(documentation, version, os.path.join(root, "server/Brindlex.idl"),
               os.path.join(output, "Brindlex.chm"))
    print(f"{len(documentation.pages)} pages in {output}")


main(*sys.argv[1:])
