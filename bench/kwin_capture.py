#!/usr/bin/python3
"""kwin_capture.py BINDIR: the time until qmcapture's overlay is drawn on KWin, beside that of KWin's own work.

A program that KWin permits, and that is connected to the bus already, asks for the picture of the monitor and reads it: less is
not possible. qmcapture's time runs from its start to the first commit with a picture, as its wayland library stamps it. In turn,
so that other load affects both; medians, and the best of each.
"""
import pathlib
import re
import statistics
import subprocess
import sys
import time

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tests/support"))
from LargeDesktop import LargeDesktop  # noqa: E402

SIZES = [((1920, 1080), 1, " (at most 40)"), ((3840, 2160), 2, "")]
RUNS = 15
PAUSE = 1  # second, in which KWin comes to rest: it fades what comes and goes
CALL = """
import os, sys, time
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
for line in sys.stdin:
    start = time.monotonic()
    ends, files = os.pipe(), Gio.UnixFDList()
    files.append(ends[1])
    os.close(ends[1])
    options = {"native-resolution": GLib.Variant("b", True)}
    try:
        bus.call_with_unix_fd_list_sync("org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2",
            "CaptureActiveScreen", GLib.Variant("(a{sv}h)", (options, 0)), None, 0, -1, files)
    except GLib.Error:
        pass
    files = None
    picture, got = bytearray(int(line)), 0
    while got < len(picture):
        count = os.readv(ends[0], [memoryview(picture)[got:]])
        if count == 0:
            break
        got += count
    os.close(ends[0])
    print(time.monotonic() - start if got == len(picture) else 0, flush=True)
"""
WINDOW = """
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk
window, text = Gtk.Window(), Gtk.TextView()
text.get_buffer().set_text("".join(f"{line}  The total was settled; see folder {line * 7919}.\\n" for line in range(60)))
window.add(text)
window.maximize()
window.show_all()
Gtk.main()
"""
STAMP = re.compile(rb"\[ *(\d+)\.(\d{3})\] .*?(\w+[@#]\d+)\.(attach|commit)\((\w*)")


def call():
    """Seconds; 0 if KWin refuses."""
    width, height = desktop.size
    time.sleep(PAUSE)
    print(width * height * 4, file=caller.stdin, flush=True)
    return float(caller.stdout.readline())


def drawn(after):
    """Seconds from after, of the wall clock, to the first commit of a surface that has a picture; None if there is none."""
    pictures = set()
    for seconds, fraction, surface, request, first in STAMP.findall(overlay_log.read_bytes()):
        if request == b"attach" and first == b"wl_buffer":
            pictures.add(surface)
        elif request == b"commit" and surface in pictures:
            stamp = int(seconds) * 1000 + int(fraction)  # microseconds, of which the library keeps 32 bits
            return (stamp - int(after * 1e6)) % 2 ** 32 / 1e6
    return None


def overlay():
    time.sleep(PAUSE)
    with open(overlay_log, "wb") as log:
        after = time.time()
        process = desktop.start(desktop.tool, "-i", str(desktop.work / "region.png"), more={"WAYLAND_DEBUG": "1"}, stdout=log,
                                stderr=log)
    desktop.until("no overlay", lambda: drawn(after))
    process.kill()
    process.wait()
    return drawn(after)


if len(sys.argv) == 2:
    status = [subprocess.run([sys.executable, *sys.argv, str(row)]).returncode for row in range(len(SIZES))]
    sys.exit(any(code not in (0, 77) for code in status))
size, scale, limit = SIZES[int(sys.argv[2])]
desktop = LargeDesktop("kwin", pathlib.Path(__file__).resolve().parent.parent, sys.argv[1], size=size, scale=scale)
overlay_log = desktop.work / "overlay"
desktop.quietly("/usr/bin/python3", "-c", WINDOW)
desktop.until_shown("no picture of the screen", lambda: (found := desktop.picture()) and found[:2] == size)
caller = desktop.start(str(desktop.work / "bin/python3"), "-c", CALL, more={"PYTHONHOME": "/usr"}, stdin=subprocess.PIPE,
                       stdout=subprocess.PIPE, stderr=desktop.log, text=True)
desktop.until("KWin gives no picture", call)
overlay()
times = [(call(), overlay()) for _ in range(RUNS)]
calls, overlays = ([1000 * x for x in column] for column in zip(*times))
more = statistics.median(o - c for c, o in zip(calls, overlays))
print(f"start to overlay drawn, {size[0]} x {size[1]} at {scale}x {statistics.median(overlays):6.1f} ms, {more:.1f} ms more{limit} "
      f"than KWin's picture alone ({statistics.median(calls):.1f} ms); at best {min(overlays):.1f} and {min(calls):.1f} ms")
