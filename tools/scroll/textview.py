#!/usr/bin/python3
"""textview.py 3|4 text|list: a long text or list in GTK; see View in programs.py"""
import random
import sys

import gi

gi.require_version("Gtk", sys.argv[1] + ".0")
from gi.repository import GLib, Gtk  # noqa: E402

WORDS = "alpha river stone under bright table seven lantern quick meadow 長い ページ 撮影 number of and the 12 48".split()
WIDTH, HEIGHT = 700, 560
chance = random.Random(5)
lines = [f"{i} " + " ".join(chance.choice(WORDS) for _ in range(chance.randint(3, 40))) for i in range(180)]
is_new = sys.argv[1] == "4"


def content():
    if sys.argv[2] == "text":
        text = Gtk.TextView(editable=False, cursor_visible=False, wrap_mode=Gtk.WrapMode.WORD_CHAR)
        text.get_buffer().set_text("\n\n".join(lines))
        return text
    rows = Gtk.ListStore(str, int)
    for number, line in enumerate(lines * 2):
        rows.append([line[:40], number])
    table = Gtk.TreeView(model=rows)
    for column, title in enumerate(("Text", "Number")):
        table.append_column(Gtk.TreeViewColumn(title, Gtk.CellRendererText(), text=column))
    return table


# One for all scripts. Where lines take their height from two fonts, newer versions put letters at half a pixel, and paint the last
# row of such a line or leave it out, by what else is painted with it: what a view shows depends on how it was come to.
Gtk.Settings.get_default().props.gtk_font_name = "Noto Sans CJK JP 11"
window = Gtk.Window(decorated=False, default_width=WIDTH, default_height=HEIGHT)
scrolled = Gtk.ScrolledWindow()
(scrolled.set_child if is_new else scrolled.add)(content())
(window.set_child if is_new else window.add)(scrolled)
(window.present if is_new else window.show_all)()
loop, adjustment = GLib.MainLoop(), scrolled.get_vadjustment()


def go(_source, _condition):
    row = sys.stdin.readline()
    if not row:
        loop.quit()
        return False
    scale = window.get_scale_factor()
    if int(row) >= 0:
        adjustment.set_value(int(row) / scale)
    place = [0, 0, window.get_width() if is_new else WIDTH, window.get_height() if is_new else HEIGHT,
             adjustment.get_value(), adjustment.get_upper()]
    print(*(round(length * scale) for length in place), flush=True)
    return True


GLib.timeout_add(1500, lambda: GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, go) and False)
loop.run()
