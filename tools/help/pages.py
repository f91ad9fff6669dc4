"""The pages of the documentation: Markdown and source files of the tree, as HTML with links among them."""

import html
import os
import posixpath
import re
import subprocess
from dataclasses import dataclass, field

# In the order in which a person reads them; each becomes a page named after its file.
MARKDOWN = (
    "README.md", "docs/tasks.md", "docs/reference.md", "docs/reports.md", "docs/format.md", "docs/files.md",
    "docs/number-bases.md", "docs/tool.md", "docs/tool-reference.md", "examples/README.md", "docs/deployment.md",
    "docs/troubleshooting.md", "docs/faq.md", "docs/performance.md", "docs/reliability.md", "SECURITY.md",
    "docs/dependencies.md", "CHANGELOG.md", "CONTRIBUTING.md",
)
IMAGES = (".png", ".svg")
HEADING = re.compile(r'<h([1-6]) id="([^"]+)">(.*?)</h\1>', re.DOTALL)
LINK = re.compile(r'(?<=[ "])(href|src)="([^"]*)"')
COMMENT = re.compile(r"<!--.*?-->\n?", re.DOTALL)


@dataclass
class Section:
    level: int
    anchor: str
    title: str
    text: str  # without marks, for the search


@dataclass
class Page:
    source: str  # its path in the tree
    name: str
    body: str
    title: str = ""
    sections: list[Section] = field(default_factory=list)


def plain(marked: str) -> str:
    """HTML without its marks."""
    return " ".join(html.unescape(re.sub(r"<[^>]+>", " ", marked)).split())


def page_name(path: str) -> str:
    """The file of the page that shows a file or folder of the tree."""
    if path == "README.md":
        return "index.html"
    if path in MARKDOWN:
        stem = path.removesuffix("/README.md").removesuffix(".md")
        return posixpath.basename(stem).lower() + ".html"
    return path.replace("/", "-") + ".html"


def sections_of(body: str) -> list[Section]:
    found = list(HEADING.finditer(body))
    ends = [match.start() for match in found[1:]] + [len(body)]
    return [Section(int(match[1]), match[2], plain(match[3]), plain(body[match.end():end]))
            for match, end in zip(found, ends)]


class Documentation:
    """Every page, made from the tree at `root`. A link that leads nowhere is an error."""

    def __init__(self, root: str) -> None:
        self.root = root
        self.pages: dict[str, Page] = {}
        self.images: set[str] = set()
        self.waiting = [path for path in MARKDOWN if os.path.exists(os.path.join(root, path))]
        assert self.waiting == list(MARKDOWN), set(MARKDOWN) - set(self.waiting)
        while self.waiting:
            path = self.waiting.pop(0)
            if page_name(path) not in self.pages:
                self.add(path)
        self.check_anchors()

    def add(self, path: str) -> None:
        body = self.markdown(path) if path.endswith(".md") else self.sources(path)
        page = Page(path, page_name(path), body, sections=sections_of(body))
        page.title = page.sections[0].title
        self.pages[page.name] = page

    def markdown(self, path: str) -> str:
        with open(os.path.join(self.root, path), encoding="utf-8") as file:
            text = COMMENT.sub("", file.read())
        body = subprocess.run(["pandoc", "-f", "gfm", "-t", "html5", "--no-highlight", "--wrap=preserve"],
                              input=text, stdout=subprocess.PIPE, text=True, check=True).stdout
        body = LINK.sub(lambda match: f'{match[1]}="{html.escape(self.target(path, html.unescape(match[2])))}"', body)
        return body.replace("<table>", '<div class="table"><table>').replace("</table>", "</table></div>")

    def sources(self, path: str) -> str:
        """A file, or every file of a folder, as it is."""
        full = os.path.join(self.root, path)
        names = [path] if os.path.isfile(full) else sorted(
            posixpath.join(path, name) for name in os.listdir(full)
            if os.path.isfile(os.path.join(full, name)))
        lines = [f'<h1 id="{html.escape(posixpath.basename(path))}">{html.escape(path)}</h1>']
        for name in names:
            with open(os.path.join(self.root, name), encoding="utf-8-sig", errors="replace") as file:
                content = html.escape(file.read(), quote=False)
            if name != path:
                base = html.escape(posixpath.basename(name))
                lines.append(f'<h2 id="{base}">{base}</h2>')
            lines.append(f"<pre><code>{content}</code></pre>")
        return "\n".join(lines)

    def target(self, page: str, link: str) -> str:
        """Where a link of the page `page` leads in the documentation."""
        if re.match(r"[a-z]+:", link):
            return link
        path, _, anchor = link.partition("#")
        if not path:
            return link
        path = posixpath.normpath(posixpath.join(posixpath.dirname(page), path))
        assert os.path.exists(os.path.join(self.root, path)), f"{page}: {link} leads nowhere"
        if path.endswith(IMAGES):
            self.images.add(path)
            return "images/" + posixpath.basename(path)
        self.waiting.append(path)
        return page_name(path) + ("#" + anchor if anchor else "")

    def check_anchors(self) -> None:
        anchors = {name: {section.anchor for section in page.sections} for name, page in self.pages.items()}
        for page in self.pages.values():
            for _, link in LINK.findall(page.body):
                name, _, anchor = html.unescape(link).partition("#")
                if re.match(r"[a-z]+:", link) or name.startswith("images/"):
                    continue
                name = name or page.name
                assert name in anchors, f"{page.source}: no page {name}"
                assert not anchor or anchor in anchors[name], f"{page.source}: no section {link}"
