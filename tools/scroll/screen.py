"""A display without a screen, its pointer and its pixels."""
import ctypes
import os
import subprocess
import time

MOTION, PRESS, RELEASE = 6, 4, 5  # X11's event types
LEFT, WHEEL_UP, WHEEL_DOWN = 1, 4, 5
Z_PIXMAP, ALL_PLANES = 2, 0xFFFFFFFF


class _Screens(ctypes.Structure):  # xcb_screen_iterator_t; a screen begins with its root
    _fields_ = [("root", ctypes.POINTER(ctypes.c_uint32)), ("rem", ctypes.c_int), ("index", ctypes.c_int)]


def _xcb():
    xcb, xtest = ctypes.CDLL("libxcb.so.1"), ctypes.CDLL("libxcb-xtest.so.0")
    pointer, cookie = ctypes.c_void_p, ctypes.c_uint
    for function, result, arguments in (
            (xcb.xcb_connect, pointer, [ctypes.c_char_p, pointer]),
            (xcb.xcb_get_setup, pointer, [pointer]),
            (xcb.xcb_setup_roots_iterator, _Screens, [pointer]),
            (xcb.xcb_get_image, cookie, [pointer, ctypes.c_uint8, ctypes.c_uint32, ctypes.c_int16, ctypes.c_int16,
                                         ctypes.c_uint16, ctypes.c_uint16, ctypes.c_uint32]),
            (xcb.xcb_get_image_reply, pointer, [pointer, cookie, pointer]),
            (xcb.xcb_get_image_data, pointer, [pointer]),
            (xcb.xcb_get_image_data_length, ctypes.c_int, [pointer]),
            (xcb.xcb_get_input_focus, cookie, [pointer]),
            (xcb.xcb_get_input_focus_reply, pointer, [pointer, cookie, pointer]),
            (xtest.xcb_test_fake_input, cookie, [pointer, ctypes.c_uint8, ctypes.c_uint8, ctypes.c_uint32,
                                                 ctypes.c_uint32, ctypes.c_int16, ctypes.c_int16, ctypes.c_uint8])):
        function.restype, function.argtypes = result, arguments
    xcb.free = ctypes.CDLL(None).free
    xcb.free.argtypes = [pointer]
    xcb.fake_input = xtest.xcb_test_fake_input
    return xcb


class Screen:
    """Pictures are lists of rows, three bytes a pixel; parts are (left, top, width, height) in pixels."""

    def __init__(self, width, height):
        reading, writing = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-noreset", "-nolisten", "tcp", "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24"],
            pass_fds=[writing], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as number:
            self.display = ":" + number.readline().strip()
        self._xcb = _xcb()
        self._connection = self._xcb.xcb_connect(self.display.encode(), None)
        setup = self._xcb.xcb_get_setup(self._connection)
        self._root = self._xcb.xcb_setup_roots_iterator(setup).root[0]

    def close(self):
        self._server.terminate()
        self._server.wait()

    def pixels(self, part):
        """The pixels as the server has them; equal pictures have equal ones."""
        cookie = self._xcb.xcb_get_image(self._connection, Z_PIXMAP, self._root, *part, ALL_PLANES)
        reply = self._xcb.xcb_get_image_reply(self._connection, cookie, None)
        if not reply:
            raise ValueError(f"{part} is not on the screen")
        data = bytearray(ctypes.string_at(self._xcb.xcb_get_image_data(reply), self._xcb.xcb_get_image_data_length(reply)))
        self._xcb.free(reply)
        data[3::4] = bytes(len(data) // 4)  # no colour
        return bytes(data)

    def still_pixels(self, part, quiet=0.12, limit=5):
        end, last, since = time.monotonic() + limit, self.pixels(part), time.monotonic()
        while time.monotonic() - since < quiet and time.monotonic() < end:
            time.sleep(0.01)
            now = self.pixels(part)
            if now != last:
                last, since = now, time.monotonic()
        return last

    def rows(self, part):
        data = self.still_pixels(part)
        colours = bytearray(len(data) // 4 * 3)
        for channel in range(3):
            colours[channel::3] = data[2 - channel::4]
        stride = part[2] * 3
        return [bytes(colours[at:at + stride]) for at in range(0, len(colours), stride)]

    def _input(self, kind, detail, x=0, y=0):
        self._xcb.fake_input(self._connection, kind, detail, 0, 0, x, y, 0)

    def _sync(self):
        cookie = self._xcb.xcb_get_input_focus(self._connection)
        self._xcb.free(self._xcb.xcb_get_input_focus_reply(self._connection, cookie, None))

    def move(self, x, y):
        self._input(MOTION, 0, x, y)
        self._sync()

    def turn(self, clicks):
        button = WHEEL_DOWN if clicks > 0 else WHEEL_UP
        for _ in range(abs(clicks)):
            self._input(PRESS, button)
            self._input(RELEASE, button)
        self._sync()

    def press(self):
        self._input(PRESS, LEFT)
        self._sync()

    def release(self):
        self._input(RELEASE, LEFT)
        self._sync()
