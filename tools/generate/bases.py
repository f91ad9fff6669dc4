"""Reads bases/bases.txt, for the tools that write something down from it."""

from dataclasses import dataclass

DIGIT_WIDTHS = {"numeral": 1, "letter": 1, "sexagesimal": 3}
LARGEST_DIVISOR = 2**31 - 1


@dataclass
class Base:
    base: int
    alphabet: str
    digits: str
    no_digit: str

    @property
    def digit_width(self) -> int:
        """How many characters a digit has."""
        return DIGIT_WIDTHS[self.digits]

    @property
    def fraction_digits(self) -> int:
        """How many fractional digits a text can have before the divisor overflows."""
        count = 0
        while self.base ** (count + 1) <= LARGEST_DIVISOR:
            count += 1
        return count


def read_bases(path: str) -> list[Base]:
    bases = []
    with open(path, encoding="ascii") as file:
        for line in file:
            if not line.strip() or line.startswith("#"):
                continue
            base, alphabet, digits, no_digit = (cell.strip() for cell in line.split("|"))
            row = Base(int(base), alphabet, digits, no_digit)
            if len(set(alphabet)) != len(alphabet):
                raise ValueError(f"base {base}: a character is there twice")
            if len(alphabet) != (10 if digits == "sexagesimal" else row.base):
                raise ValueError(f"base {base}: the alphabet has {len(alphabet)} characters")
            bases.append(row)
    if [row.base for row in bases] != sorted({row.base for row in bases}):
        raise ValueError("the bases are not in ascending order")
    return bases
