"""A function whose array was written beyond its end does not return: the process ends before.

usage: overrun_test.py WINE PROGRAM
"""

import subprocess
import sys


def run(size: int) -> subprocess.CompletedProcess:
    return subprocess.run([*sys.argv[1:], "A" * size], stdout=subprocess.PIPE, timeout=60, check=False)


right = run(15)
assert right.returncode == 0 and right.stdout.startswith(b"returned 65"), right
# Far enough to reach the guard, and not so far as to leave the stack.
for size in (24, 28, 32, 48):
    ended = run(size)
    # The status is 0xC0000409, of which the system passes on the last byte.
    assert ended.returncode == 9 and b"returned" not in ended.stdout, (size, ended)
print("overrun_test.py: done")
