"""A page of text in a GTK view, for scrolling captures: gtk_view.py X,Y,WIDTH,HEIGHT LINES TRUTH

Writes to TRUTH what the view holds as one tall picture, and says on stdout where the view is once it is shown.
"""
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402


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


x, y, width, height = map(int, sys.argv[1].split(","))
lines = int(sys.argv[2])
window = Gtk.Window(type=Gtk.WindowType.POPUP)
window.move(x, y)
window.resize(width, height)
scrolled = Gtk.ScrolledWindow()
scrolled.add(make_text(lines))
window.add(scrolled)
window.show_all()


def write_truth():
    # The view lays its lines out when nothing else is to be done, so by now it knows how tall they are.
    tall = Gtk.OffscreenWindow()
    text = make_text(lines)
    text.set_size_request(width, int(scrolled.get_vadjustment().get_upper()))
    tall.add(text)
    tall.show_all()

    def save():
        tall.get_pixbuf().savev(sys.argv[3], "png", [], [])
        print(x, y, width, height, flush=True)
        return False

    GLib.timeout_add(300, save)
    return False


GLib.idle_add(write_truth, priority=GLib.PRIORITY_LOW + 10)
Gtk.main()
