"""Shows a window with text to scroll: page.py TITLE FILE X,Y,WIDTH,HEIGHT"""
import pathlib
import re
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk, Pango  # noqa: E402

title, path = sys.argv[1:3]
x, y, width, height = map(int, sys.argv[3].split(","))
view = Gtk.TextView(editable=False, cursor_visible=False, wrap_mode=Gtk.WrapMode.WORD_CHAR,
                    left_margin=18, right_margin=18, top_margin=14, pixels_below_lines=4)
text = view.get_buffer()
heading = text.create_tag("heading", weight=Pango.Weight.BOLD, scale=1.4)
for block in pathlib.Path(path).read_text().split("\n\n"):  # headings and prose; the rest would look bad unformatted
    if block.startswith("#"):
        text.insert_with_tags(text.get_end_iter(), block.lstrip("# ") + "\n", heading)
    elif not block.startswith(("![", "|", " ", "-")):
        block = re.sub(r"(?<=[!-~])\n(?=[!-~])", " ", block).replace("\n", "")
        text.insert(text.get_end_iter(), block.replace("`", "") + "\n\n")
window = Gtk.Window(title=title)
window.connect("destroy", Gtk.main_quit)
scrolled = Gtk.ScrolledWindow(overlay_scrolling=False)
scrolled.add(view)
window.add(scrolled)
window.set_default_size(width, height)
window.move(x, y)
window.show_all()
Gtk.main()
