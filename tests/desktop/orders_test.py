# SPDX-License-Identifier: GPL-3.0-or-later
"""Plugs, ends and kills in every order while menus and windows are open: nothing crashes, no entry is dead, no mount is
left."""

import json
import os
import signal
import unittest

from scene import PATIENCE, TrayTest, is_mounted, wait_for

FIRST, SECOND = "Blue Phone", "Red Phone"
ABOUT, PREFERENCES, WELCOME = "About Quillbox", "Quillbox preferences", "Welcome to Quillbox"
INFORMATION, MORE = "Device information", "More info"
DEVICES = slice(3, -4)  # of the menu's entries


class Orders(TrayTest):
    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator("--devices", "8", "--no-afc2")
        self.first, self.second, *self.others = self.simulator.udids
        self.attached = set(self.simulator.udids)
        self.plug_only()

    # The devices, and the program on them.

    def plug_only(self, *wanted):
        for udid in self.simulator.udids:
            if (udid in wanted) != (udid in self.attached):
                self.simulator.ctl("attach" if udid in wanted else "detach", udid)
        self.attached = set(wanted)

    def run_with(self, *devices):
        self.plug_only(*devices)
        self.quillbox = self.start_on_screen(self.simulator)
        self.wait_settled()

    def listed(self):
        return json.loads(self.quillbox.verb("list", "--json").stdout or "[]")

    def wait_settled(self):
        """Until exactly what is plugged in is mounted, and the menu holds exactly that."""
        def is_settled():
            self.assertIsNone(self.quillbox.process.poll(), "it runs")
            devices = self.listed()
            return {each["uniqueDeviceID"] for each in devices if each["mounted"]} == self.attached and \
                len(devices) == len(self.attached)
        wait_for(is_settled, 20 * PATIENCE, f"{len(self.attached)} devices are mounted")
        wait_for(lambda: len(os.listdir(self.quillbox.volumes)) == len(self.attached), 20 * PATIENCE,
                 "no other folder is left")
        self.check_menu()

    def check_menu(self):
        """No entry is dead, none is missing, and each offers what its device can do."""
        devices = {each["name"]: each for each in self.listed()}
        entries = self.quillbox.layout()[DEVICES]
        if not devices:
            self.assertEqual([each["label"] for each in entries], ["No iPhones Connected..."])
            return
        self.assertEqual({each["label"] for each in entries}, set(devices))
        for entry in entries:
            device = devices[entry["label"]]
            offered = {each["label"] for each in entry["children"] if each["enabled"]}
            self.assertLessEqual({"Unmount Device", "Device Info", "Reveal In Finder"}, offered)
            self.assertNotIn("Mount Device", offered)
            self.assertEqual([each["label"] for each in entry["children"] if each["mark"]], [device["root"]])
            self.assertTrue(is_mounted(device["mountPoint"]))

    # What is open.

    def show_windows(self):
        """Every window there is, with the first entry's device in that of a device."""
        name = self.quillbox.titles()[DEVICES][0]
        for way, title in ((("About Quillbox",), ABOUT), (("Preferences…",), PREFERENCES), (("Welcome…",), WELCOME),
                           ((name, "Device Info"), INFORMATION)):
            self.quillbox.choose(*way)
            self.desktop.wait_window(title)
        self.desktop.focus(INFORMATION)
        self.desktop.keys("alt+m")
        self.desktop.wait_window(MORE)

    # How it ends.

    def by_the_menu(self):
        # Over the session bus: it is the same entry, wherever the keyboard's mark stands in the open menu by then.
        self.quillbox.choose("Quit")

    def by_the_verb(self):
        done = self.quillbox.verb("quit")
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def by_the_session(self):
        self.quillbox.process.send_signal(signal.SIGTERM)

    def by_a_kill(self):
        self.quillbox.process.send_signal(signal.SIGKILL)

    def check_ends(self, show):
        """A second device comes, or the shown one of two leaves, and at once the program ends in each way."""
        for before, after in (((self.first,), (self.first, self.second)), ((self.first, self.second), (self.first,))):
            for end in (self.by_the_menu, self.by_the_verb, self.by_the_session, self.by_a_kill):
                with self.subTest(before=len(before), end=end.__name__):
                    # After a kill this clears what was left: only what is plugged in is mounted and in the folder.
                    self.run_with(*before)
                    show()
                    self.plug_only(*after)
                    end()
                    status = self.quillbox.process.wait(20 * PATIENCE)
                    if end == self.by_a_kill:
                        self.assertEqual(status, -signal.SIGKILL)
                    else:
                        self.assertEqual(status, 0)
                        self.assertEqual(os.listdir(self.quillbox.volumes), [])
        self.run_with(self.first)

    def test_it_ends_while_the_menu_is_open(self):
        self.check_ends(self.open_submenu)

    def test_it_ends_while_all_windows_are_open(self):
        self.check_ends(self.show_windows)

    # How it stays.

    def test_devices_come_and_go_under_an_open_submenu(self):
        self.run_with(self.first)
        self.open_submenu()
        self.plug_only(self.first, self.second)
        self.wait_settled()
        self.assertEqual(len(self.menus()), 2, "the menu stays as it was opened")
        self.plug_only(self.first)
        self.wait_settled()
        self.assertEqual(len(self.menus()), 2)
        # The entry that is open is that of the first device still, and does what it says.
        self.desktop.keys("Down", "Down", "Return")
        wait_for(lambda: not any(each["mounted"] for each in self.listed()), 20 * PATIENCE, "it is unmounted")
        self.quillbox.choose(FIRST, "Mount Device")
        self.wait_settled()
        self.open_submenu()
        self.plug_only(*self.simulator.udids)
        self.wait_settled()
        for menu in self.menus():
            place = self.desktop.geometry(menu)
            self.assertLessEqual(place["Y"] + place["HEIGHT"], 768, "the last entry can be reached")
        self.plug_only(self.second)
        self.wait_settled()
        wait_for(lambda: len(self.menus()) == 1, 20 * PATIENCE, "the device's menu is gone, the menu itself is not")
        self.plug_only()
        self.wait_settled()
        self.desktop.keys("Escape")
        wait_for(lambda: not self.menus(), 20 * PATIENCE, "no menu")
        self.plug_only(self.second)
        self.wait_settled()
        self.assertEqual(self.quillbox.terminate(), 0)

    def test_a_slow_device_arrives_under_an_open_submenu(self):
        """Its arrival takes seconds: what is looked for once a second meets it half made."""
        self.run_with(self.first)
        self.open_submenu()
        self.simulator.ctl("latency", 250, "--device", self.second)
        self.plug_only(self.first, self.second)
        self.wait_settled()
        self.simulator.ctl("latency", 0, "--device", self.second)
        self.assertEqual(len(self.menus()), 2)
        self.assertEqual(self.quillbox.terminate(), 0)

    def test_eight_devices_come_and_go_while_windows_are_open(self):
        self.run_with(self.first)
        self.show_windows()
        for wanted in (self.first, *self.others), self.simulator.udids:
            self.plug_only(*wanted)
            self.wait_settled()
            for title in (INFORMATION, MORE):
                self.assertEqual(len(self.desktop.windows(title)), 1, "who comes disturbs nobody")
        # The windows of a device go with it, the others stay.
        self.plug_only(self.second, *self.others)
        self.desktop.wait_no_window(INFORMATION)
        self.desktop.wait_no_window(MORE)
        self.wait_settled()
        for title in (ABOUT, PREFERENCES, WELCOME):
            self.assertEqual(len(self.desktop.windows(title)), 1)
        self.quillbox.choose(SECOND, "Device Info")
        self.desktop.wait_window(INFORMATION)
        self.plug_only()
        self.desktop.wait_no_window(INFORMATION)
        self.wait_settled()
        self.assertEqual(self.quillbox.terminate(), 0)


if __name__ == "__main__":
    unittest.main()
