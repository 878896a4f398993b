"""KWin or GNOME's shell with a monitor in memory, and buses and a home of its own, in a process namespace that ends with the
program that uses it. Needs root, and gives it up for whatever it starts. Failures end the program; 77 where the desktop is not
installed, or this is not root.
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
NEEDED = {"kwin": ["kwin_wayland"], "gnome": ["gnome-shell", "gdbus"]}


class LargeDesktop:
    def __init__(self, kind, sources, programs, more_programs=(), size=(1280, 800), scale=1):
        """sources: the tree. programs: the folder of the programs, of which those of captures and the named ones are copied
        to bin below self.work. size: in pixels. The compositor is up, and self.log takes what it says."""
        self._enter(NEEDED[kind])
        self.sources, self.size, self.scale = pathlib.Path(sources), size, scale
        work = self.work = pathlib.Path(os.environ["QM_INSIDE"])
        self._environment = {
            "HOME": f"{work}", "XDG_RUNTIME_DIR": f"{work}/run", "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
            "XDG_DATA_HOME": f"{work}/data", "XDG_CONFIG_HOME": f"{work}/config", "XDG_CACHE_HOME": f"{work}/cache",
            "XDG_CURRENT_DESKTOP": {"kwin": "KDE", "gnome": "GNOME"}[kind], "XDG_SESSION_TYPE": "wayland",
            "XDG_DESKTOP_PORTAL_DIR": f"{work}/portals", "GSETTINGS_BACKEND": "keyfile", "NO_AT_BRIDGE": "1",
            "WAYLAND_DISPLAY": "wayland-0", "GDK_BACKEND": "wayland", "LIBGL_ALWAYS_SOFTWARE": "1", "KWIN_COMPOSE": "O2",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={work}/run/bus",
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={work}/run/system"}
        self._environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        ctypes.CDLL(None).umask(0o022)
        for folder in ("run", "eye", "data/applications", "bin", "portals", "Pictures", "config/glib-2.0/settings",
                       "config/menus"):
            (work / folder).mkdir(parents=True)
        (work / "run").chmod(0o700)
        for program in ("qmcapture", "qmcapture.so", *more_programs):
            shutil.copy(pathlib.Path(programs) / program, work / "bin")
        for portal in pathlib.Path("/usr/share/xdg-desktop-portal/portals").glob("g*.portal"):
            shutil.copy(portal, work / "portals")  # the desktop's own: otherwise another's may answer
        (work / "config/glib-2.0/settings/keyfile").write_text(
            "[org/gnome/shell]\nwelcome-dialog-last-shown-version='999'\n"
            "[org/gnome/desktop/interface]\nenable-animations=false\n"
            "[org/gnome/desktop/notifications]\nshow-banners=false\n")
        self.tool = str(work / "bin/qmcapture")
        self.log = open(work / "log", "w")
        for path in [work, *work.rglob("*")]:
            os.chown(path, NOBODY, NOBODY)
        for name in ("bus", "system"):
            self.quietly("dbus-daemon", "--session", "--nofork", f"--address=unix:path={work}/run/{name}")
            self.until("no bus", (work / "run" / name).exists)
        {"kwin": self._start_kwin, "gnome": self._start_gnome}[kind]()
        self.until("the compositor does not start", (work / "run/wayland-0").exists)

    @staticmethod
    def _enter(needed):
        if not all(map(shutil.which, needed)) or os.geteuid() != 0:
            print(f"SKIP: this needs {' and '.join(needed)}, and root")
            sys.exit(77)
        if "QM_INSIDE" in os.environ:
            return
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # the folder goes then, too
        with tempfile.TemporaryDirectory() as folder:
            sys.exit(subprocess.run(["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", sys.executable,
                                     *sys.argv], env=dict(os.environ, QM_INSIDE=folder)).returncode)

    def start(self, *words, more={}, **options):
        return subprocess.Popen(words, env=self._environment | more, cwd=self.work, user=NOBODY, group=NOBODY,
                                extra_groups=[], **{"stdin": subprocess.DEVNULL} | options)

    def run(self, *words, more={}):
        """What it writes to its standard output."""
        process = self.start(*words, more=more, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        return process.communicate(timeout=90)[0]

    def quietly(self, *words):
        return self.start(*words, stdout=self.log, stderr=self.log)

    def logged(self):
        return (self.work / "log").read_text(errors="replace")

    def until(self, what, condition):
        """Waits; if a minute is not enough, the program fails with what."""
        end = time.monotonic() + 60
        while not condition():
            if time.monotonic() > end:
                print("FAIL:", what, "\n" + self.logged()[-3000:])
                sys.exit(1)
            time.sleep(0.1)

    def picture(self):
        """Of the monitor, as pixels() tells it; None if there is none to be had."""
        (self.work / "shot.png").unlink(missing_ok=True)
        # Where it does not see that another one has the screen.
        self.run(self.tool, "--desktop", str(self.work / "shot.png"),
                 more={"XDG_RUNTIME_DIR": f"{self.work}/eye", "WAYLAND_DISPLAY": f"{self.work}/run/wayland-0"})
        return pixels(self.work / "shot.png") if (self.work / "shot.png").exists() else None

    def until_shown(self, what, condition):
        """The same for the first pictures of the monitor. The program is skipped where KWin says that it gives nobody any."""
        def refused():
            return "compositor not supported" in self.logged()
        self.until(what, lambda: refused() or condition())
        if refused():
            print("SKIP: KWin 6 draws without OpenGL where there is no graphics card, and then gives no pictures")
            sys.exit(77)

    def allow(self, entry, template, program):
        """A desktop file that gives the program the rights of ours. KWin has to find it when it starts."""
        words = (self.sources / f"packaging/org.quillmere.Quillmere.{template}.desktop.in").read_text()
        (self.work / f"data/applications/org.quillmere.Quillmere.{entry}.desktop").write_text(
            words.replace("@QM_TOOL@", str(program)))

    def _call(self, name, path, method, *arguments):
        return self.run("gdbus", "call", "--session", "-d", name, "-o", path, "-m", method, *arguments)

    def _start_kwin(self):
        for entry, template, program in (("capture", "capture", "bin/qmcapture"), ("scroll", "scroll", "bin/qmscroll"),
                                         ("pointer", "scroll", "bin/qm_kwinpointer")):
            self.allow(entry, template, self.work / program)
        # Without a menu, KWin 6 knows no desktop files.
        (self.work / "config/menus/applications.menu").write_text(
            "<Menu><Name>Applications</Name><DefaultAppDirs/><Include><All/></Include></Menu>")
        # Not itself: distributions give it a desktop file without rights, and KWin asks only one of two.
        shutil.copy("/usr/bin/python3", self.work / "bin")
        self.allow("python", "capture", self.work / "bin/python3")
        shutil.copy("/usr/bin/kwin_wayland", self.work / "bin")  # without the file's capabilities, which a container may lack
        self.quietly(str(self.work / "bin/kwin_wayland"), "--virtual", "--width", str(self.size[0] // self.scale), "--height",
                     str(self.size[1] // self.scale), "--scale", str(self.scale), "--no-lockscreen", "--no-kactivities",
                     "--socket", "wayland-0")

    def _start_gnome(self):
        self.quietly("gnome-shell", "--headless", "--virtual-monitor", "%dx%d" % self.size, "--no-x11", "--sm-disable",
                     "--wayland-display", "wayland-0")
        self.until("the shell does not start", lambda: "GNOME Shell started" in self.logged())
        self.run("dbus-update-activation-environment", "--all")  # for the portal, which the bus starts
        self._call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties.Set", "org.gnome.Shell",
                   "OverviewActive", "<false>")
        store = "org.freedesktop.impl.portal.PermissionStore"
        self._call(store, "/org/freedesktop/impl/portal/PermissionStore", f"{store}.SetPermission", "screenshot", "true",
                   "screenshot", "", "['yes']")


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
