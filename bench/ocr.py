#!/usr/bin/env python3
"""How much of the text in screenshots qmocr finds, and what it costs.

usage: bench/ocr.py BINDIR [FOLDER]

FOLDER (tests/data by default) holds NAME.png with its true text in NAME.txt. Prints for each picture and in total:
W  share of the true words ([a-z0-9]{3,}, case folded) that are substrings of the recognised text, as in a search
B  the same for the true sequences of two Japanese characters
P  share of the words and sequences in the recognised text that are true
and then the processor time per picture, and the speed-up of two workers over one.
"""
import json
import os
import pathlib
import re
import resource
import subprocess
import sys
import time
import unicodedata

JAPANESE = "\u3041-\u30ff\u3400-\u9fff\uff66-\uff9f々ー"
ROUNDS = 3


def fold(text):
    return unicodedata.normalize("NFKC", text).lower()


def words(text):
    return set(re.findall(r"[a-z0-9]{3,}", fold(text)))


def pairs(text):
    runs = re.findall(f"[{JAPANESE}]{{2,}}", fold(text))
    return {run[i:i + 2] for run in runs for i in range(len(run) - 1)}


def read(helper, images, workers):
    """Texts by path, elapsed seconds, seconds of processor time."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    done = subprocess.run([helper], input="".join(f"{image}\n" for image in images).encode(), stdout=subprocess.PIPE,
                          env=dict(os.environ, QMOCR_WORKERS=str(workers)), check=True)
    seconds = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    rows = [json.loads(line) for line in done.stdout.decode().splitlines()]
    return ({row["path"]: row.get("text", "") for row in rows}, seconds,
            after.ru_utime + after.ru_stime - used.ru_utime - used.ru_stime)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    helper = pathlib.Path(sys.argv[1]).resolve() / "qmocr"
    default = pathlib.Path(__file__).resolve().parent.parent / "tests" / "data"
    images = sorted(pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else default).resolve().glob("*.png"))
    images = [image for image in images if image.with_suffix(".txt").exists()]
    if not images:
        sys.exit("no picture with a text beside it")

    texts, _, processor = read(helper, images, 1)
    total = [0, 0, 0, 0, 0, 0]
    for image in images:
        truth, got = image.with_suffix(".txt").read_text(encoding="utf-8"), fold(texts.get(str(image), ""))
        folded = fold(truth)
        w, b = words(truth), pairs(truth)
        said = [x in folded for x in words(got)] + [x in b for x in pairs(got)]
        row = [sum(x in got for x in w), len(w), sum(x in got for x in b), len(b), sum(said), len(said)]
        total = [x + y for x, y in zip(total, row)]
        missed = sorted(x for x in w | b if x not in got)
        print(f"{image.name:44} W {row[0]:4}/{row[1]:<4} B {row[2]:4}/{row[3]:<4} P {row[4]:4}/{row[5]:<4} "
              f"{' '.join(missed[:8])}")
    share = [100.0 * found / of if of else 100.0 for found, of in (total[:2], total[2:4], total[4:])]
    print(f"\nW {share[0]:.1f} %  B {share[1]:.1f} %  P {share[2]:.1f} %  {processor / len(images):.2f} s of processor time a picture")

    # Enough of them that the last one, which one worker reads alone, counts for little. Alternated, so that a busy
    # minute affects both; the best run counts.
    many = images * max(1, 12 // len(images))
    runs = [[read(helper, many, workers)[1:] for workers in (1, 2)] for _ in range(ROUNDS)]
    (one, two), (cpu_one, cpu_two) = ([min(run[w][i] for run in runs) for w in (0, 1)] for i in (0, 1))
    print(f"two workers against one: {one / two:.2f} times the pictures a second for {cpu_two / cpu_one:.2f} times the "
          f"processor time ({os.cpu_count()} processors, load {os.getloadavg()[0]:.1f})")


if __name__ == "__main__":
    main()
