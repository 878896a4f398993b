#!/usr/bin/python3
"""Captures long pages by scrolling in real programs, and compares each picture with what the program shows.

usage: check.py QMSCROLL ROW...

A row is PROGRAM:PAGE or PROGRAM:PAGE@SCALE, where the page may be a pattern: "chromium:*", "firefox:late*",
"chromium:plain@2", "gtk3:text". Its line says how high the content is and the picture, how many of its rows are wrong, doubled
and missing, how wide the scroll bar was that is not in the picture, how long it took, in seconds and as a multiple of a bare
loop that turns the wheel as far and waits for rest, and how it ended. The exit status is 1 if a picture is neither whole nor of
a page that may end early and says so, or if it shows a scroll bar that has to be left out. Any page may end early where the
machine is loaded, and is captured once more if it says so. Browsers that are not installed are passed over.
"""
import difflib
import fcntl
import fnmatch
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

import gi

gi.require_version("GdkPixbuf", "2.0")
from gi.repository import GdkPixbuf  # noqa: E402

from pages import PAGES
from programs import HERE, Chromium, Firefox, View
from screen import Screen

SCREEN = (1500, 1200)
AWAY = (1490, 1190)
STEP_SHARE, QUIET, ANSWER = 0.6, 0.035, 0.6  # of the view; seconds
LONGEST = 240  # seconds, of one capture
MOST_READINGS = 3  # of what a program shows: on a loaded machine it may come to rest before it has painted where it went
BAND = 110     # pixels: what may stick at the top or at the bottom is less high
NEVER_STILL = ("canvas", "canvaswide")
PASSING = {"canvaswide": 160, "hover": 200}  # rows that may differ: what moves, what the pointer lights up
# Pages of which nobody can tell, from what they show, how they go on, or whether they are as they were: it has to be said.
MAY_END = {"blank2000", "fixedback", "late1500", "late250", "late450", "late450jumps", "late450room", "momentum",
           "parallax", "snap"}
# Columns to leave out at the left and at the right, pixels: what does not scroll along.
SCROLL_BAR = 20
ASIDE = {"sidebar": (250, SCROLL_BAR), "sidebarfixed": (250, SCROLL_BAR), "nested": (160, 110),
         "canvas": (0, 340)}
BARS = ("qt",)  # programs whose scroll bar has to be left out of the picture, on every page
BROWSERS = {"chromium": Chromium, "firefox": Firefox}
VIEWS = {"gtk3": ["text", "list"], "gtk4": ["text"], "qt": ["text", "list"]}


def without_network():
    """Goes on in a network of its own, where nothing but this machine can be reached."""
    if "QM_OWN_NETWORK" not in os.environ:
        os.environ["QM_OWN_NETWORK"] = "1"
        os.execvp("unshare", ["unshare", "-rn", sys.executable, *sys.argv])
    with socket.socket() as any_socket:
        set_flags, up = 0x8914, 0x1  # SIOCSIFFLAGS, IFF_UP
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", b"lo", up))


def picture_rows(path):
    picture = GdkPixbuf.Pixbuf.new_from_file(str(path))
    data, stride, width = picture.get_pixels(), picture.get_rowstride(), picture.get_width() * 3
    assert picture.get_n_channels() == 3
    return [data[y * stride:y * stride + width] for y in range(picture.get_height())]


def true_rows(screen, program, view, is_still):
    """All that the program shows on its way down, each row as the last view showed it that had it between its bands."""
    height = view[3]
    while True:
        rows, begun = [], program.position()[1]
        for wanted in range(0, begun, height // 2):
            for _ in range(20):  # a page that is still gliding goes on
                program.scroll_to(wanted)
                screen.still_pixels(view, limit=5 if is_still else 0.3)
                at, whole = program.position()
                if at <= wanted + 1:
                    break
            rows = rows[:at + BAND if at else 0] + screen.rows(view)[BAND if at else 0:]
            if at + height >= whole:
                break
        if program.position()[1] == begun:
            return rows


def differences(true, got):
    """How many rows are wrong, doubled and missing."""
    begin, least = 0, min(len(true), len(got))
    while begin < least and true[begin] == got[begin]:
        begin += 1
    end = 0
    while end < least - begin and true[-1 - end] == got[-1 - end]:
        end += 1
    wrong = doubled = missing = 0
    matcher = difflib.SequenceMatcher(None, true[begin:len(true) - end], got[begin:len(got) - end], autojunk=False)
    for kind, a, b, c, d in matcher.get_opcodes():
        if kind != "equal":
            common = min(b - a, d - c)
            wrong, missing, doubled = wrong + common, missing + b - a - common, doubled + d - c - common
    return wrong, doubled, missing


def turn_and_rest(screen, view, clicks):
    """False if nothing has moved."""
    before = last = screen.pixels(view)
    screen.turn(clicks)
    begun = since = time.monotonic()
    while time.monotonic() - since < (QUIET if last != before else ANSWER) and time.monotonic() - begun < 2:
        time.sleep(0.005)
        now = screen.pixels(view)
        if now != last:
            last, since = now, time.monotonic()
    return last != before


def bare_seconds(screen, program, view):
    program.scroll_to(0)
    screen.move(view[0] + view[2] // 2, view[1] + view[3] // 2)
    screen.still_pixels(view, limit=1)
    turn_and_rest(screen, view, 1)
    clicks = max(1, round(STEP_SHARE * view[3] / max(1, program.position()[0])))
    begun = time.monotonic()
    while turn_and_rest(screen, view, clicks) and time.monotonic() - begun < 60:
        pass
    return time.monotonic() - begun


def is_dimmed(picture, before):
    light, light_before = (sum(pixels[::61]) for pixels in (picture, before))
    return light < 0.8 * light_before


def capture(qmscroll, screen, view, home):
    """Seconds from the drawn region to the end, what it said, and the picture's path."""
    path = home / "picture.png"
    environment = dict(os.environ, DISPLAY=screen.display, HOME=str(home), XDG_RUNTIME_DIR=str(home), LANG="C.UTF-8")
    screen.move(*AWAY)
    before = screen.still_pixels((0, 0, *SCREEN), limit=2)
    helper = subprocess.Popen([qmscroll, "--region", path, "--max-height", "100000"], env=environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    left, top, width, height = view
    try:
        while not is_dimmed(screen.pixels((0, 0, *SCREEN)), before):  # a browser may paint something, too
            if helper.poll() is not None:
                raise RuntimeError("qmscroll ends before it begins: " + helper.stderr.read())
            time.sleep(0.05)
        time.sleep(0.3)
        screen.move(left, top)
        screen.press()
        for part in (0.3, 0.7, 1):
            screen.move(left + int((width - 1) * part), top + int((height - 1) * part))
        begun = time.monotonic()
        screen.release()
        said = helper.communicate(timeout=LONGEST)[1].strip().removeprefix("qmscroll: ")
        if helper.returncode != 0 or not path.exists():
            raise RuntimeError(f"qmscroll ends with {helper.returncode} and no picture: {said}")
        return time.monotonic() - begun, said, path
    except subprocess.TimeoutExpired:
        raise RuntimeError("qmscroll takes too long") from None
    finally:
        helper.kill()
        helper.wait()


def start(screen, home, program, page, scale):
    if program in VIEWS:
        command = [str(HERE / "textview.py"), program[-1], page] if program != "qt" else [os.environ["QM_QT_VIEW"], page]
        return View(screen, home, command, int(scale))
    path = home / "page.html"
    path.write_text(PAGES[page]())
    return BROWSERS[program](screen, home, path, scale)


def check(qmscroll, program_name, page, scale):
    """Prints the row's line. False if the picture is not what it claims to be, None if it is, but ends early."""
    home, screen, program = pathlib.Path(tempfile.mkdtemp(prefix="scroll-")), Screen(*SCREEN), None
    try:
        screen.move(*AWAY)
        program = start(screen, home, program_name, page, scale)
        view, is_still = program.view(), page not in NEVER_STILL
        screen.still_pixels(view, limit=5 if is_still else 0.5)
        seconds, said, path = capture(qmscroll, screen, view, home)
        screen.move(*AWAY)
        left, right = (round(columns * scale) for columns in ASIDE.get(page, (0, SCROLL_BAR)))
        cut = slice(left * 3, (view[2] - right) * 3)
        picture = picture_rows(path)
        bar = view[2] - len(picture[0]) // 3  # a scroll bar that was left out
        got = [row[cut] for row in picture]
        is_whole, true = False, None
        for _ in range(MOST_READINGS):
            earlier, true = true, [row[cut] for row in true_rows(screen, program, view, is_still)]
            if true == earlier:
                break
            wrong, doubled, missing = differences(true, got)
            is_whole = not (wrong > PASSING.get(page, 0) or doubled or missing)
            if is_whole:
                break
        bare = bare_seconds(screen, program, view)
        is_right = (is_whole or (bool(said) and page in MAY_END)) and (bar > 0 or program_name not in BARS)
        if not is_right and said and not wrong and not doubled:
            is_right = None
        name = f"{program_name}:{page}" + (f"@{scale:g}" if scale != 1 else "")
        print(f"{name:24} true {len(true):6} got {len(got):6}  wrong {wrong:5} doubled {doubled:5} missing {missing:5}  "
              f"bar {bar:2}  {seconds:6.1f} s {seconds / bare:5.2f} x  {said or 'whole'}"
              f"{'' if is_right else '  <- is not'}", flush=True)
        if folder := os.environ.get("QM_KEEP"):
            shutil.copy(path, pathlib.Path(folder) / f"{name.replace(':', '-')}.png")
            save(pathlib.Path(folder) / name.replace(":", "-"), true, got)
        return is_right
    finally:
        if program:
            program.close()
        screen.close()
        shutil.rmtree(home, ignore_errors=True)


def save(path, true, got):
    for name, rows in (("true", true), ("got", got)):
        if rows:
            pathlib.Path(f"{path}-{name}.ppm").write_bytes(
                f"P6 {len(rows[0]) // 3} {len(rows)} 255\n".encode() + b"".join(rows))


def main():
    qmscroll, *rows = sys.argv[1:]
    if any(row.split(":")[0] in BROWSERS for row in rows):
        without_network()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # what was started ends with it
    is_right, has_run = True, False
    for row in rows:
        program, page = row.split(":")
        page, _, scale = page.partition("@")
        if program in BROWSERS and not shutil.which(BROWSERS[program].command):
            print(f"{row}: not installed", flush=True)
            continue
        names = fnmatch.filter(VIEWS.get(program, PAGES), page)
        if not names:
            print(f"{row}: no such page", flush=True)
            is_right = False
        for name in names:
            has_run = True
            try:
                result = check(qmscroll, program, name, float(scale or 1))
                if result is None:
                    result = check(qmscroll, program, name, float(scale or 1))
                is_right &= bool(result)
            except Exception as failure:  # the other rows do not depend on it
                print(f"{program}:{name}: {failure!r}", flush=True)
                is_right = False
    return 0 if is_right and has_run else 77 if is_right else 1


if __name__ == "__main__":
    sys.exit(main())
