#!/usr/bin/python3
"""large_desktop.py kwin|gnome SOURCES PROGRAMS: captures on a desktop that is too large for every test run.

It has a monitor in memory, buses and a home of its own, and lives in a process namespace that ends with this program.
A window fills the monitor with one colour; the helper has to give it back, and on KWin to dim it while the user chooses: in
GNOME's shell nothing gets the keyboard where there is none. On KWin a page is scrolled, too. Status 77: it is not installed,
or this is not root.
"""
import ctypes
import os
import pathlib
import random
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
desktop = sys.argv[1]
sources, programs = map(pathlib.Path, sys.argv[2:])
needed = {"kwin": ["kwin_wayland"], "gnome": ["gnome-shell", "gdbus"]}[desktop]
if not all(map(shutil.which, needed)) or os.geteuid() != 0:
    print(f"SKIP: this needs {' and '.join(needed)}, and root")
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
               "XDG_CURRENT_DESKTOP": {"kwin": "KDE", "gnome": "GNOME"}[desktop], "XDG_SESSION_TYPE": "wayland",
               "XDG_DESKTOP_PORTAL_DIR": f"{work}/portals", "GSETTINGS_BACKEND": "keyfile", "NO_AT_BRIDGE": "1",
               "WAYLAND_DISPLAY": "wayland-0", "GDK_BACKEND": "wayland", "LIBGL_ALWAYS_SOFTWARE": "1", "KWIN_COMPOSE": "O2",
               "DBUS_SESSION_BUS_ADDRESS": bus, "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={work}/run/system"}
environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}


def start(*words, more={}, **options):
    return subprocess.Popen(words, env=environment | more, cwd=work, user=NOBODY, group=NOBODY, extra_groups=[],
                            **{"stdin": subprocess.DEVNULL} | options)


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


def picture():
    """Of the monitor; None if there is none to be had."""
    (work / "shot.png").unlink(missing_ok=True)
    # Where it does not see that another one has the screen.
    run(tool, "--desktop", str(work / "shot.png"), more={"XDG_RUNTIME_DIR": f"{work}/eye",
                                                         "WAYLAND_DISPLAY": f"{work}/run/wayland-0"})
    return pixels(work / "shot.png") if (work / "shot.png").exists() else None


def pixels(path):
    """Width, height, and the rows' bytes, three for each pixel."""
    import gi
    gi.require_version("GdkPixbuf", "2.0")
    from gi.repository import GdkPixbuf
    image = GdkPixbuf.Pixbuf.new_from_file(str(path))
    width, height, row = image.get_width(), image.get_height(), image.get_rowstride()
    assert image.get_n_channels() == 3
    data = image.get_pixels()
    return width, height, [data[y * row:y * row + width * 3] for y in range(height)]


def shown(columns=SIZE[0], rows=SIZE[1]):
    """The colour of that much of the monitor's lower left corner; None if it has more than one, or no picture is to be had."""
    found = picture()
    if not found or found[:2] != SIZE:
        return None
    first = found[2][-1][:3]
    return tuple(first) if all(row[:columns * 3] == first * columns for row in found[2][-rows:]) else None


def has_no_pictures():
    return "compositor not supported" in (work / "log").read_text(errors="replace")


def scroll():
    """A page of noise, in which no two rows are alike, comes out as it is, from the region's top to its own end."""
    x, y, right, bottom, height = 200, 100, 700, 600, 3000
    noise = random.Random(5).randbytes(SIZE[0] * height * 3)
    (work / "page.ppm").write_bytes(b"P6 %d %d 255\n" % (SIZE[0], height) + noise)
    page = quietly("/usr/bin/python3", "-c", PAGE, str(work / "page.ppm"))

    def light():
        found = picture()
        return sum(sum(row[::97]) / len(row[::97]) for row in found[2]) / len(found[2]) if found else 0
    until("the page does not come up", lambda: 120 < light() < 135)
    pointer = start(str(work / "bin/qm_kwinpointer"), stdin=subprocess.PIPE, text=True)
    scrolling = quietly(str(work / "bin/qmscroll"), "--region", str(work / "scrolled.png"))
    until("no overlay", lambda: light() < 110)
    print(x, y, right, bottom, file=pointer.stdin, flush=True)
    until("the page has no end", lambda: scrolling.poll() is not None)
    page.kill()
    row = SIZE[0] * 3
    truth = [noise[i * row + x * 3:i * row + (right + 1) * 3] for i in range(y, height - SIZE[1] + bottom + 1)]
    if not (work / "scrolled.png").exists() or pixels(work / "scrolled.png")[2] != truth:
        print("FAIL: the page is another one\n" + (work / "log").read_text(errors="replace")[-1000:])
        sys.exit(1)


def call(name, path, method, *arguments):
    return run("gdbus", "call", "--session", "-d", name, "-o", path, "-m", method, *arguments)


def start_kwin():
    for name, program in (("capture", "qmcapture"), ("scroll", "qmscroll"), ("pointer", "qm_kwinpointer")):
        entry = f"org.quillmere.Quillmere.{name}.desktop"
        template = "scroll" if name == "pointer" else name
        words = (sources / f"packaging/org.quillmere.Quillmere.{template}.desktop.in").read_text()
        (work / "data/applications" / entry).write_text(words.replace("@QM_TOOL@", str(work / "bin" / program)))
    # Without a menu, KWin 6 knows no desktop files.
    (work / "config/menus/applications.menu").write_text(
        "<Menu><Name>Applications</Name><DefaultAppDirs/><Include><All/></Include></Menu>")
    shutil.copy("/usr/bin/kwin_wayland", work / "bin")  # without the file's capabilities, which a container may lack
    quietly(str(work / "bin/kwin_wayland"), "--virtual", "--width", str(SIZE[0]), "--height", str(SIZE[1]),
            "--no-lockscreen", "--no-kactivities", "--socket", "wayland-0")


def start_gnome():
    quietly("gnome-shell", "--headless", "--virtual-monitor", "%dx%d" % SIZE, "--no-x11", "--sm-disable",
            "--wayland-display", "wayland-0")
    until("the shell does not start", lambda: "GNOME Shell started" in (work / "log").read_text(errors="replace"))
    run("dbus-update-activation-environment", "--all")  # for the portal, which the bus starts
    call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties.Set", "org.gnome.Shell",
         "OverviewActive", "<false>")
    store = "org.freedesktop.impl.portal.PermissionStore"
    call(store, "/org/freedesktop/impl/portal/PermissionStore", f"{store}.SetPermission", "screenshot", "true",
         "screenshot", "", "['yes']")


ctypes.CDLL(None).umask(0o022)
for folder in ("run", "eye", "data/applications", "bin", "portals", "Pictures", "config/glib-2.0/settings",
               "config/menus"):
    (work / folder).mkdir(parents=True)
(work / "run").chmod(0o700)
for program in ("qmcapture", "qmcapture.so", "qmscroll", "qm_kwinpointer"):
    shutil.copy(programs / program, work / "bin")
for portal in pathlib.Path("/usr/share/xdg-desktop-portal/portals").glob("g*.portal"):
    shutil.copy(portal, work / "portals")  # the desktop's own: otherwise another's may answer
(work / "config/glib-2.0/settings/keyfile").write_text(
    "[org/gnome/shell]\nwelcome-dialog-last-shown-version='999'\n[org/gnome/desktop/interface]\nenable-animations=false\n"
    "[org/gnome/desktop/notifications]\nshow-banners=false\n")
tool = str(work / "bin/qmcapture")
log = open(work / "log", "w")
for path in [work, *work.rglob("*")]:
    os.chown(path, NOBODY, NOBODY)
for name in ("bus", "system"):
    quietly("dbus-daemon", "--session", "--nofork", f"--address=unix:path={work}/run/{name}")
    until("no bus", (work / "run" / name).exists)
{"kwin": start_kwin, "gnome": start_gnome}[desktop]()
until("the compositor does not start", (work / "run/wayland-0").exists)
quietly("/usr/bin/python3", "-c", WINDOW)
until("a capture shows something else than the screen", lambda: has_no_pictures() or shown() == COLOR)
if has_no_pictures():
    print("SKIP: KWin 6 draws without OpenGL where there is no graphics card, and then gives no pictures")
    sys.exit(77)
if left := list((work / "Pictures").iterdir()):
    print("FAIL: captures leave", left)
    sys.exit(1)
if desktop == "kwin":
    choosing = quietly(tool, "-i", str(work / "region.png"))
    until("the overlay does not dim the screen", lambda: (color := shown(300, 100)) and color[0] < COLOR[0])
    choosing.kill()
    until("the overlay stays", lambda: shown() == COLOR)
    scroll()
print("captured")
