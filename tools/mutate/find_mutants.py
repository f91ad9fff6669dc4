"""Finds what can be mutated in the sources of the core, and writes them with all mutants in.

A place is a piece of a source that has one or more mutants. Each mutant has two forms: as one of many
that a run chooses from (mutant.h), and as a source of its own where only the compiler comes past it.
"""

import dataclasses
import pathlib
import re

from clang.cindex import Config, Cursor, CursorKind, Index, TranslationUnit, TypeKind

Config.set_library_file("libclang-14.so.1")

COMPARISONS = {
    "<": ("Less", "<=", ">="),
    "<=": ("LessOrEqual", "<", ">"),
    ">": ("Greater", ">=", "<="),
    ">=": ("GreaterOrEqual", ">", "<"),
}
OPERATORS = {
    "+": ("Plus", "-"), "-": ("Minus", "+"), "*": ("Times", "/"), "/": ("Divide", "*"),
    "%": ("Modulo", "*"), "&": ("And", "|"), "|": ("Or", "&"), "^": ("Xor", "&"),
    "<<": ("ShiftLeft", ">>"), ">>": ("ShiftRight", "<<"),
}
ASSIGNMENTS = {op + "=": (name + "Assign", other + "=") for op, (name, other) in OPERATORS.items()}
EQUALITIES = {"==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&"}
FUNCTIONS = (CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION)
CLASSES = (CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE)


@dataclasses.dataclass
class Mutant:
    """One way to write one place otherwise."""
    kind: str
    begin: int
    end: int
    text: str
    number: int = 0


@dataclasses.dataclass
class Place:
    """`parts` are texts, numbers of mutants (as the switch that says whether it lives) and ranges of
    the source."""
    begin: int
    end: int
    parts: list
    mutants: list
    is_constexpr: bool
    depth: int
    is_switched: bool = True


@dataclasses.dataclass
class Constant:
    """A constexpr variable, which is made an ordinary one so that its value can have mutants."""
    name: str
    begin: int
    end: int
    keyword: tuple
    initializer: tuple
    instead: str
    is_switched: bool = True


class Source:
    def __init__(self, path: pathlib.Path):
        self.path = path
        self.text = path.read_text(encoding="utf-8")
        data = self.text.encode("utf-8")
        assert len(data) == len(self.text), f"{path}: offsets are those of bytes"
        self.places = {}
        self.constants = {}

    def line_of(self, offset: int) -> int:
        return self.text.count("\n", 0, offset) + 1

    def line_text(self, offset: int) -> str:
        return self.text.splitlines()[self.line_of(offset) - 1].strip()


def extent(cursor: Cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset


class Finder:
    """Walks over one translation unit and adds what it finds to the sources of the core."""

    def __init__(self, sources: dict):
        self.sources = sources

    def find(self, unit: TranslationUnit) -> None:
        for cursor in unit.cursor.get_children():
            source = self.source_of(cursor)
            if source:
                self.visit(cursor, source, [])

    def source_of(self, cursor: Cursor):
        file = cursor.location.file
        return self.sources.get(str(pathlib.Path(file.name).resolve())) if file else None

    def visit(self, cursor: Cursor, source: Source, above: list) -> None:
        if cursor.kind == CursorKind.STATIC_ASSERT:
            return
        self.look_at(cursor, source, above)
        for child in cursor.get_children():
            self.visit(child, source, above + [cursor])

    # ---- What a node gives ---------------------------------------------------------------------

    def look_at(self, cursor: Cursor, source: Source, above: list) -> None:
        kind = cursor.kind
        if kind == CursorKind.VAR_DECL:
            self.constant(cursor, source)
        if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
                    CursorKind.CALL_EXPR, CursorKind.UNEXPOSED_EXPR):
            self.binary(cursor, source, above)
        if kind == CursorKind.UNARY_OPERATOR:
            self.unary(cursor, source, above)
        if kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL,
                    CursorKind.CHARACTER_LITERAL, CursorKind.STRING_LITERAL,
                    CursorKind.CXX_BOOL_LITERAL_EXPR):
            self.literal(cursor, source, above)
        if kind in (CursorKind.IF_STMT, CursorKind.CONDITIONAL_OPERATOR, CursorKind.WHILE_STMT,
                    CursorKind.DO_STMT, CursorKind.FOR_STMT):
            self.condition(cursor, source, above)
        if kind == CursorKind.RETURN_STMT:
            self.returned(cursor, source, above)
        if kind == CursorKind.CALL_EXPR and above and self.is_statement(cursor, above):
            self.call(cursor, source, above)

    def add(self, source: Source, begin: int, end: int, above: list, make) -> None:
        """`make(mutant)` returns the parts; it calls mutant(kind, begin, end, text) for each."""
        mutants = []

        def mutant(*what):
            mutants.append(Mutant(*what))
            return mutants[-1]

        parts = make(mutant)
        key = (begin, end, mutants[0].kind)
        if parts and key not in source.places:
            source.places[key] = Place(begin, end, parts, mutants, self.in_constexpr(above, source),
                                       len(above), not self.is_bound(begin, above, source))

    @staticmethod
    def is_bound(begin: int, above: list, source: Source) -> bool:
        """Whether the place is the size of an array, for which this compiler takes a variable too."""
        return source.text[begin - 1] == "[" and above[-1].kind in (CursorKind.VAR_DECL,
                                                                    CursorKind.FIELD_DECL)

    @staticmethod
    def in_constexpr(above: list, source: Source) -> bool:
        for cursor in reversed(above):
            if cursor.kind in FUNCTIONS:
                begin = cursor.extent.start.offset
                head = source.text[begin:cursor.location.offset]
                return "constexpr" in head
        return False

    def constant(self, cursor: Cursor, source: Source) -> None:
        begin, end = extent(cursor)
        head = source.text[begin:cursor.location.offset]
        at = head.find("constexpr ")
        if at < 0 or "<" in head[:at]:
            return
        assignment = re.compile(r"[\w\[\]]*\s*=\s*").match(source.text, cursor.location.offset)
        init = assignment.end() if assignment else end
        source.constants[begin] = Constant(cursor.spelling, begin, end,
                                           (begin + at, begin + at + len("constexpr ")), (init, end),
                                           "inline " if cursor.semantic_parent.kind in CLASSES
                                           else "",
                                           # Those would be initialized in any order.
                                           cursor.semantic_parent.kind != CursorKind.CLASS_TEMPLATE)

    def binary(self, cursor: Cursor, source: Source, above: list) -> None:
        begin, end = extent(cursor)
        sides = [child for child in cursor.get_children()
                 if not child.spelling.startswith("operator") or
                 child.kind not in (CursorKind.DECL_REF_EXPR, CursorKind.UNEXPOSED_EXPR,
                                    CursorKind.OVERLOADED_DECL_REF)
                 or child.kind == CursorKind.UNEXPOSED_EXPR and
                 not source.text[slice(*extent(child))].strip() in
                 (*EQUALITIES, *COMPARISONS, *OPERATORS)]
        if len(sides) != 2:
            return
        (left_begin, left_end), (right_begin, right_end) = sorted(map(extent, sides))
        if left_begin != begin or right_end != end or left_end > right_begin:
            return
        between = source.text[left_end:right_begin]
        op = between.strip()
        at = left_end + between.find(op)
        left, right = (left_begin, left_end), (right_begin, right_end)

        def other(mutant, text):
            return mutant("operator", at, at + len(op), text)

        if op in EQUALITIES:
            self.add(source, begin, end, above, lambda mutant: [
                "(", other(mutant, EQUALITIES[op]), " != (", left, between, right, "))"])
        elif op in LOGIC:
            def logic(mutant):
                which = other(mutant, LOGIC[op])
                return ["(", which, " != ((", which, " != bool(", left, "))", between, "(", which,
                        " != bool(", right, "))))"]
            self.add(source, begin, end, above, logic)
        elif cursor.kind == CursorKind.CALL_EXPR or cursor.kind == CursorKind.UNEXPOSED_EXPR:
            return
        elif op in COMPARISONS:
            name, first, second = COMPARISONS[op]
            self.add(source, begin, end, above, lambda mutant: [
                f"mutant::{name}(", other(mutant, first), ", ", other(mutant, second), ", ", left,
                ",", between.replace(op, ""), right, ")"])
        elif op in OPERATORS:
            if op == "-" and self.both_pointers(sides):
                return
            name, changed = OPERATORS[op]
            self.add(source, begin, end, above, lambda mutant: [
                f"mutant::{name}(", other(mutant, changed), ", ", left, ",",
                between.replace(op, ""), right, ")"])
        elif op in ASSIGNMENTS:
            name, changed = ASSIGNMENTS[op]
            self.add(source, begin, end, above, lambda mutant: [
                f"mutant::{name}(", other(mutant, changed), ", ", left, ",",
                between.replace(op, ""), right, ")"])

    @staticmethod
    def both_pointers(sides: list) -> bool:
        return all(side.type.get_canonical().kind == TypeKind.POINTER for side in sides)

    def unary(self, cursor: Cursor, source: Source, above: list) -> None:
        begin, end = extent(cursor)
        operand = extent(next(cursor.get_children()))
        op = source.text[begin:operand[0]].strip()
        if op == "!":
            self.add(source, begin, end, above, lambda mutant: [
                "(", mutant("operator", begin, begin + 1, ""), " != !bool(", operand, "))"])
        named = {"++": ("Increment", "--"), "--": ("Decrement", "++"), "-": ("Negative", "+"),
                 "~": ("Complement", "+")}
        if op in named:
            name, other = named[op]
            self.add(source, begin, end, above, lambda mutant: [
                f"mutant::{name}(", mutant("operator", begin, begin + len(op), other), ", ", operand,
                ")"])

    def literal(self, cursor: Cursor, source: Source, above: list) -> None:
        begin, end = extent(cursor)
        text = source.text[begin:end]
        if cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            others = ["false" if text == "true" else "true"]
        elif cursor.kind == CursorKind.INTEGER_LITERAL:
            others = [f"({text} + 1)", f"({text} - 1)"]
        elif cursor.kind == CursorKind.FLOATING_LITERAL:
            others = [f"({text} * 2)" if float_of(text) else "1.0"]
        elif cursor.kind == CursorKind.CHARACTER_LITERAL:
            others = [f"static_cast<decltype({text})>({text} + 1)"]
        else:
            unit = re.fullmatch(r'(u?")(?:\\u[0-9A-F]{4}|\\.|[^\\"])((?:[^"\\]|\\.)*")', text)
            if not unit:
                return
            others = [unit[1] + "#" + unit[2]]

        def make(mutant):
            parts = ["("]
            for other in others:
                parts += [mutant("constant", begin, end, other), f" ? {other} : "]
            return [*parts, text, ")"]
        self.add(source, begin, end, above, make)

    def condition(self, cursor: Cursor, source: Source, above: list) -> None:
        begin, _ = extent(cursor)
        children = list(cursor.get_children())
        is_loop = cursor.kind in (CursorKind.WHILE_STMT, CursorKind.DO_STMT, CursorKind.FOR_STMT)
        if cursor.kind == CursorKind.FOR_STMT:
            tested = between_semicolons(source.text, begin)
        elif cursor.kind == CursorKind.DO_STMT:
            tested = extent(children[-1])
        else:
            if children[0].kind in (CursorKind.DECL_STMT, CursorKind.VAR_DECL):
                return
            tested = extent(children[0])
        if not tested or not source.text[slice(*tested)].strip():
            return
        if source.text[begin:tested[0]].startswith("if constexpr"):
            values = ["true", "false"]
        else:
            # What never ends says nothing that an end too late would not.
            values = ["false"] if is_loop else ["true", "false"]

        def make(mutant):
            parts = [tested]
            for value in values:
                which = mutant("condition", *tested, value)
                parts = (["(", which, " || bool(", *parts, "))"] if value == "true" else
                         ["(!", which, " && bool(", *parts, "))"])
            return parts
        self.add(source, *tested, above, make)

    def returned(self, cursor: Cursor, source: Source, above: list) -> None:
        children = list(cursor.get_children())
        if not children or children[0].type.get_canonical().kind != TypeKind.BOOL:
            return
        tested = extent(children[0])
        if source.text[slice(*tested)] in ("true", "false"):
            return
        # Where the function returns something else than a flag, a flag is only what it is made of.
        functions = [c for c in above if c.kind in (*FUNCTIONS, CursorKind.LAMBDA_EXPR)]
        if not functions or (functions[-1].kind != CursorKind.LAMBDA_EXPR and
                             functions[-1].result_type.get_canonical().kind != TypeKind.BOOL):
            return
        self.add(source, *tested, above, lambda mutant: [
            "(", mutant("return", *tested, "true"), " || (!", mutant("return", *tested, "false"),
            " && bool(", tested, ")))"])

    @staticmethod
    def is_statement(cursor: Cursor, above: list) -> bool:
        parent = above[-1]
        if parent.kind == CursorKind.UNEXPOSED_EXPR and len(above) > 1:
            if extent(parent) != extent(cursor):
                return False
            parent = above[-2]
        begin = cursor.extent.start.offset
        if parent.kind == CursorKind.COMPOUND_STMT:
            return True
        if parent.kind in (CursorKind.IF_STMT, CursorKind.FOR_STMT, CursorKind.WHILE_STMT,
                           CursorKind.CXX_FOR_RANGE_STMT):
            children = list(parent.get_children())
            return begin >= children[-1].extent.start.offset or (
                parent.kind == CursorKind.IF_STMT and begin > children[0].extent.end.offset)
        return False

    def call(self, cursor: Cursor, source: Source, above: list) -> None:
        begin, end = extent(cursor)
        if source.text[end:end + 1] != ";":
            return
        if re.search(r"[^=!<>]=[^=]", source.text[begin:end].split("(")[0]):
            return
        self.add(source, begin, end, above, lambda mutant: [
            "(", mutant("call", begin, end, "(void)0"), " ? (void)0 : (void)(", (begin, end), "))"])


def float_of(text: str) -> float:
    return float.fromhex(text) if text.startswith("0x") else float(text)


def between_semicolons(text: str, begin: int):
    depth, marks = 0, []
    for at in range(text.index("(", begin), len(text)):
        if text[at] in "([{":
            depth += 1
        elif text[at] in ")]}":
            depth -= 1
            if depth == 0:
                break
        elif text[at] == ";" and depth == 1:
            marks.append(at)
    if len(marks) != 2:
        return None
    tested_begin, tested_end = marks[0] + 1, marks[1]
    while tested_begin < tested_end and text[tested_begin].isspace():
        tested_begin += 1
    return tested_begin, tested_end


def find(root: pathlib.Path, units: list, headers: list, arguments: list) -> dict:
    sources = {str(path): Source(path) for path in [*units, *headers]}
    finder, index = Finder(sources), Index.create()
    for path in units:
        unit = index.parse(str(path), args=arguments)
        errors = [d for d in unit.diagnostics if d.severity >= 3]
        if errors:
            raise RuntimeError(f"{path}: {errors[0]}")
        finder.find(unit)
    for source in sources.values():
        for constant in (c for c in source.constants.values() if not c.is_switched):
            for place in source.places.values():
                if constant.begin <= place.begin and place.end <= constant.end:
                    place.is_switched = False
    return {path.relative_to(root).as_posix(): sources[str(path)] for path in [*units, *headers]}


# ---- Writing the sources with all mutants in ---------------------------------------------------


def render(source: Source) -> str:
    """The source with each switched place in. Lines stay where they are."""
    constants = [c for c in source.constants.values() if c.is_switched]
    keywords = {c.keyword[0]: c for c in constants}
    places = [p for p in source.places.values() if p.is_switched]
    # An initializer that the compiler would run otherwise.
    places += [Place(*c.initializer, ["(mutant::AtRunTime(), ", c.initializer, ")"], [], False, -1)
               for c in constants if c.initializer[0] < c.initializer[1]
               and source.text[c.initializer[0]] != "{"]
    places.sort(key=lambda p: (p.begin, -p.end, p.depth))

    def plain(begin: int, end: int) -> str:
        text, at = "", begin
        for offset in sorted(o for o in keywords if begin <= o < end):
            text += source.text[at:offset] + keywords[offset].instead
            at = keywords[offset].keyword[1]
        return text + source.text[at:end]

    def whole(begin: int, end: int, first: int, last: int) -> str:
        text, at, index = "", begin, first
        while index < last:
            place = places[index]
            inside = index + 1
            if place.begin >= at and place.end <= end:
                while inside < last and places[inside].begin < place.end:
                    inside += 1
                text += plain(at, place.begin) + one(place, index + 1, inside)
                at = place.end
            index = inside
        return text + plain(at, end)

    def one(place: Place, first: int, last: int) -> str:
        switch = "mutant::IsAtRunTime" if place.is_constexpr else "mutant::Is"
        text = ""
        for part in place.parts:
            if isinstance(part, Mutant):
                text += f"{switch}({part.number})"
            elif isinstance(part, tuple):
                text += whole(*part, first, last)
            else:
                text += part
        return text

    return whole(0, len(source.text), 0, len(places))
