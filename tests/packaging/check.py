#!/usr/bin/env python3
"""Fails where what is installed beside the programs does not fit them.

    check.py SOURCE-FOLDER PROGRAM-FOLDER

The commands in the desktop entries and in the completions are given to the programs' own parsers; pages, symbols, icon
sizes and links are compared with what is there.
"""
import pathlib
import re
import struct
import subprocess
import sys
import tempfile

root, programs = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
wrong, seen = [], 0


def check(condition, message):
    global seen
    seen += 1
    if not condition:
        wrong.append(message)


def accepts(words):
    """Whether the program takes these words: a usage error ends with 2 before anything is done, and there is no display."""
    with tempfile.TemporaryDirectory() as home:
        environment = {"HOME": home, "XDG_RUNTIME_DIR": home, "QT_QPA_PLATFORM": "none", "LANG": "C.UTF-8"}
        done = subprocess.run([programs / words[0], *words[1:]], env=environment, capture_output=True, timeout=60)
    return done.returncode != 2 or b"usage:" not in done.stderr


def entry_commands():
    for entry in (root / "packaging").glob("*.desktop"):
        text = entry.read_text()
        for line in re.findall(r"^Exec=(.+)$", text, re.M):
            yield entry.name, [word.replace("%f", "picture.png") for word in line.split()]
        actions = set(re.findall(r"^\[Desktop Action (.+)\]$", text, re.M))
        named = re.search(r"^Actions=(.*)$", text, re.M)
        check(actions == set(named.group(1).strip(";").split(";") if named else []), f"{entry.name}: actions and groups differ")


def completed_words():
    """Program -> shell -> the words that its completion offers first."""
    folder = root / "packaging" / "completions"
    for program in ("qms", "quillmere"):
        bash = (folder / "bash" / program).read_text()
        fish = (folder / "fish" / f"{program}.fish").read_text()
        zsh = (folder / "zsh" / f"_{program}").read_text()
        offered = re.search(r'(?:""\) words=|compgen -W )"([^"]*)"', bash).group(1).replace("\\\n", " ").split()
        yield program, {
            "bash": {word for word in offered if not word.startswith("-")},
            "fish": set(re.findall(r" -a ([a-z][a-z-]*) -d", fish)),
            "zsh": set(re.findall(r"^    '([a-z-]+):", zsh, re.M)),
        }


def described(program):
    """The commands in the program's own summary."""
    summary = subprocess.run([programs / program, "--help"], capture_output=True, text=True,
                             env={"LANG": "C.UTF-8", "QT_QPA_PLATFORM": "none"}, check=True).stdout
    body = "\n".join(line for line in summary.splitlines() if line.startswith("  ") and not line.startswith("   "))
    words = set()
    for line in body.splitlines():
        head = re.split(r"  +", line.strip())[0]
        words |= {part.split()[0] for part in head.split(", ") if not part.startswith("-")}
    return words


for name, words in entry_commands():
    check(accepts(words), f"{name}: {' '.join(words)} is not understood")
for program, shells in completed_words():
    commands = described(program)
    check(len(commands) > 3, f"{program} --help names no commands")
    for shell, words in shells.items():
        check(words == commands, f"{program} for {shell}: {sorted(words ^ commands)}")

page_folder = root / "docs" / "man"
for program in ("quillmere", "qms", "qmocr", "qmcapture", "qmscroll"):
    check((page_folder / f"{program}.1").exists() or not (programs / program).exists(), f"{program} has no page")
for program in ("quillmere", "qms"):
    page = (page_folder / f"{program}.1").read_text().replace("\\", "")
    for command in described(program):
        check(re.search(rf"^\.BI? {re.escape(command)}\b", page, re.M), f"{program}.1: {command} is not described")

drawn = {path.stem for path in (root / "assets" / "symbols").glob("*.svg")}
bundled = set(re.findall(r'alias="([a-z.]+)\.svg"', (root / "ui" / "symbols.qrc").read_text()))
check(drawn == bundled, f"symbols drawn but not bundled, or the reverse: {sorted(drawn ^ bundled)}")
families = {name.split(".")[0] for name in drawn}
for folder in ("annotate", "app", "library", "settings"):
    for source in (root / folder).rglob("*.cpp"):
        for number, line in enumerate(source.read_text().splitlines(), 1):
            literals = re.findall(r'"([a-z]+(?:\.[a-z]+)+)"', line)
            if "Symbol::" in line:
                literals += re.findall(r'QStringLiteral\("([^"%:]+)"\)', line)
            for literal in literals:
                if "Symbol::" in line or literal.split(".")[0] in families: # others are host names and the like
                    check(literal in drawn, f"{source.relative_to(root)}:{number}: no symbol {literal}")

for icon in (root / "assets" / "icon").glob("[0-9]*.png"):
    size = struct.unpack(">II", icon.read_bytes()[16:24])
    check(size == (int(icon.stem),) * 2, f"{icon.name} is {size[0]} x {size[1]}")

for document in root.glob("*.md"):
    for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
        check((root / target).exists(), f"{document.name}: there is no {target}")

print("\n".join(wrong) or f"{seen} checks")
sys.exit(1 if wrong else 0)
