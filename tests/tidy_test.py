"""When `./dev lint` judges a source again: tools/tidy.py with a judge that objects to the word BAD.

usage: tidy_test.py ROOT
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(sys.argv.pop(1)).resolve() / "tools/tidy.py"

FAKE_CLANG_TIDY = """#!/bin/sh
[ "$1" = --version ] && { echo 14; exit 0; }
for word; do case $word in *.cpp) echo "$word" >>judged; file=$word ;; esac; done
printf '%s\\n' "$*" >arguments
echo '3 warnings generated.' >&2
if grep -q BAD "$file"; then echo "$file: error"; exit 1; fi
"""


class Tidy(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.fake = self.root / "fake-clang-tidy"
        self.fake.write_text(FAKE_CLANG_TIDY, encoding="utf-8")
        self.fake.chmod(0o755)
        self.write(".clang-tidy", "Checks: '*'\n")
        self.write("one.h", "int one();\n")
        self.write("one.cpp", '#include "one.h"\n')
        self.write("two.cpp", "int two();\n")
        compiler = "g++ -fno-reorder-blocks-and-partition -DFIRST"
        self.write("compile_commands.json", json.dumps(
            [{"directory": str(self.root), "file": str(self.root / name), "command": f"{c} -o x.o -c {self.root / name}"}
             for name in ("one.cpp", "two.cpp") for c in (compiler, "g++ -DSECOND")]))

    def write(self, name: str, text: str) -> None:
        (self.root / name).write_text(text, encoding="utf-8")

    def judge(self, *arguments: str) -> tuple[list[str], subprocess.CompletedProcess]:
        """The sources that were judged now, and how it ended."""
        log = self.root / "judged"
        log.unlink(missing_ok=True)
        done = subprocess.run([sys.executable, "-B", SCRIPT, self.root, self.root, f"--clang-tidy={self.fake}", *arguments],
                              input="".join(f"{self.root / name}\0" for name in ("one.cpp", "two.cpp")),
                              capture_output=True, text=True, check=False)
        names = log.read_text(encoding="utf-8").split() if log.exists() else []
        return sorted(pathlib.Path(name).name for name in names), done

    def test_each_source_once_by_its_first_command(self) -> None:
        judged, done = self.judge("--target=x")
        self.assertEqual((["one.cpp", "two.cpp"], 0, ""), (judged, done.returncode, done.stdout))
        arguments = (self.root / "arguments").read_text(encoding="utf-8").split()
        self.assertIn("-DFIRST", arguments)
        self.assertIn("--target=x", arguments)
        for left_out in ("-DSECOND", "-c", "-o", "-fno-reorder-blocks-and-partition"):
            self.assertNotIn(left_out, arguments)

    def test_a_clean_source_is_not_judged_again(self) -> None:
        self.judge()
        self.assertEqual([], self.judge()[0])

    def test_what_it_includes_its_comments_and_its_macros_count(self) -> None:
        for text in ("int two();\n", "int two();  // NOLINT\n", "int two();\n#define MACRO 1\n"):
            self.write("one.h", text)
            self.assertEqual(["one.cpp"], [name for name in self.judge()[0] if name == "one.cpp"])

    def test_other_rules_judge_all_again(self) -> None:
        self.judge()
        self.write(".clang-tidy", "Checks: '-*'\n")
        self.assertEqual(["one.cpp", "two.cpp"], self.judge()[0])
        self.assertEqual(["one.cpp", "two.cpp"], self.judge("--checks=-x")[0])
        self.assertEqual(["one.cpp", "two.cpp"], self.judge("-DMORE")[0])

    def test_an_objection_fails_and_is_found_again(self) -> None:
        self.write("two.cpp", "int BAD();\n")
        for expected in (["one.cpp", "two.cpp"], ["two.cpp"]):
            judged, done = self.judge()
            self.assertEqual((expected, 1), (judged, done.returncode))
            self.assertIn("two.cpp: error", done.stdout)
            self.assertIn(f"objects to {self.root / 'two.cpp'}", done.stderr)

    def test_a_source_that_does_not_preprocess_fails(self) -> None:
        self.write("two.cpp", '#include "missing.h"\n')
        done = self.judge()[1]
        self.assertNotEqual(0, done.returncode)
        self.assertIn("missing.h", done.stderr)


unittest.main()
