# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop's notification service as a program of its own: takes the name on the session bus, says "ready", and
writes each notification that it is to show to a file, one JSON object a line.
"""

import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.Notifications"


class Notifications(dbus.service.Object):
    def __init__(self, bus, path):
        super().__init__(bus, "/org/freedesktop/Notifications")
        self.path = path
        self.count = 0

    @dbus.service.method(NAME, in_signature="susssasa{sv}i", out_signature="u")
    def Notify(self, application, replaced, icon, title, body, actions, hints, timeout):
        self.count += 1
        with open(self.path, "a", encoding="utf-8") as file:
            file.write(json.dumps({"application": str(application), "replaces": int(replaced), "icon": str(icon),
                                   "title": str(title), "body": str(body),
                                   "entry": str(hints.get("desktop-entry", ""))}) + "\n")
        return self.count

    @dbus.service.method(NAME, out_signature="as")
    def GetCapabilities(self):
        return ["body"]

    @dbus.service.method(NAME, out_signature="ssss")
    def GetServerInformation(self):
        return "notifications", "tests", "1", "1.2"

    @dbus.service.method(NAME, in_signature="u")
    def CloseNotification(self, number):
        pass


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    name = dbus.service.BusName(NAME, bus, do_not_queue=True)
    service = Notifications(bus, sys.argv[1])
    print("ready", flush=True)
    GLib.MainLoop().run()
    return name, service


if __name__ == "__main__":
    main()
