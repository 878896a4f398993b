#!/usr/bin/env python3
"""check.py SOURCE-FOLDER PROGRAM-FOLDER: fails where what is installed beside the programs does not fit them.

The commands in the desktop entries and in the completions are given to the programs' own parsers; pages, symbols, icon
sizes, links and the tests that hold a promise are compared with what is there.
"""
import pathlib
import re
import struct
import subprocess
import sys
import tempfile

root, programs = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
checks = []  # whether, and what is wrong otherwise


def check(condition, message):
    checks.append((condition, message))


def run(*words):
    with tempfile.TemporaryDirectory() as home:
        environment = {"HOME": home, "XDG_RUNTIME_DIR": home, "QT_QPA_PLATFORM": "none", "LANG": "C.UTF-8"}
        return subprocess.run([programs / words[0], *words[1:]], env=environment, capture_output=True, text=True, timeout=60)


def described(program):
    """The commands in the program's own summary."""
    words = set()
    for line in re.findall(r"^  (\S.*)", run(program, "--help").stdout, re.M):
        words |= {part.split()[0] for part in re.split(r"  +", line)[0].split(", ") if not part.startswith("-")}
    return words


for entry in (root / "packaging").glob("*.desktop"):
    text = entry.read_text()
    for line in re.findall(r"^Exec=(.+)$", text, re.M):
        done = run(*line.replace("%f", "picture.png").split())  # a usage error comes first, and there is no display
        check(done.returncode != 2 or "usage:" not in done.stderr, f"{entry.name}: {line} is not understood")
    named = re.findall(r"^Actions=(.*)$", text, re.M)
    actions = set(re.findall(r"^\[Desktop Action (.+)\]$", text, re.M))
    check(actions == set("".join(named).strip(";").split(";") if named else []), f"{entry.name}: actions and groups differ")

completions = root / "packaging" / "completions"
for program in ("qms", "quillmere"):
    commands = described(program)
    check(len(commands) > 3, f"{program} --help names no commands")
    bash = (completions / "bash" / program).read_text()
    offered = re.search(r'(?:""\) words=|compgen -W )"([^"]*)"', bash).group(1).replace("\\\n", " ").split()
    fish = re.findall(r" -a ([a-z][a-z-]*) -d", (completions / "fish" / f"{program}.fish").read_text())
    zsh = re.findall(r"^    '([a-z-]+):", (completions / "zsh" / f"_{program}").read_text(), re.M)
    for words in ({word for word in offered if not word.startswith("-")}, set(fish), set(zsh)):
        check(words == commands, f"completions of {program}: {sorted(words ^ commands)}")
    page = (root / "docs" / "man" / f"{program}.1").read_text().replace("\\", "")
    for command in commands:
        check(re.search(rf"^\.BI? {re.escape(command)}\b", page, re.M), f"{program}.1: {command} is not described")
for program in ("qmocr", "qmcapture", "qmscroll"):
    check((root / "docs" / "man" / f"{program}.1").exists() or not (programs / program).exists(), f"{program} has no page")

drawn = {path.stem for path in (root / "assets" / "symbols").glob("*.svg")}
bundled = set(re.findall(r'alias="([a-z.]+)\.svg"', (root / "ui" / "symbols.qrc").read_text()))
check(drawn == bundled, f"symbols drawn but not bundled, or the reverse: {sorted(drawn ^ bundled)}")
families = {name.split(".")[0] for name in drawn}
for source in (path for folder in ("annotate", "app", "library", "settings") for path in (root / folder).rglob("*.cpp")):
    for line in source.read_text().splitlines():
        names = [name for name in re.findall(r'"([a-z]+(?:\.[a-z]+)+)"', line) if name.split(".")[0] in families]
        if "Symbol::" in line:
            names += re.findall(r'QStringLiteral\("([^"%:]+)"\)', line)
        check(set(names) <= drawn, f"{source.relative_to(root)}: no such symbol: {line}")

for icon in (root / "assets" / "icon").glob("[0-9]*.png"):
    check(struct.unpack(">II", icon.read_bytes()[16:24]) == (int(icon.stem),) * 2, f"{icon.name} has another size")
for document in root.glob("*.md"):
    for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
        check((root / target).exists(), f"{document.name}: there is no {target}")

tests = {path.stem: path.read_text() for path in (root / "tests").rglob("tst_*.cpp")}
for test, function in re.findall(r"`(tst_\w+): (\w+)`", (root / "docs" / "reliability.md").read_text()):
    check(f"void {function}()" in tests.get(test, ""), f"reliability.md: there is no {test}: {function}")

wrong = [message for condition, message in checks if not condition]
print("\n".join(wrong) or f"{len(checks)} checks")
sys.exit(1 if wrong else 0)
