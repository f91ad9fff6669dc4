"""Which sources `./dev lint` judges: tools/lint_sources.py on a small tree of its own.

usage: lint_sources_test.py ROOT
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(sys.argv.pop(1)).resolve() / "tools/lint_sources.py"

FILES = {
    "core/low.h": "",
    "core/high.h": '#include "low.h"\n',
    "core/low.cpp": '#include "core/low.h"\n',
    "core/high.cpp": '#include "core/high.h"\n',
    "core/alone.cpp": "#include <vector>\n",
    "windows/port.h": "",
    "windows/port.cpp": '#include "core/high.h"\n#include "windows/port.h"\n',
}
NATIVE = ["core/low.cpp", "core/high.cpp", "core/alone.cpp"]


class LintSources(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name, text in FILES.items():
            path = self.root / name
            path.parent.mkdir(exist_ok=True)
            path.write_text(text, encoding="utf-8")
        self.write_database("native", [*NATIVE, "build/generated.cpp", "/usr/src/gtest/gtest.cc"])
        self.write_database("all", [*NATIVE, "windows/port.cpp"])

    def write_database(self, name: str, sources: list[str]) -> None:
        (self.root / name).mkdir()
        commands = [{"directory": str(self.root), "file": source} for source in sources]
        (self.root / name / "compile_commands.json").write_text(json.dumps(commands), encoding="utf-8")

    def chosen(self, *arguments: str) -> list[str]:
        done = subprocess.run([sys.executable, "-B", SCRIPT, self.root, *arguments], cwd=self.root, check=True,
                              capture_output=True, text=True)
        return [str(pathlib.Path(path).relative_to(self.root.resolve())) for path in done.stdout.split("\0") if path]

    def test_all_of_ours(self) -> None:
        self.assertEqual(sorted(NATIVE), self.chosen("native"))

    def test_only_what_the_other_database_lacks(self) -> None:
        self.assertEqual(["windows/port.cpp"], self.chosen("all", "--without", "native"))

    def test_a_source_that_changed(self) -> None:
        self.assertEqual(["core/alone.cpp"], self.chosen("native", "--changed", "core/alone.cpp", "README.md"))

    def test_a_header_is_judged_where_it_has_its_name(self) -> None:
        self.assertEqual(["core/low.cpp"], self.chosen("native", "--changed", "core/low.h"))

    def test_a_header_is_judged_in_a_source_that_changed_too(self) -> None:
        self.assertEqual(["core/high.cpp"], self.chosen("native", "--changed", "core/low.h", "core/high.cpp"))

    def test_a_header_without_a_source_of_its_name(self) -> None:
        (self.root / "core/high.cpp").rename(self.root / "core/other.cpp")
        (self.root / "native/compile_commands.json").unlink()
        (self.root / "native").rmdir()
        self.write_database("native", ["core/low.cpp", "core/other.cpp"])
        self.assertEqual(["core/other.cpp"], self.chosen("native", "--changed", "core/high.h"))

    def test_a_header_of_the_other_database(self) -> None:
        self.assertEqual([], self.chosen("native", "--changed", "windows/port.h"))

    def test_nothing_that_changed(self) -> None:
        self.assertEqual([], self.chosen("native", "--changed"))

    def test_all_where_the_judge_changed(self) -> None:
        self.assertEqual(sorted(NATIVE), self.chosen("native", "--changed", ".clang-tidy"))

    def test_no_database_of_this_tree(self) -> None:
        self.write_database("foreign", ["/usr/src/gtest/gtest.cc"])
        with self.assertRaises(subprocess.CalledProcessError) as raised:
            self.chosen("foreign")
        self.assertEqual("foreign builds no source of this tree\n", raised.exception.stderr)


unittest.main()
