#!/usr/bin/env python3
# A scripted org.freedesktop.ScreenSaver on the session bus. Prints "ready"
# once it owns the name, then one line per call: "Inhibit <cookie> <app>",
# "UnInhibit <cookie>". Exits 3 when python3-dbus or python3-gi is missing.
import sys

try:
    import dbus
    import dbus.mainloop.glib
    import dbus.service
    from gi.repository import GLib
except ImportError as error:
    print(f"missing: {error}", flush=True)
    sys.exit(3)

dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)


class ScreenSaver(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/org/freedesktop/ScreenSaver")
        self.next_cookie = 1

    @dbus.service.method("org.freedesktop.ScreenSaver", in_signature="ss", out_signature="u")
    def Inhibit(self, application, reason):
        cookie = self.next_cookie
        self.next_cookie += 1
        print(f"Inhibit {cookie} {application}", flush=True)
        return dbus.UInt32(cookie)

    @dbus.service.method("org.freedesktop.ScreenSaver", in_signature="u")
    def UnInhibit(self, cookie):
        print(f"UnInhibit {cookie}", flush=True)


bus = dbus.SessionBus()
name = dbus.service.BusName("org.freedesktop.ScreenSaver", bus)
service = ScreenSaver(bus)
print("ready", flush=True)
GLib.MainLoop().run()
