#!/usr/bin/env python3
"""SanitizerReports.py clear|check FOLDER: fails when a test, or a program that one started, left a sanitizer's report."""
import pathlib
import shutil
import sys

folder = pathlib.Path(sys.argv[2])
if sys.argv[1] == "clear":
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
reports = sorted(folder.iterdir())
for report in reports[:5]:
    print(f"{report.name}\n{report.read_text(errors='replace')[:8000]}")
print(f"{len(reports)} reports")
sys.exit(1 if reports else 0)
