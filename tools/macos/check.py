#!/usr/bin/env python3
"""Checks the whole macOS build with Clang, on Linux: check.py SOURCES BUILD-FOLDER ARCHITECTURE [JOBS]

CMake configures the tree as on a Mac, and Clang checks every source of that build for a Mac's processor (arm64 or
x86_64) with all our warnings as errors: syntax, types, argument counts. The system's headers are replaced by those next
to this file: declarations of just the calls made here, written from their documentation.

It proves that the build's branches for macOS are consistent, that the portable sources compile with that system's C++
library, pointer and integer types and without Linux extensions, and that the native sources agree with the
declarations. It proves neither the declarations themselves nor that anything links or runs: see docs/macos-checklist.md.
"""
import json
import os
import pathlib
import plistlib
import subprocess
import sys

SKIPPED = 77


def run(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    return done.returncode == 0, done.stdout


def configure(sources, build, architecture):
    stand_ins = sources / "tools/macos"
    return run(
        ["cmake", "-S", sources, "-B", build, "-G", "Ninja", f"-DCMAKE_TOOLCHAIN_FILE={stand_ins / 'Toolchain.cmake'}",
         f"-DCMAKE_PROJECT_INCLUDE={stand_ins / 'CompileRules.cmake'}"],
        env={**os.environ, "MAC_ARCHITECTURE": architecture})


def forgotten(sources, build):
    """Native sources missing from the build."""
    built = {pathlib.Path(entry["file"]) for entry in json.loads((build / "compile_commands.json").read_text())}
    native = {path for path in sources.glob("**/macos/*") if path.suffix in (".cpp", ".mm")
              and path.relative_to(sources).parts[0] != "build"} # other trees may lie there
    return sorted(str(path.relative_to(sources)) for path in native - built), len(built), len(native)


def bundle(build):
    """Faults in the bundle's property list."""
    found = build / "bin/Quillmere.app/Contents/Info.plist"
    properties = plistlib.loads(found.read_bytes())
    wrong = [f"{found}: {key} is {value!r}" for key, value in properties.items() if value == "" or "${" in str(value)]
    if properties.get("LSUIElement") is not True:
        wrong.append(f"{found}: LSUIElement is not set, the application would stand in the Dock")
    return wrong


def main():
    sources, build, architecture = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve(), sys.argv[3]
    missing = [what for what in ("/usr/bin/clang++", "/usr/include/*-linux-musl", "/usr/lib/llvm-*/include/c++/v1/version")
               if not list(pathlib.Path("/").glob(what[1:]))]
    if missing:
        print("skipped, not installed:", ", ".join(missing))
        return SKIPPED
    well, output = configure(sources, build, architecture)
    if well:
        well, output = run(["ninja", "-C", build, "-k", "0", *(["-j", sys.argv[4]] if len(sys.argv) > 4 else [])])
    if not well:
        # Without the commands, which are long, and without what succeeded.
        print("\n".join(line for line in output.splitlines() if not line.startswith(("[", "FAILED:", "/usr/bin/clang"))))
        return 1
    left_out, built, native = forgotten(sources, build)
    wrong = [f"{path}: not in the build" for path in left_out] + bundle(build)
    print("\n".join(wrong) or f"{built} sources of the macOS build, {native} of them native, read for {architecture}")
    return 1 if wrong or not native else 0


if __name__ == "__main__":
    sys.exit(main())
