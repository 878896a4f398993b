"""A page of text in a GTK view, for scrolling captures: gtk_view.py X,Y,WIDTH,HEIGHT LINES TRUTH

Writes to TRUTH what the view holds as one tall picture, and says on stdout where the view is once it is shown.
"""
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402


def make_text(lines):
    rows = []
    for number in range(lines):
        if number % 7 == 3:
            rows.append(f"{number:4}  日本語の行、番号は {number * 37 % 1009} 番です。")
        else:
            rows.append(f"{number:4}  No two lines of this page are alike: {number * 7919 % 10007}.")
    view = Gtk.TextView(editable=False, cursor_visible=False, wrap_mode=Gtk.WrapMode.NONE)
    view.get_buffer().set_text("\n".join(rows))
    return view


def write_truth(tall, width, path):
    text = make_text(LINES)
    tall.add(text)
    text.set_size_request(width, -1)
    tall.show_all()

    def save():
        pixbuf = tall.get_pixbuf()
        pixbuf.savev(path, "png", [], [])
        return False

    # What is laid out lazily is complete when nothing else is left to do.
    GLib.idle_add(save, priority=GLib.PRIORITY_LOW)


x, y, width, height = map(int, sys.argv[1].split(","))
LINES = int(sys.argv[2])
window = Gtk.Window(type=Gtk.WindowType.POPUP)
window.move(x, y)
window.resize(width, height)
scrolled = Gtk.ScrolledWindow()
scrolled.add(make_text(LINES))
window.add(scrolled)
window.show_all()
off_screen = Gtk.OffscreenWindow()
write_truth(off_screen, width, sys.argv[3])


def tell():
    print(x, y, width, height, flush=True)
    return False


GLib.idle_add(tell, priority=GLib.PRIORITY_LOW + 10)
Gtk.main()
