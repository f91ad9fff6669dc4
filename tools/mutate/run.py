"""Mutates the core and runs its tests on each mutant.

usage: run.py ROOT [--again] [FILE...]

Prints a table and the mutants that survive. With --again only those are run that survived the last
time, which is enough after tests have been added. A report, not a check: exits with status 0 whatever
survives, since no test can notice some mutants.
"""

import collections
import concurrent.futures
import dataclasses
import json
import math
import os
import pathlib
import re
import resource
import signal
import subprocess
import sys
import time

import find_mutants

CORE = ("automation", "platform", "bases", "environment", "persistence", "appfiles")
# Made by programs from sources that the tests read too, or with no sense of their own.
MADE = ("automation/case_fold_table.h", "bases/base_tables.h")
PARALLEL = 2


def say(text: str) -> None:
    print(f"== {text}", file=sys.stderr, flush=True)


def number_mutants(sources: dict) -> dict:
    found = {}
    for name in sorted(sources):
        for place in sorted(sources[name].places.values(), key=lambda p: (p.begin, -p.end, p.depth)):
            for mutant in place.mutants:
                mutant.number = len(found) + 1
                found[mutant.number] = (name, place, mutant)
    return found


# ---- The tree that is mutated ------------------------------------------------------------------


class Tree:
    """A copy of the sources, built apart."""

    def __init__(self, root: pathlib.Path, folder: pathlib.Path):
        self.root, self.folder = root, folder
        self.tests = folder / "build/tests/core_tests"

    def copy(self) -> None:
        tracked = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=self.root,
                                 check=True, capture_output=True, text=True).stdout.split("\n")
        kept = set()
        for name in filter(None, tracked):
            if not (self.root / name).is_file():
                continue
            kept.add(name)
            self.write(name, (self.root / name).read_bytes())
        for path in self.folder.rglob("*"):
            name = path.relative_to(self.folder).as_posix()
            if path.is_file() and not name.startswith("build/") and name not in kept:
                path.unlink()

    def write(self, name: str, data: bytes) -> None:
        """Leaves a file alone that holds `data`, so that it is not compiled again."""
        path = self.folder / name
        if path.is_file() and path.read_bytes() == data:
            return
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def configure(self) -> None:
        header = self.folder / "tools/mutate/mutant.h"
        cmake = self.folder / "tests/CMakeLists.txt"
        text = cmake.read_text(encoding="utf-8")
        # The own main in the place of GoogleTest's.
        text = text.replace("add_executable(core_tests ${core_test_sources})",
                            "add_executable(core_tests ${core_test_sources}"
                            " ${CMAKE_SOURCE_DIR}/tools/mutate/main.cpp)")
        cmake.write_text(text, encoding="utf-8")
        flags = (f"-std=c++20 -w -Wno-error -Wno-c++11-narrowing -O1 -D_GLIBCXX_ASSERTIONS -ferror-limit=0"
                 f" -fno-caret-diagnostics -include {header}")
        subprocess.run(["cmake", "-S", self.folder, "-B", self.folder / "build", "-G", "Ninja",
                        "-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++",
                        "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={flags}"],
                       check=True, stdout=subprocess.DEVNULL)

    def check(self, names: list) -> str:
        """What the compiler says to the sources `names`, which it only reads."""
        commands = {entry["file"]: entry["command"] for entry in json.loads(
            (self.folder / "build/compile_commands.json").read_text(encoding="utf-8"))}

        def read(name: str) -> str:
            command = re.sub(r" -o \S+", "", commands[str(self.folder / name)])
            return subprocess.run(f"{command} -fsyntax-only", shell=True, check=False,
                                  cwd=self.folder / "build", capture_output=True, text=True).stderr

        with concurrent.futures.ThreadPoolExecutor(PARALLEL) as pool:
            return "".join(pool.map(read, names))

    def build(self, jobs: int) -> str:
        """What the compiler says when it fails; nothing when it does not."""
        # Where ccache runs the compiler, it need not compile the same for each tree.
        environment = dict(os.environ, CCACHE_BASEDIR=str(self.folder), CCACHE_NOHASHDIR="1")
        done = subprocess.run(["ninja", "-C", self.folder / "build", f"-j{jobs}", "-k0",
                               "core_tests"], capture_output=True, text=True, check=False,
                              env=environment)
        return "" if done.returncode == 0 else done.stdout + done.stderr

    def run(self, number: int, tests: list, limit: float, reached=None) -> str:
        """"passed", "failed" or "stopped". `limit` is in seconds of processor time, which other work
        on the machine does not use up; the clock stops only what waits for ever."""
        environment = dict(os.environ, MUTANT=str(number), GTEST_FILTER=":".join(tests) or "*")
        if reached:
            environment["MUTANTS_REACHED"] = str(reached)

        def confine():
            os.nice(5)
            most = math.ceil(limit)
            resource.setrlimit(resource.RLIMIT_CPU, (most, most + 1))
            resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            os.setpgid(0, 0)

        command = [self.tests, "--gtest_brief=1", "--gtest_fail_fast"]
        with subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, preexec_fn=confine) as process:
            try:
                code = process.wait(60 + 20 * limit)
            except subprocess.TimeoutExpired:
                process.kill()
                return "stopped"
            if code == -signal.SIGXCPU:
                return "stopped"
            return "passed" if code == 0 else "failed"


# ---- All mutants in one program ----------------------------------------------------------------

LOCATED = re.compile(r"^(\S+?):(\d+):\d+: (fatal error|error|note): (.*)$", re.M)


def build_switched(tree: Tree, sources: dict, all_units: list) -> None:
    """Builds the program with every mutant that can be switched at run time; where the compiler
    needs a value, it keeps it, and the mutant gets a source of its own."""
    units = [name for name in all_units if name.endswith(".cpp")]
    steps = [lambda: tree.check(units), lambda: tree.build(PARALLEL)]
    while steps:
        for name, source in sources.items():
            tree.write(name, find_mutants.render(source).encode())
        output = steps[0]()
        if not LOCATED.search(output):
            steps.pop(0)
        if output:
            say(f"{keep_what_the_compiler_needs(tree, sources, output)} places are the compiler's own")


def known_needs(path: pathlib.Path, sources: dict) -> None:
    """What the compiler needed the last time it still needs, where the source is the same."""
    needs = json.loads(path.read_text(encoding="utf-8")) if path.is_file() else {}
    for name, source in sources.items():
        text, constants, places = needs.get(name, ("", (), ()))
        if text == source.text:
            for constant in source.constants.values():
                constant.is_switched &= constant.begin not in constants
            for place in source.places.values():
                place.is_switched &= [place.begin, place.end, place.mutants[0].kind] not in places


def write_needs(path: pathlib.Path, sources: dict) -> None:
    needs = json.loads(path.read_text(encoding="utf-8")) if path.is_file() else {}
    for name, source in sources.items():
        needs[name] = (source.text,
                       [c.begin for c in source.constants.values() if not c.is_switched],
                       [[p.begin, p.end, p.mutants[0].kind]
                        for p in source.places.values() if not p.is_switched])
    path.write_text(json.dumps(needs), encoding="utf-8")


def keep_what_the_compiler_needs(tree: Tree, sources: dict, output: str) -> int:
    kept = 0
    for file, line, _, message in LOCATED.findall(output):
        path = pathlib.Path(os.path.normpath(tree.folder / "build" / file))
        name = path.relative_to(tree.folder).as_posix() if path.is_relative_to(tree.folder) else ""
        quoted = set(re.findall(r"'(\w+)(?:<[^']*)?'", message))
        # Of two with one name, the one in the file that the compiler speaks of.
        names = restore_constants(sources, lambda s, c: c.name in quoted and
                                  s is sources.get(name)) or \
            restore_constants(sources, lambda s, c: c.name in quoted and
                              not has_constant(sources.get(name), c.name))
        if not names and name in sources:
            names = restore_constants(sources, lambda s, c: s is sources[name] and
                                      s.line_of(c.begin) == int(line))
        kept += names
        numbers = set(map(int, re.findall(r"mutant::Is\((\d+)\)", message)))
        for place in (p for source in sources.values() for p in source.places.values()):
            if place.is_switched and numbers & {mutant.number for mutant in place.mutants}:
                place.is_switched = False
                kept += 1
        if not names and not numbers and name in sources:
            for place in sources[name].places.values():
                lines = range(sources[name].line_of(place.begin),
                              sources[name].line_of(place.end) + 1)
                if place.is_switched and int(line) in lines:
                    place.is_switched = False
                    kept += 1
    if not kept:
        raise SystemExit("the mutated core cannot be compiled:\n" + output[-4000:])
    return kept


def has_constant(source, name: str) -> bool:
    return source is not None and any(c.name == name for c in source.constants.values())


def restore_constants(sources: dict, which) -> int:
    count = 0
    for source in sources.values():
        for constant in source.constants.values():
            if constant.is_switched and which(source, constant):
                constant.is_switched = False
                count += 1
                for place in source.places.values():
                    if constant.begin <= place.begin and place.end <= constant.end:
                        place.is_switched = False
    return count


@dataclasses.dataclass
class Tests:
    """What the tests take when no mutant lives, in seconds, and which mutants each comes past."""
    seconds: dict
    past: dict

    def of(self, number: int) -> list:
        past = self.past.get(number, set())
        names = self.seconds if "-" in past else past
        return sorted(names, key=lambda name: self.seconds[name])


def first_run(tree: Tree) -> Tests:
    reached = tree.folder / "reached.txt"
    if tree.run(0, [], 600, reached) != "passed":
        raise SystemExit("the tests fail without a mutant")
    tests = Tests({}, collections.defaultdict(set))
    for line in reached.read_text(encoding="utf-8").splitlines():
        name, milliseconds, *numbers = line.split()
        if name != "-":
            tests.seconds[name] = int(milliseconds) / 1000
        for number in numbers:
            tests.past[int(number)].add(name)
    return tests


def outcome(tree: Tree, number: int, names: list, tests: Tests) -> str:
    """The quick tests first; most mutants need no others."""
    batches, total = [[]], 0.0
    for name in names:
        if total > 0.3 and batches[-1]:
            batches.append([])
            total = -1e9 if len(batches) > 2 else -1.5
        batches[-1].append(name)
        total += tests.seconds[name]
    for batch in filter(None, batches):
        limit = 2 + 8 * sum(tests.seconds[name] for name in batch)
        result = tree.run(number, batch, limit)
        if result != "passed":
            return result
    return "alive"


# ---- Mutants with a source of their own --------------------------------------------------------


def built_outcome(tree: Tree, source, name: str, mutant, tests: Tests) -> str:
    text = source.text[:mutant.begin] + mutant.text + source.text[mutant.end:]
    tree.write(name, text.encode())
    try:
        if tree.build(1):
            return "refused"
        return outcome(tree, 0, sorted(tests.seconds, key=tests.seconds.get), tests)
    finally:
        tree.write(name, source.text.encode())


# ---- The report --------------------------------------------------------------------------------


def keys_of(sources: dict, mutants: dict) -> dict:
    """Names the mutants. Where a line has the same text twice, they are counted."""
    seen, keys = collections.Counter(), {}
    for number, (name, _, mutant) in mutants.items():
        source = sources[name]
        old = " ".join(source.text[mutant.begin:mutant.end].split())
        key = f"{name}: {source.line_text(mutant.begin)} | {old[:60]} -> {mutant.text}"
        seen[key] += 1
        keys[number] = key if seen[key] == 1 else f"{key} #{seen[key]}"
    return keys


def main(root: str, *arguments: str) -> int:
    root = pathlib.Path(root).resolve()
    begun = time.monotonic()
    again, files = "--again" in arguments, [name for name in arguments if name != "--again"]
    headers = sorted(p for folder in CORE for p in (root / folder).glob("*.h")
                     if p.relative_to(root).as_posix() not in MADE)
    units = sorted(p for folder in CORE for p in (root / folder).glob("*.cpp"))
    every = find_mutants.find(root, units, headers, ["-std=c++20", f"-I{root}"])
    unknown = set(files) - set(every)
    if unknown:
        raise SystemExit(f"not of the core: {', '.join(sorted(unknown))}")
    sources = {name: every[name] for name in files or every}
    mutants = number_mutants(sources)
    say(f"{len(mutants)} mutants in {len(sources)} files")

    trees = [Tree(root, root / "build/mutate" / name) for name in ("switched", "built-1", "built-2")]
    for tree in trees:
        tree.copy()
        tree.configure()
    known_needs(root / "build/mutate/needs.json", sources)
    build_switched(trees[0], sources, list(every))
    write_needs(root / "build/mutate/needs.json", sources)
    tests = first_run(trees[0])
    say(f"{len(tests.seconds)} tests, {sum(tests.seconds.values()):.1f} s without a mutant,"
        f" after {time.monotonic() - begun:.0f} s")
    keys = keys_of(sources, mutants)
    last = root / "build/mutate/results.json"
    known = json.loads(last.read_text(encoding="utf-8")) if last.is_file() else {}
    results = {n: known[keys[n]] for n in mutants
               if again and known.get(keys[n], "alive") != "alive"}

    def keep() -> None:
        known.update({keys[n]: result for n, result in list(results.items())})
        last.write_text(json.dumps(known, indent=1), encoding="utf-8")

    judge(trees, sources, mutants, tests, results, keys, keep)
    report(sources, mutants, keys, results, tests, begun)
    return 0


def judge(trees: list, sources: dict, mutants: dict, tests: Tests, results: dict,
          keys: dict, keep) -> None:
    """Adds to `results` what becomes of each mutant that is not there yet; `keep()` writes it down."""
    switched = [n for n, (_, place, _) in mutants.items() if place.is_switched and n not in results]
    apart = [n for n, (_, place, _) in mutants.items() if not place.is_switched and n not in results]
    say(f"running {len(switched)} mutants that are switched")
    with concurrent.futures.ThreadPoolExecutor(PARALLEL) as pool:
        done = pool.map(lambda n: (n, outcome(trees[0], n, tests.of(n), tests)), switched)
        for count, (number, result) in enumerate(done, 1):
            results[number] = result
            if result == "alive":
                say(f"alive: {keys[number]}")
            if count % 250 == 0:
                say(f"{count} run")
    keep()
    # The compiler may come past a constexpr function where no test does.
    apart += [n for n in switched if mutants[n][1].is_constexpr and results[n] == "alive"]
    say(f"building {len(apart)} mutants apart")
    if apart:
        for tree in trees[1:]:
            for name, source in sources.items():
                tree.write(name, source.text.encode())
            if tree.build(PARALLEL):
                raise SystemExit("the core cannot be compiled")
        judge_apart(trees[1:], sources, mutants, tests, results, keys, apart, keep)


def judge_apart(trees: list, sources: dict, mutants: dict, tests: Tests, results: dict, keys: dict,
                apart: list, keep) -> None:
    waiting = collections.deque(apart)

    def work(tree: Tree) -> None:
        while waiting:
            number = waiting.popleft()
            name, _, mutant = mutants[number]
            result = built_outcome(tree, sources[name], name, mutant, tests)
            results[number] = result
            if result == "alive":
                say(f"alive, built: {keys[number]}")
            if len(waiting) % 25 == 0:
                say(f"{len(waiting)} left")
                keep()

    with concurrent.futures.ThreadPoolExecutor(len(trees)) as pool:
        list(pool.map(work, trees))
    keep()


def report(sources, mutants, keys, results, tests, begun) -> None:
    counted = {n: r for n, r in results.items() if r != "refused"}
    alive = [n for n, r in counted.items() if r == "alive"]
    table(mutants, results)
    print(f"\n{len(alive)} of {len(counted)} alive: {100 * len(alive) / len(counted):.2f}%;"
          f" {len(results) - len(counted)} more refused by the compiler;"
          f" {time.monotonic() - begun:.0f} s")
    for number in alive:
        name, place, mutant = mutants[number]
        never = "" if tests.of(number) or not place.is_switched else " (never reached)"
        print(f"{name}:{sources[name].line_of(mutant.begin)}{never}")
        print(f"  {keys[number]}")


def table(mutants: dict, results: dict) -> None:
    counts = collections.defaultdict(collections.Counter)
    for number, result in results.items():
        name, _, mutant = mutants[number]
        counts[name][result] += 1
        counts["all"][result] += 1
        counts["  " + mutant.kind][result] += 1
    print(f"{'file':44} {'failed':>7} {'stopped':>7} {'alive':>7} {'refused':>7}")
    for name in sorted(counts, key=lambda n: (n == "all", n.startswith(" "), n)):
        row = counts[name]
        print(f"{name:44} {row['failed']:7} {row['stopped']:7} {row['alive']:7} {row['refused']:7}")


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
