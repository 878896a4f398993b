#!/usr/bin/env python3
"""Fails on an include that the layer graph does not allow.

The graph is what the build files say: every `qm_library(folder USES ...)`, `qm_program(name USES ...)`,
`qm_module(name USES ...)` and `qm_link(name USES ...)` names what the sources beside it may include. One `#include "folder/File.h"` of another folder ends the check with its place.
"""
import graphlib
import pathlib
import re
import sys

CALL = re.compile(r"\b(?:qm_library|qm_module|qm_program|qm_link)\(\s*([\w/]+)(.*?)\)", re.S)
USES = re.compile(r"\bUSES\s+((?:[\w/]+\s+)*?)(?=LINKS|SOURCES|LABELS|$)", re.S)
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
UNCHECKED = ("tests", "bench", "fuzz", "tools")  # they look into every folder


def graph(root):
    """Folder of sources -> folders it may include. A folder with several targets may use what any of them does."""
    allowed = {}
    for build_file in root.glob("**/CMakeLists.txt"):
        folder = build_file.parent.relative_to(root).as_posix()
        if folder.startswith("build") or folder == ".":
            continue
        text = re.sub(r"#.*", "", build_file.read_text())
        for name, rest in CALL.findall(text):
            uses = USES.search(rest + " ")
            allowed.setdefault(folder, set()).update(set(uses.group(1).split() if uses else []) - {folder})
    return allowed


def folder_of(path, folders):
    """The longest known folder that holds the file: platform/linux/X.cpp belongs to platform."""
    parents = (parent.as_posix() for parent in pathlib.PurePosixPath(path).parents)
    return next((parent for parent in parents if parent in folders), None)


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    allowed = graph(root)
    wrong, seen = [], 0
    try:
        graphlib.TopologicalSorter(allowed).prepare()
    except graphlib.CycleError as fault:
        wrong.append("a cycle: " + " -> ".join(fault.args[1]))
    for folder in allowed:
        if folder.split("/")[0] in UNCHECKED:
            continue
        for source in (root / folder).rglob("*"):
            relative = source.relative_to(root).as_posix()
            if source.suffix not in (".h", ".cpp", ".mm") or folder_of(relative, allowed) != folder:
                continue
            for included in INCLUDE.findall(source.read_text()):
                if included.endswith(".moc"):
                    continue  # made by moc beside the source
                seen += 1
                target = folder_of(included, allowed)
                if target is None:
                    wrong.append(f'{relative}: "{included}" is in no library')
                elif target != folder and target not in allowed[folder]:
                    wrong.append(f"{relative}: {folder} may not use {target}")
    print("\n".join(wrong) or f"{seen} includes in {len(allowed)} folders, all within the layers")
    return 1 if wrong or not seen else 0


if __name__ == "__main__":
    sys.exit(main())
