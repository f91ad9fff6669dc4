"""A function whose array was written beyond its end does not return: the process ends before.

usage: overrun_test.py WINE PROGRAM
"""

import os
import subprocess
import sys

# 0xC0000409, the status of a stack that was overwritten, of which the system passes on the last byte. An emulator
# takes the instruction that asks for it for an unknown one, 0xC000001D, which ends the process as well.
ENDED = {0x09, 0x1D} if os.path.exists("/proc/sys/fs/binfmt_misc/brindlex-i386") else {0x09}


def run(size: int) -> subprocess.CompletedProcess:
    return subprocess.run([*sys.argv[1:], "A" * size], stdout=subprocess.PIPE, timeout=60, check=False)


right = run(15)
assert right.returncode == 0 and right.stdout.startswith(b"returned 65"), right
# Far enough to change the guard, whose first byte is 0 as the text's end is, and not so far as to leave the stack.
for size in (28, 32, 48):
    ended = run(size)
    assert ended.returncode in ENDED and b"returned" not in ended.stdout, (size, ended)
print("overrun_test.py: done")
