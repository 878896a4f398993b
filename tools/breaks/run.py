#!/usr/bin/env python3
"""Checks which tests notice a deliberate break: run.py [--tree FOLDER] [--list FILE] [WORD...]

The list consists of blocks separated by empty lines. A break names a file, the tests that may notice it, a text in the
file and its replacement:

    index/TakenAt.cpp : tst_TakenAt tst_FolderScan
    - hour += 12
    + hour += 11

WORDs select the breaks whose first line contains one of them. The project is copied into FOLDER (build/breaks) and built
there with programs and tests. All named tests have to pass on the unchanged code; then each break is built alone and the
tests run again. One line per break says how many tests failed, and which of their functions. The exit code is 1 if a
break went unnoticed or could not be tried.
"""
import argparse
import os
import pathlib
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = ["quillmere", "qms", "qmdecode", "qmkeys", "qmocr", "qmcapture", "qmscroll"]
FAILED_TEST = re.compile(r"^\s*\d+ - (\S+) \((.*)\)$", re.M)
FAILED_FUNCTION = re.compile(r"^FAIL!  : \w+::(\w+)\(", re.M)


def parse(text):
    """(file, tests, before, after) of every block; lines of a block that begin with neither - nor + are comments."""
    breaks = []
    for block in re.split(r"\n\s*\n", text.strip()):
        lines = [line for line in block.splitlines() if not line.startswith("#")]
        if not lines:
            continue
        file, tests = (part.strip() for part in lines[0].split(" : "))
        before, after = ("\n".join(line[2:] for line in lines[1:] if line[:1] == sign) for sign in "-+")
        breaks.append((file, tests.split(), before, after))
    return breaks


class Tree:
    """A copy of the project that may be broken, with its own build."""

    def __init__(self, folder):
        self.sources, self.build = folder / "sources", folder / "build"
        self.sources.mkdir(parents=True, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                               check=True, capture_output=True).stdout.decode().split("\0")
        wanted = {name for name in files if name and (ROOT / name).exists()}
        for old in self.sources.rglob("*"):
            if old.is_file() and str(old.relative_to(self.sources)) not in wanted:
                old.unlink()
        for name in wanted:
            self.put(name, (ROOT / name).read_bytes())
            (self.sources / name).chmod((ROOT / name).stat().st_mode)

    def put(self, name, content):
        """Writes a file only if it differs, so that nothing is rebuilt needlessly."""
        file = self.sources / name
        if not file.exists() or file.read_bytes() != content:
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(content)

    def configure(self):
        # No sanitizers: they double the time, and a break must be noticed by the tests themselves.
        subprocess.run(["cmake", "-S", self.sources, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DQM_TESTS=ON"], check=True, stdout=subprocess.DEVNULL)

    def make(self, tests):
        targets = PROGRAMS + [test for test in tests if test.startswith("tst_")] # the others are scripts
        done = subprocess.run(["ninja", "-C", self.build, *targets], capture_output=True, text=True)
        return "" if done.returncode == 0 else "\n".join(
            line for line in done.stdout.splitlines() if "error" in line)[:300] or done.stdout[-300:]

    def failures(self, tests, limit):
        """Maps each failed test to its failed functions, or to how it ended."""
        # The tests' own time limits are for slow machines; a break that makes one hang need not take that long.
        with subprocess.Popen(["ctest", "--test-dir", self.build, "-j2", "--output-on-failure", "--no-tests=error",
                               "-R", "(^|/)(" + "|".join(tests) + ")(_[a-z]+)?$"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True) as process:
            try:
                output, _ = process.communicate(timeout=limit)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                return {" ".join(tests): f"not done after {limit} s"}
        if not re.search(r"tests passed, \d+ tests? failed out of", output):
            return {"ctest": "no such test: " + " ".join(tests)}
        # A test's output precedes its own line of the listing, or follows it if several run at once.
        functions = {test: [] for test, _ in FAILED_TEST.findall(output)}
        current = None
        for line in output.splitlines():
            start = re.search(r"Test\s+#\d+: (\S+)", line)
            if start:
                current = start.group(1)
            found = FAILED_FUNCTION.match(line)
            if found and current in functions and found.group(1) not in functions[current]:
                functions[current].append(found.group(1))
        return {test: ", ".join(functions[test]) or end for test, end in FAILED_TEST.findall(output)}


def try_break(tree, file, tests, before, after):
    """(failures, reason why the break could not be tried)"""
    copy = tree.sources / file  # the project may have moved on meanwhile
    original = copy.read_text() if copy.exists() else ""
    if not before or original.count(before) != 1:
        return {}, f"its text is there {original.count(before) if before else 0} times"
    tree.put(file, original.replace(before, after).encode())
    try:
        fault = tree.make(tests)
        return ({}, "does not build: " + fault) if fault else (tree.failures(tests, 120), "")
    finally:
        tree.put(file, original.encode())


def main():
    words = argparse.ArgumentParser(usage=__doc__)
    words.add_argument("--tree", type=pathlib.Path, default=ROOT / "build/breaks")
    words.add_argument("--list", type=pathlib.Path, default=pathlib.Path(__file__).with_name("breaks.txt"))
    words.add_argument("words", nargs="*")
    words = words.parse_args()
    breaks = [one for one in parse(words.list.read_text())
              if not words.words or any(word in f"{one[0]} : {' '.join(one[1])}" for word in words.words)]
    tree = Tree(words.tree.resolve())
    tree.configure()
    named = sorted({test for one in breaks for test in one[1]})
    fault = tree.make(named)
    wrong = {"the build": fault} if fault else tree.failures(named, 300)
    if wrong or not breaks:
        sys.exit(f"unbroken, this fails: {wrong}" if wrong else "no such break")
    counts = {}
    for file, tests, before, after in breaks:
        begin = time.monotonic()
        seen, fault = try_break(tree, file, tests, before, after)
        outcome = f"NOT TRIED, {fault}" if fault else "; ".join(f"{test}: {what}" for test, what in seen.items()) or "UNSEEN"
        counts[len(seen)] = counts.get(len(seen), 0) + 1
        print(f"{len(seen)}  {file}: {before.strip().splitlines()[0] if before else ''}  {outcome}  ({time.monotonic() - begin:.0f} s)",
              flush=True)
    print(", ".join(f"{count} seen by {tests}" for tests, count in sorted(counts.items())))
    return 1 if counts.get(0) else 0


if __name__ == "__main__":
    sys.exit(main())
