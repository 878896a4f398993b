#!/usr/bin/python3
"""kwin.py SOURCES PROGRAMS: captures on KWin, which is too large for every test run.

It has a monitor in memory, buses and a home of its own, and lives in a process namespace that ends with this program.
A window fills the monitor with one colour; the helper has to give it back, and to dim it while the user chooses. Status 77:
KWin is not installed, or this is not root.
"""
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

NOBODY = 65534
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
sources, programs = map(pathlib.Path, sys.argv[1:])
if not shutil.which("kwin_wayland") or os.geteuid() != 0:
    print("SKIP: this needs kwin_wayland, and root")
    sys.exit(77)
if "QM_INSIDE" not in os.environ:
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # the folder goes then, too
    with tempfile.TemporaryDirectory() as folder:
        sys.exit(subprocess.run(["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", *sys.argv],
                                env=dict(os.environ, QM_INSIDE=folder)).returncode)

work = pathlib.Path(os.environ["QM_INSIDE"])
bus = f"unix:path={work}/run/bus"
environment = {"HOME": f"{work}", "XDG_RUNTIME_DIR": f"{work}/run", "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
               "XDG_DATA_HOME": f"{work}/data", "XDG_CONFIG_HOME": f"{work}/config", "XDG_CACHE_HOME": f"{work}/cache",
               "XDG_CURRENT_DESKTOP": "KDE",
               "WAYLAND_DISPLAY": "wayland-0", "GDK_BACKEND": "wayland", "LIBGL_ALWAYS_SOFTWARE": "1", "KWIN_COMPOSE": "O2",
               "DBUS_SESSION_BUS_ADDRESS": bus}
environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}


def start(*words, more={}, **options):
    return subprocess.Popen(words, env=environment | more, cwd=work, user=NOBODY, group=NOBODY, extra_groups=[],
                            stdin=subprocess.DEVNULL, **options)


def run(*words, more={}):
    process = start(*words, more=more, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    return process.communicate(timeout=90)[0]


def quietly(*words):
    return start(*words, stdout=log, stderr=log)


def until(what, condition):
    end = time.monotonic() + 60
    while not condition():
        if time.monotonic() > end:
            print("FAIL:", what, "\n" + (work / "log").read_text(errors="replace")[-3000:])
            sys.exit(1)
        time.sleep(0.1)


def shown(columns=SIZE[0], rows=SIZE[1]):
    """The colour of that much of the monitor's lower left corner; None if it has more than one, or no picture is to be had."""
    import gi
    gi.require_version("GdkPixbuf", "2.0")
    from gi.repository import GdkPixbuf
    (work / "shot.png").unlink(missing_ok=True)
    # Where it does not see that another one has the screen.
    run(tool, "--desktop", str(work / "shot.png"), more={"XDG_RUNTIME_DIR": f"{work}/eye",
                                                         "WAYLAND_DISPLAY": f"{work}/run/wayland-0"})
    if not (work / "shot.png").exists():
        return None
    picture = GdkPixbuf.Pixbuf.new_from_file(str(work / "shot.png"))
    width, height, depth = picture.get_width(), picture.get_height(), picture.get_n_channels()
    pixels, row = picture.get_pixels(), picture.get_rowstride()
    first = pixels[(height - 1) * row:(height - 1) * row + depth]
    if (width, height) != SIZE:
        return None
    is_plain = all(pixels[y * row:y * row + columns * depth] == first * columns for y in range(height - rows, height))
    return tuple(first[:3]) if is_plain else None


ctypes.CDLL(None).umask(0o022)
for folder in ("run", "eye", "data/applications", "bin"):
    (work / folder).mkdir(parents=True)
(work / "run").chmod(0o700)
for program in ("qmcapture", "qmcapture.so"):
    shutil.copy(programs / program, work / "bin")
tool = str(work / "bin/qmcapture")
entry = (sources / "packaging/org.quillmere.Quillmere.capture.desktop.in").read_text().replace("@QM_CAPTURE_TOOL@", tool)
(work / "data/applications/org.quillmere.Quillmere.capture.desktop").write_text(entry)
for path in [work, *work.rglob("*")]:
    os.chown(path, NOBODY, NOBODY)
log = open(work / "log", "w")
quietly("dbus-daemon", "--session", "--nofork", "--address=" + bus)
until("no bus", (work / "run/bus").exists)
shutil.copy("/usr/bin/kwin_wayland", work / "bin")  # without the file's capabilities, which a container may lack
quietly(str(work / "bin/kwin_wayland"), "--virtual", "--width", str(SIZE[0]), "--height", str(SIZE[1]), "--no-lockscreen",
        "--no-kactivities", "--socket", "wayland-0")
until("the compositor does not start", (work / "run/wayland-0").exists)
quietly("/usr/bin/python3", "-c", WINDOW)
until("a capture shows something else than the screen", lambda: shown() == COLOR)
choosing = quietly(tool, "-i", str(work / "region.png"))
until("the overlay does not dim the screen", lambda: (color := shown(300, 100)) and color[0] < COLOR[0])
choosing.kill()
until("the overlay stays", lambda: shown() == COLOR)
print("captured, and dimmed while the user chooses")
