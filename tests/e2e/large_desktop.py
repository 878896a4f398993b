#!/usr/bin/python3
"""large_desktop.py kwin|gnome SOURCES PROGRAMS: captures on a desktop that is too large for every test run.

A window fills the monitor with one colour; the helper has to give it back, and on KWin to dim it while the user chooses: in
GNOME's shell nothing gets the keyboard where there is none. On KWin a page is scrolled, too. Status 77: it is not installed,
or this is not root.
"""
import pathlib
import random
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from LargeDesktop import LargeDesktop, pixels  # noqa: E402

COLOR, SIZE = (200, 30, 40), (1280, 800)
WINDOW = """
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk
window = Gtk.Window()
style = Gtk.CssProvider()
style.load_from_data(b"window { background: rgb(%d, %d, %d); }")
window.get_style_context().add_provider(style, 800)
window.fullscreen()
window.show_all()
Gtk.main()
""" % COLOR
PAGE = """
import sys
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk
window, view = Gtk.Window(), Gtk.ScrolledWindow()
view.add(Gtk.Image.new_from_file(sys.argv[1]))
view.set_policy(Gtk.PolicyType.EXTERNAL, Gtk.PolicyType.EXTERNAL)
window.add(view)
window.fullscreen()
window.show_all()
Gtk.main()
"""


def shown(columns=SIZE[0], rows=SIZE[1]):
    """The colour of that much of the monitor's lower left corner; None if it has more than one, or no picture is to be had."""
    found = desktop.picture()
    if not found or found[:2] != SIZE:
        return None
    first = found[2][-1][:3]
    return tuple(first) if all(row[:columns * 3] == first * columns for row in found[2][-rows:]) else None


def scroll():
    """A page of noise, in which no two rows are alike, comes out as it is, from the region's top to its own end."""
    x, y, right, bottom, height = 200, 100, 700, 600, 3000
    noise = random.Random(5).randbytes(SIZE[0] * height * 3)
    (work / "page.ppm").write_bytes(b"P6 %d %d 255\n" % (SIZE[0], height) + noise)
    page = desktop.quietly("/usr/bin/python3", "-c", PAGE, str(work / "page.ppm"))

    def light():
        found = desktop.picture()
        return sum(sum(row[::97]) / len(row[::97]) for row in found[2]) / len(found[2]) if found else 0
    desktop.until("the page does not come up", lambda: 120 < light() < 135)
    pointer = desktop.start(str(work / "bin/qm_kwinpointer"), stdin=subprocess.PIPE, text=True)
    scrolling = desktop.quietly(str(work / "bin/qmscroll"), "--region", str(work / "scrolled.png"))
    desktop.until("no overlay", lambda: light() < 110)
    print(x, y, right, bottom, file=pointer.stdin, flush=True)
    desktop.until("the page has no end", lambda: scrolling.poll() is not None)
    page.kill()
    row = SIZE[0] * 3
    truth = [noise[i * row + x * 3:i * row + (right + 1) * 3] for i in range(y, height - SIZE[1] + bottom + 1)]
    if not (work / "scrolled.png").exists() or pixels(work / "scrolled.png")[2] != truth:
        print("FAIL: the page is another one\n" + desktop.logged()[-1000:])
        sys.exit(1)


kind, sources, programs = sys.argv[1:]
desktop = LargeDesktop(kind, sources, programs, ["qmscroll", "qm_kwinpointer"], SIZE)
work = desktop.work
desktop.quietly("/usr/bin/python3", "-c", WINDOW)
desktop.until_shown("a capture shows something else than the screen", lambda: shown() == COLOR)
if left := list((work / "Pictures").iterdir()):
    print("FAIL: captures leave", left)
    sys.exit(1)
if kind == "kwin":
    choosing = desktop.quietly(desktop.tool, "-i", str(work / "region.png"))
    desktop.until("the overlay does not dim the screen", lambda: (color := shown(300, 100)) and color[0] < COLOR[0])
    choosing.kill()
    desktop.until("the overlay stays", lambda: shown() == COLOR)
    scroll()
print("captured")
