"""Checks that no function of the product is longer than 40 lines, its signature and braces included.

usage: function_length_test.py ROOT

It knows as much of C++ as the project's formatting needs: a brace opens a scope (namespace, class, list of
values) or a function; what is nested in a function belongs to it.
"""

import pathlib
import re
import sys

ROOMS = ("appfiles", "automation", "bases", "cli", "environment", "persistence", "platform", "server")
# How many functions of a room may still be too long.
PENDING: dict[str, int] = {}
MOST_LINES = 40
# Comments, preprocessor lines, raw strings, strings and characters, in this order of preference.
NOISE = re.compile(
    r'//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n\\]|\\\n|\\.)*|R"(\w*)\(.*?\)\1"|"(?:[^"\\\n]|\\.)*"|'
    r"(?<![0-9A-Fa-f])'(?:[^'\\\n]|\\.)*'",
    re.DOTALL | re.MULTILINE,
)
SCOPE = re.compile(r"^(?:template\b[^;]*>\s*)?(?:inline\s+)?(?:namespace|class|struct|union|enum|extern)\b(?![^{]*\)\s*$)")


ACCESS = re.compile(r"^( +(?:public|protected|private)):$", re.MULTILINE)


def without_noise(text: str) -> str:
    """The text with everything blanked that is no code; lines stay where they are."""
    code = NOISE.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)
    # So that a declaration begins after it.
    return ACCESS.sub(r"\1;", code)


def closing_brace(code: str, opening: int) -> int:
    depth = 0
    for at in range(opening, len(code)):
        if code[at] in "{}":
            depth += 1 if code[at] == "{" else -1
            if depth == 0:
                return at
    raise ValueError("a brace is not closed")


def opens_function(head: str) -> bool:
    """Whether a brace after `head` opens the body of a function or of a lambda."""
    return "(" in head or head.endswith("]") if not SCOPE.match(head) else False


def functions(text: str):
    """The first line, the name or what stands for it, and the number of lines of every function."""
    code = without_noise(text)
    start = at = 0
    while at < len(code):
        if code[at] in ";}":
            start = at + 1
        elif code[at] == "{":
            head = code[start:at].strip()
            if opens_function(head):
                end = closing_brace(code, at)
                first = start + len(code[start:at]) - len(code[start:at].lstrip())
                line = code.count("\n", 0, first) + 1
                yield line, " ".join(head.split())[:70], code.count("\n", first, end) + 1
                at = end
            start = at + 1
        at += 1


def long_functions(root: pathlib.Path, room: str):
    for source in sorted((root / room).rglob("*")):
        if source.suffix in (".h", ".cpp"):
            for line, name, lines in functions(source.read_text(encoding="utf-8")):
                if lines > MOST_LINES:
                    yield f"{source.relative_to(root)}:{line}: {lines} lines: {name}"


def count_functions(root: pathlib.Path) -> int:
    sources = [p for room in ROOMS for p in (root / room).rglob("*") if p.suffix in (".h", ".cpp")]
    return sum(len(list(functions(p.read_text(encoding="utf-8")))) for p in sources)


# What the reading of functions rests on.
SAMPLE = """namespace a {
// A brace in a comment: {
constexpr char kText[] = "{";
const Row kRows[] = {{1, [](int x) {
  return x;
}}};
template <class T>
class B : public C<T> {
 public:
  B() : d_(1) {}
  int E(int x) const {
    if (x) {
      return 1'000;
    }
    return '{';
  }
};
}
"""
SAMPLE_LENGTHS = [3, 1, 6]


def main(root_name: str) -> int:
    root = pathlib.Path(root_name)
    lengths = [lines for _, _, lines in functions(SAMPLE)]
    if lengths != SAMPLE_LENGTHS:
        print(f"the sample's functions have {lengths} lines, not {SAMPLE_LENGTHS}")
        return 1
    status = pending = 0
    for room in ROOMS:
        found = list(long_functions(root, room))
        pending += len(found)
        if len(found) > PENDING.get(room, 0):
            print("\n".join(found))
            status = 1
    if status == 0:
        print(f"{count_functions(root)} functions, {pending} of them longer than {MOST_LINES} lines")
    return status


sys.exit(main(*sys.argv[1:]))
