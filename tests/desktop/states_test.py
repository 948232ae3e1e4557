# SPDX-License-Identifier: GPL-3.0-or-later
"""Devices that cannot be used yet: no entry in the menu, but what to do in the tool tip, and once as a notification
of the desktop; and the entry as soon as they can."""

import json
import os
import sys
import unittest

from scene import PATIENCE, PanelTest, wait_for

ID = "org.quillbox.Quillbox"
PHONE = "Blue Phone"
VOLUME = "Blue Phone (Media)"
NOBODY = "No iPhones Connected..."
DEVICES = slice(3, -4)  # of the menu's titles
UNPLUG = ("detach", "trust", "attach")

PENDING = "it does not trust this computer yet: unlock the device and tap Trust"
# What the device does and what is said of it then, the first before it is plugged in; and what its user does about it.
STATES = {
    "waits for trust": ([(("distrust --forget-record", "pending"), PENDING)], ("trust",)),
    # Accepting alone does not help as long as it is locked.
    "locked": ([(("distrust --forget-record", "lock"), "it is locked: unlock the device")],
               ("trust", "unlock", "trust")),
    "refused": ([(("distrust --forget-record", "pending"), PENDING),
                 (("refuse",), "trust was refused on the device: unplug, plug in again and tap Trust")], UNPLUG),
    "trust reset": ([(("distrust",), "trust was reset: unplug, plug in and tap Trust")], UNPLUG),
    "not unlocked since its start": ([(("lock --since-start",), "it is locked since its start: unlock the device once "
                                       "after its restart")], ("unlock", "trust")),
}


class States(PanelTest):
    def setUp(self):
        super().setUp()
        self.notified = os.path.join(self.folder, "notified")
        service = os.path.join(os.path.dirname(os.path.abspath(__file__)), "notifications.py")
        self.desktop.start_and_read("notifications", [sys.executable, "-B", service, self.notified])

    def notifications(self):
        if not os.path.exists(self.notified):
            return []
        with open(self.notified, encoding="utf-8") as file:
            return [json.loads(line) for line in file]

    def tell(self, udid, *commands):
        for command in commands:
            verb, *options = command.split()
            self.simulator.ctl(verb, udid, *options)

    def wait_tool_tip(self, *lines):
        wait_for(lambda: self.quillbox.tool_tip() == "\n".join(lines), 20 * PATIENCE,
                 f"the tool tip says {lines}")

    def wait_devices(self, *names):
        wait_for(lambda: self.quillbox.titles()[DEVICES] == list(names), 20 * PATIENCE, f"the menu shows {names}")

    def wait_state(self, udid, state):
        """Until the program knows it, by its own list."""
        def known():
            listed = json.loads(self.quillbox.verb("list", "--json").stdout)
            return any(each["uniqueDeviceID"] == udid and each["state"] == state for each in listed)
        wait_for(known, 20 * PATIENCE, f"{udid} is listed as {state}")

    def test_each_state_is_told_once_until_the_device_is_trusted(self):
        self.start()
        udid = self.simulator.udids[0]
        self.quillbox.wait_mounted(VOLUME)
        (device,) = json.loads(self.quillbox.verb("list", "--json").stdout)
        serial = device["serialNumber"]
        told = []
        for state, (stages, remedy) in STATES.items():
            self.wait_tool_tip()
            self.wait_devices(PHONE)
            plain = self.quillbox.item_property("IconPixmap")
            self.tell(udid, "detach")
            self.quillbox.wait_gone(VOLUME, 10 * PATIENCE)
            plug = ("attach",)
            for commands, advice in stages:
                self.tell(udid, *commands, *plug)
                plug = ()
                # One that knows this computer has told its number as well.
                name = f"{PHONE} (serial number {serial})" if state == "not unlocked since its start" else PHONE
                self.wait_tool_tip(f"{name}: {advice}")
                self.assertNotEqual(self.quillbox.item_property("IconPixmap"), plain, "a dot says that it waits")
                told.append({"application": "Quillbox", "replaces": 0, "icon": ID, "title": name, "body": advice,
                             "entry": ID})
                wait_for(lambda: len(self.notifications()) == len(told), 20 * PATIENCE, "a notification")
                self.wait_devices(NOBODY)
                self.assertEqual(os.listdir(self.quillbox.volumes), [])

            self.tell(udid, *remedy)
            self.quillbox.wait_mounted(VOLUME)
            self.wait_devices(PHONE)
            self.wait_tool_tip()
            # Whatever was asked again in between: it is told once.
            self.assertEqual(self.notifications(), told)

    def test_a_trusted_device_and_two_that_wait(self):
        self.start("--devices", "3", "--no-afc2")
        _, second, third = self.simulator.udids
        wait_for(lambda: len(self.quillbox.titles()[DEVICES]) == 3, 20 * PATIENCE, "three devices")
        self.tell(second, "detach", "distrust --forget-record", "lock", "attach")
        self.wait_state(second, "locked")
        self.tell(third, "detach", "distrust --forget-record", "pending", "attach")
        self.wait_state(third, "waiting-for-trust")
        wait_for(lambda: len(self.notifications()) == 2, 20 * PATIENCE, "two notifications")
        names = [each["title"] for each in self.notifications()]
        self.wait_devices(PHONE)
        lines = set(self.quillbox.tool_tip().split("\n"))
        self.assertEqual(lines, {f"{each['title']}: {each['body']}" for each in self.notifications()})
        self.tell(third, "trust")
        self.wait_devices(names[1], PHONE)
        self.wait_tool_tip(f"{names[0]}: it is locked: unlock the device")
        # One that leaves without having been trusted has nothing to say any more.
        self.tell(second, "detach")
        self.wait_tool_tip()
        self.assertEqual(len(self.notifications()), 2)


if __name__ == "__main__":
    unittest.main()
