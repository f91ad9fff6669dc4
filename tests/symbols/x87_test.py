"""Checks that 64-bit code of the component computes without the x87, whose state it therefore leaves alone.

usage: x87_test.py OBJDUMP LIBRARY... -- CONTROL

LIBRARY must have no instruction of the x87; CONTROL has some, which shows that the check sees them.
"""

import re
import subprocess
import sys


def instructions_of_x87(objdump: str, library: str) -> set[str]:
    code = subprocess.run([objdump, "-d", "--no-show-raw-insn", library], stdout=subprocess.PIPE, check=True,
                          timeout=60, text=True).stdout
    instructions = re.findall(r"^ *[0-9a-f]+:\t(\w+)", code, re.MULTILINE)
    assert "ret" in instructions, f"{library} has no code"
    # All of them begin with this letter, and no others that a compiler makes.
    return {name for name in instructions if name.startswith("f")}


def main(objdump: str, *paths: str) -> None:
    end = paths.index("--")
    libraries, (control,) = paths[:end], paths[end + 1:]
    assert libraries
    assert "fldcw" in instructions_of_x87(objdump, control), f"the check does not see fldcw in {control}"
    for library in libraries:
        found = instructions_of_x87(objdump, library)
        assert not found, f"{library} has {' '.join(sorted(found))}"


main(*sys.argv[1:])
print(f"{sys.argv[0]}: done")
