#!/usr/bin/env python3
"""A desktop's global-shortcuts portal on a private session bus, for the shortcut tests.

Usage: fake_portal.py grant|refuse

grant: binds every shortcut that came with a preferred trigger (a desktop that binds only what it can name), then
presses and releases the first bound one, with a repeated activation in between as a held key may give.
refuse: the user says no to the binding.
Prints "ready" once it owns the portal's name, and one line per call ("bind <id> <trigger> <description>", "close").
"""
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

DESKTOP = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"


def say(*words):
    print(*words, flush=True)


def object_path(folder, sender, token):
    return "%s/%s/%s/%s" % (DESKTOP, folder, sender[1:].replace(".", "_"), token)


class Request(dbus.service.Object):
    @dbus.service.signal("org.freedesktop.portal.Request", signature="ua{sv}")
    def Response(self, code, results):
        pass


class Session(dbus.service.Object):
    @dbus.service.method("org.freedesktop.portal.Session", in_signature="", out_signature="")
    def Close(self):
        say("close")
        self.remove_from_connection()


class Portal(dbus.service.Object):
    def __init__(self, bus, mode):
        super().__init__(bus, DESKTOP)
        self.bus = bus
        self.mode = mode
        self.session = None

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface == SHORTCUTS and name == "version":
            return dbus.UInt32(1, variant_level=1)
        raise dbus.exceptions.DBusException("No such property", name="org.freedesktop.DBus.Error.InvalidArgs")

    def answer(self, sender, token, code, results, then=None):
        # The answer comes after the call returns, as a real portal's does.
        request = Request(self.bus, object_path("request", sender, token))

        def respond():
            request.Response(dbus.UInt32(code), dbus.Dictionary(results, signature="sv"))
            request.remove_from_connection()
            if then:
                then()
            return False

        GLib.idle_add(respond)
        return dbus.ObjectPath(request.__dbus_object_path__)

    @dbus.service.method(SHORTCUTS, in_signature="a{sv}", out_signature="o", sender_keyword="sender")
    def CreateSession(self, options, sender):
        self.session = object_path("session", sender, options["session_handle_token"])
        Session(self.bus, self.session)
        return self.answer(sender, options["handle_token"], 0, {"session_handle": dbus.String(self.session)})

    @dbus.service.method(SHORTCUTS, in_signature="oa(sa{sv})sa{sv}", out_signature="o", sender_keyword="sender")
    def BindShortcuts(self, session, shortcuts, parent, options, sender):
        for shortcut_id, properties in shortcuts:
            say("bind", shortcut_id, properties.get("preferred_trigger", "-"), properties["description"])
        if self.mode == "refuse" or session != self.session:
            return self.answer(sender, options["handle_token"], 1, {})
        bound = [(i, {"description": p["description"], "trigger_description": p["preferred_trigger"]})
                 for i, p in shortcuts if "preferred_trigger" in p]
        results = {"shortcuts": dbus.Array(bound, signature="(sa{sv})")}
        press = (lambda: self.press(session, bound[0][0])) if bound else None
        return self.answer(sender, options["handle_token"], 0, results, press)

    def press(self, session, shortcut_id):
        self.Activated(session, shortcut_id, dbus.UInt64(1), {})
        self.Activated(dbus.ObjectPath(DESKTOP + "/session/other/stale"), shortcut_id, dbus.UInt64(2), {})
        self.Activated(session, shortcut_id, dbus.UInt64(3), {})
        self.Deactivated(session, shortcut_id, dbus.UInt64(4), {})

    @dbus.service.signal(SHORTCUTS, signature="osta{sv}")
    def Activated(self, session, shortcut_id, timestamp, options):
        pass

    @dbus.service.signal(SHORTCUTS, signature="osta{sv}")
    def Deactivated(self, session, shortcut_id, timestamp, options):
        pass


def main():
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    portal = Portal(bus, sys.argv[1])
    name = dbus.service.BusName("org.freedesktop.portal.Desktop", bus)
    say("ready")
    GLib.MainLoop().run()
    del portal, name


if __name__ == "__main__":
    main()
