#!/usr/bin/python3
"""notifications.py FILE: the session's notifications, written to the file, a line each."""
import sys

from gi.repository import Gio, GLib

NAME = "org.freedesktop.Notifications"
INTERFACE = f"""<node><interface name="{NAME}">
    <method name="GetCapabilities"><arg type="as" direction="out"/></method>
    <method name="Notify">{"".join(f'<arg type="{kind}" direction="in"/>' for kind in "s u s s s as a{sv} i".split())}
        <arg type="u" direction="out"/></method></interface></node>"""


def call(_bus, _sender, _path, _interface, method, arguments, answer):
    if method == "Notify":
        print(": ".join(arguments.unpack()[3:5]), file=said, flush=True)
    answer.return_value(GLib.Variant("(u)", (1,)) if method == "Notify" else GLib.Variant("(as)", ([],)))


with open(sys.argv[1], "w") as said:
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    bus.register_object("/org/freedesktop/Notifications", Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], call)
    Gio.bus_own_name_on_connection(bus, NAME, 0, lambda *_: print("ready", file=said, flush=True))
    GLib.MainLoop().run()
