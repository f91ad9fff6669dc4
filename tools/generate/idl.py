"""Reads server/Brindlex.idl, for the tools that write something down from it.

It knows the part of the language that the file uses, and fails at anything else.
"""

import re
from dataclasses import dataclass, field

import typelib_tolerance

TOKEN = re.compile(r'\s+|//[^\n]*|("[^"]*"|[\w{}\-.]+?(?=[\s\[\](),;*:{}"])|[\[\](),;*:{}])')
# How the types are called in a program.
WORDS = {
    "BSTR": "text",
    "VARIANT": "Variant",
    "VARIANT_BOOL": "flag",
    "long": "whole number",
    "double": "number",
    "IDispatch*": "object",
    "IUnknown*": "enumerator",
}


@dataclass
class Parameter:
    name: str
    type: str
    attributes: dict[str, str]

    @property
    def is_by_reference(self) -> bool:
        return {"in", "out"} <= self.attributes.keys()

    @property
    def default(self) -> str | None:
        """The default value as a C++ literal; None without one."""
        value = self.attributes.get("defaultvalue")
        if value is not None and self.type == "double*":
            # The description has a stand-in for the only default of type double.
            assert int(value, 0) == typelib_tolerance.STAND_IN
            return repr(typelib_tolerance.TOLERANCE)
        return value

    @property
    def word(self) -> str:
        """The type as a program knows it: "text" for BSTR, "clsCollection" for its interface."""
        inner = self.type
        if "out" in self.attributes:
            inner = inner.removesuffix("*")
        if inner in WORDS:
            return WORDS[inner]
        if inner.startswith("_") and inner.endswith("*"):
            return inner[1:-1]
        raise ValueError(f"no word for the type {inner}")


@dataclass
class Member:
    """A method, or one direction of a property. `kind` is "call", "get" or "put"; setting a property
    that is an object is a "put" too, with `is_reference`."""

    name: str
    id: int
    kind: str
    help: str
    is_restricted: bool
    is_reference: bool
    parameters: list[Parameter]
    result: Parameter | None
    context: int = 0  # of the help; the directions of a property share it


@dataclass
class Interface:
    name: str
    uuid: str
    help: str
    members: list[Member] = field(default_factory=list)


@dataclass
class Coclass:
    name: str
    uuid: str
    help: str
    interface: Interface
    context: int = 0


@dataclass
class Library:
    name: str
    uuid: str
    version: str
    help: str
    classes: list[Coclass]


class Reader:
    """The file's tokens, one after the other."""

    def __init__(self, text: str) -> None:
        self.tokens = [match[1] for match in TOKEN.finditer(text) if match[1]]
        unread = TOKEN.sub("", text)
        if unread:
            raise ValueError(f"cannot read {unread[:40]!r}")

    def next(self, wanted: str | None = None) -> str:
        token = self.tokens.pop(0)
        if wanted is not None and token != wanted:
            raise ValueError(f"{wanted!r} expected, not {token!r}")
        return token

    def comes(self, wanted: str) -> bool:
        return bool(self.tokens) and self.tokens[0] == wanted

    def attributes(self) -> dict[str, str]:
        """[name, name(value), ...] with "" for a name without a value."""
        found = {}
        self.next("[")
        while True:
            name = self.next()
            found[name] = ""
            if self.comes("("):
                self.next("(")
                found[name] = self.next().strip('"')
                self.next(")")
            if self.next() == "]":
                return found

    def parameter(self) -> Parameter:
        attributes = self.attributes()
        type_name = self.next()
        while self.comes("*"):
            type_name += self.next("*")
        return Parameter(self.next(), type_name, attributes)

    def member(self) -> Member:
        attributes = self.attributes()
        self.next("HRESULT")
        name = self.next()
        parameters = []
        self.next("(")
        while not self.comes(")"):
            parameters.append(self.parameter())
            if self.comes(","):
                self.next()
        self.next(")")
        self.next(";")
        result = None
        if parameters and "retval" in parameters[-1].attributes:
            result = parameters.pop()
        is_put = "propput" in attributes or "propputref" in attributes
        kind = "get" if "propget" in attributes else "put" if is_put else "call"
        return Member(
            name, int(attributes["id"]), kind, attributes["helpstring"], "restricted" in attributes,
            "propputref" in attributes, parameters, result,
        )

    def interface(self, attributes: dict[str, str]) -> Interface:
        interface = Interface(self.next(), attributes["uuid"], attributes["helpstring"])
        self.next(":")
        self.next("IDispatch")
        self.next("{")
        while not self.comes("}"):
            interface.members.append(self.member())
        self.next("}")
        return interface

    def coclass(self, attributes: dict[str, str], interfaces: dict[str, Interface]) -> Coclass:
        name = self.next()
        self.next("{")
        self.attributes()
        self.next("interface")
        interface = interfaces[self.next()]
        self.next(";")
        self.next("}")
        return Coclass(name, attributes["uuid"], attributes["helpstring"], interface)

    def library(self) -> Library:
        self.next("import")
        self.next()
        self.next(";")
        about = self.attributes()
        self.next("library")
        library = Library(self.next(), about["uuid"], about["version"], about["helpstring"], [])
        interfaces = {}
        self.next("{")
        while not self.comes("}"):
            if self.comes("["):
                attributes = self.attributes()
                if self.next() == "interface":
                    interface = self.interface(attributes)
                    interfaces[interface.name] = interface
                else:
                    library.classes.append(self.coclass(attributes, interfaces))
            else:  # importlib("..."); or interface NAME;
                while self.next() != ";":
                    pass
        return library


def number_help(library: Library) -> None:
    """Gives every class and member its help context: 1000 for the first class, 1001 for its first member.
    New classes and members go at the end, so that released numbers never change."""
    for number, coclass in enumerate(library.classes, 1):
        coclass.context = 1000 * number
        names = list(dict.fromkeys(member.name for member in coclass.interface.members))
        for member in coclass.interface.members:
            member.context = coclass.context + 1 + names.index(member.name)


def read_library(path: str) -> Library:
    with open(path, encoding="ascii") as file:
        library = Reader(file.read()).library()
    number_help(library)
    return library
