"""Programs whose content is scrolled: they go where they are told, and say where they are. Lengths are pixels."""
import fcntl
import json
import os
import pathlib
import signal
import socket
import subprocess
import time

HERE = pathlib.Path(__file__).parent
SCROLLER = "(document.querySelector('#inner') || document.scrollingElement)"
FIREFOX_PREFERENCES = {
    "app.update.enabled": False, "browser.aboutwelcome.enabled": False, "browser.shell.checkDefaultBrowser": False,
    "browser.startup.homepage_override.mstone": "ignore", "datareporting.policy.dataSubmissionEnabled": False,
    "toolkit.telemetry.reportingpolicy.firstRun": False, "browser.tabs.inTitlebar": 0}


def answer_of(question, limit=90):
    """What it answers, once that is true; an OSError counts as no answer."""
    end = time.monotonic() + limit
    while time.monotonic() < end:
        try:
            if found := question():
                return found
        except OSError:
            pass
        time.sleep(0.1)
    raise TimeoutError("the program does not answer")


class Program:
    """Runs in a process group of its own, with `home` for its files."""

    def __init__(self, screen, home, command, environment=None, **options):
        own = {key: value for key, value in os.environ.items() if not key.startswith(("QT_", "GDK_", "WAYLAND_"))}
        own.update(DISPLAY=screen.display, HOME=str(home), XDG_RUNTIME_DIR=str(home), **(environment or {}))
        options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options}
        self.process = subprocess.Popen(command, env=own, start_new_session=True, **options)

    def close(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            try:
                os.killpg(self.process.pid, number)
                self.process.wait(5)
            except (ProcessLookupError, subprocess.TimeoutExpired):
                pass


class Browser(Program):
    def script(self, expression):
        raise NotImplementedError

    def begin(self, connect):
        """Until the page is there; a browser that does not get so far is ended."""
        try:
            connect()
            answer_of(lambda: self.script("document.readyState") == "complete")
        except BaseException:
            self.close()
            raise

    def _pixels(self, *expressions):
        lengths = ",".join(f"({expression}) * devicePixelRatio" for expression in expressions)
        return [round(length) for length in json.loads(self.script(f"JSON.stringify([{lengths}])"))]

    def view(self):
        return tuple(self._pixels("window.mozInnerScreenX ?? screenX",
                                  "window.mozInnerScreenY ?? screenY + outerHeight - innerHeight", "innerWidth",
                                  "innerHeight"))

    def position(self):
        return self._pixels(f"{SCROLLER}.scrollTop", f"{SCROLLER}.scrollHeight - {SCROLLER}.clientHeight + innerHeight")

    def scroll_to(self, row):
        self.script("document.documentElement.style.scrollSnapType = 'none'")
        self.script(f"{SCROLLER}.scrollTo({{top: {row} / devicePixelRatio, behavior: 'instant'}})")


class Chromium(Browser):
    """Spoken to in the DevTools protocol, through pipes."""
    command = "chromium"

    def __init__(self, screen, home, page, scale):
        ends = [fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in (*os.pipe(), *os.pipe())]
        theirs, self._ours = (ends[0], ends[3]), (ends[2], ends[1])  # to read from, to write to

        def as_it_expects():
            os.dup2(theirs[0], 3)
            os.dup2(theirs[1], 4)

        super().__init__(
            screen, home,
            [self.command, "--no-sandbox", "--test-type", "--no-first-run", "--disable-gpu", "--disable-extensions",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--password-store=basic", "--remote-debugging-pipe", f"--user-data-dir={home}/profile",
             f"--force-device-scale-factor={scale}", "--window-position=0,0",
             f"--window-size={int(900 / scale)},{int(720 / scale)}", f"--app=file://{page}"],
            close_fds=False, preexec_fn=as_it_expects)
        for end in theirs:
            os.close(end)
        self._buffer, self._calls, self._session = b"", 0, {}
        self.begin(self._attach)

    def _attach(self):
        target = answer_of(self._page)
        self._session = {"sessionId": self._call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]}

    def _page(self):
        for target in self._call("Target.getTargets").get("targetInfos", []):
            if target["type"] == "page" and target["url"].startswith("file:"):
                return target["targetId"]
        return None

    def _call(self, method, **parameters):
        self._calls += 1
        message = {"id": self._calls, "method": method, "params": parameters, **self._session}
        os.write(self._ours[1], json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self._buffer:
                part = os.read(self._ours[0], 1 << 16)
                if not part:
                    raise ConnectionError("the browser has ended")
                self._buffer += part
            answer, self._buffer = self._buffer.split(b"\0", 1)
            answer = json.loads(answer)
            if answer.get("id") == self._calls:
                return answer.get("result", {})

    def script(self, expression):
        return self._call("Runtime.evaluate", expression=expression, returnByValue=True).get("result", {}).get("value")

    def close(self):
        super().close()
        for end in self._ours:
            os.close(end)


class Firefox(Browser):
    """Spoken to in its Marionette protocol."""
    command = "firefox-esr"

    def __init__(self, screen, home, page, scale):
        preferences = {**FIREFOX_PREFERENCES, "layout.css.devPixelsPerPx": str(scale)}
        profile = home / "profile"
        profile.mkdir()
        profile.joinpath("user.js").write_text(
            "".join(f"user_pref({json.dumps(key)}, {json.dumps(value)});\n" for key, value in preferences.items()))
        super().__init__(screen, home,
                         [self.command, "--marionette", "--no-remote", "--profile", str(profile),
                          "--width", str(int(900 / scale)), "--height", str(int(800 / scale)), f"file://{page}"],
                         {"MOZ_USE_XINPUT2": "1", "MOZ_CRASHREPORTER_DISABLE": "1"})
        self._calls, self._socket, self._stream = 0, None, None
        self.begin(lambda: self._connect(f"file://{page}"))

    def _connect(self, address):
        self._socket = answer_of(lambda: socket.create_connection(("127.0.0.1", 2828)))
        self._stream = self._socket.makefile("rb")
        self._read()
        self._call("WebDriver:NewSession", {"capabilities": {}})
        self._call("WebDriver:Navigate", {"url": address})

    def _read(self):
        length = b""
        while (digit := self._stream.read(1)) != b":":
            if not digit:
                raise ConnectionError("the browser has ended")
            length += digit
        return json.loads(self._stream.read(int(length)))

    def _call(self, name, parameters):
        self._calls += 1
        message = json.dumps([0, self._calls, name, parameters]).encode()
        self._socket.sendall(str(len(message)).encode() + b":" + message)
        _, _, error, result = self._read()
        if error:
            raise RuntimeError(f"{name}: {error['message']}")
        return result

    def script(self, expression):
        return self._call("WebDriver:ExecuteScript", {"script": f"return {expression}", "args": []})["value"]

    def close(self):
        for end in (self._stream, self._socket):
            if end:
                end.close()
        super().close()


class View(Program):
    """A window of ours in another toolkit. It reads rows from its standard input, goes there (-1: stays), and answers with a
    line: left, top, width and height of the view, the row at its top, and all rows."""

    def __init__(self, screen, home, command, scale):
        super().__init__(screen, home, command, {"GDK_SCALE": str(scale), "QT_SCALE_FACTOR": str(scale),
                                                 "GSK_RENDERER": "cairo", "NO_AT_BRIDGE": "1"},
                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)

    def scroll_to(self, row):
        self.process.stdin.write(f"{row}\n")
        numbers = [int(number) for number in self.process.stdout.readline().split()]
        if len(numbers) != 6:
            raise RuntimeError("the view has ended")
        return numbers

    def view(self):
        return tuple(self.scroll_to(-1)[:4])

    def position(self):
        return self.scroll_to(-1)[4:]
