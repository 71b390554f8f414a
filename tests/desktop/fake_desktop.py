#!/usr/bin/env python3
# Scripted desktop services on the session bus: org.freedesktop.ScreenSaver
# and GNOME's org.gnome.SettingsDaemon.MediaKeys. Prints "ready" once it owns
# the names, then one line per call: "Inhibit <cookie> <app>", "UnInhibit
# <cookie>", "Grab <app>", "Release <app>". Right after a grab it presses the
# "Pause" media key for that application, as the desktop would. Exits 3 when
# python3-dbus or python3-gi is missing.
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


MEDIA_KEYS = "org.gnome.SettingsDaemon.MediaKeys"


class MediaKeys(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/org/gnome/SettingsDaemon/MediaKeys")

    @dbus.service.method(MEDIA_KEYS, in_signature="su")
    def GrabMediaPlayerKeys(self, application, time):
        print(f"Grab {application}", flush=True)
        GLib.idle_add(lambda: self.MediaPlayerKeyPressed(application, "Pause") and False)

    @dbus.service.method(MEDIA_KEYS, in_signature="s")
    def ReleaseMediaPlayerKeys(self, application):
        print(f"Release {application}", flush=True)

    @dbus.service.signal(MEDIA_KEYS, signature="ss")
    def MediaPlayerKeyPressed(self, application, key):
        pass


bus = dbus.SessionBus()
names = [dbus.service.BusName(name, bus) for name in ("org.freedesktop.ScreenSaver", MEDIA_KEYS)]
services = [ScreenSaver(bus), MediaKeys(bus)]
print("ready", flush=True)
GLib.MainLoop().run()
