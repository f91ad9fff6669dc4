"""Tables and their files, as docs/format.md has them: a slow, obviously right model for the tests."""

import dataclasses
import random

MARKERS = [("¥", "Œ"), ("»", "Š"), ("\x1f", "\x1e"), ("|", ";")]
ENCODINGS = {"windows-1252": "cp1252", "utf-8": "utf-8", "utf-16": "utf-16-le", "utf-16be": "utf-16-be"}


@dataclasses.dataclass(frozen=True)
class Form:
    """Everything of a file that is not its table."""

    encoding: str = "windows-1252"
    mark: bool = False
    markers: tuple[str, str] = MARKERS[0]
    breaks: int = 0

    def file(self, names: list[str], rows: list[list[str]]) -> bytes:
        field, record = self.markers
        records = ["".join(value + field for value in row) + record for row in [names, *rows]]
        text = "".join(one + "\r\n" * self.breaks for one in records)
        return (("\ufeff" if self.mark else "") + text).encode(ENCODINGS[self.encoding])

    def holds(self, names: list[str], rows: list[list[str]]) -> bool:
        """Whether a file of this form is read back as this table."""
        try:
            self.file(names, rows)
        except UnicodeEncodeError:
            return False
        values = names + [value for row in rows for value in row]
        starts = [row[0] for row in rows]
        return not (any(marker in value for marker in self.markers for value in values)
                    or any(start.startswith("\r\n") for start in starts))

    def marker_options(self, prefix: str) -> list[str]:
        field, record = (f"U+{ord(marker):04X}" for marker in self.markers)
        return [f"--{prefix}field-end", field, f"--{prefix}record-end", record]

    def reading(self) -> list[str]:
        """The options by which a command reads such a file."""
        return ["--encoding", self.encoding, *self.marker_options("")]

    def target(self) -> list[str]:
        """The options by which a command writes one."""
        return ["--to-encoding", self.encoding, "--bom" if self.mark else "--no-bom", *self.marker_options("to-"),
                "--line-breaks", str(self.breaks)]


def random_form(dice: random.Random) -> Form:
    encoding = dice.choice(list(ENCODINGS))
    mark = encoding != "windows-1252" and dice.random() < 0.7
    return Form(encoding, mark, dice.choice(MARKERS), dice.choice([0, 0, 0, 1, 3]))


def random_value(dice: random.Random, alphabet: str) -> str:
    return "".join(dice.choice(alphabet) for _ in range(dice.choice([0, 1, 1, 2, 5])))


def random_table(dice: random.Random, alphabet: str, rows: int) -> tuple[list[str], list[list[str]]]:
    names = dice.sample(["Title", "Price", "Länge", "A b", "x"], dice.randint(1, 4))
    return names, [[random_value(dice, alphabet) for _ in names] for _ in range(dice.randint(1, rows))]
