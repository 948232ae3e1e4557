# SPDX-License-Identifier: GPL-3.0-or-later
"""The status item in each kind of tray, and without one: its menu follows what happens and does what it says."""

import json
import os
import signal
import unittest

from scene import PATIENCE, WATCHER, DesktopTest, InTray, PanelTest, PointerTest, is_mounted, wait_for

FIXED = ["About Quillbox", "Preferences…", "-"]
BEHIND = ["-", "Welcome…", "Help", "Quit"]
PHONE = "Blue Phone"
VOLUME = "Blue Phone (Media)"
NOBODY = "No iPhones Connected..."


class ThroughAPanel(PanelTest):
    """A panel that shows status notifier items, and the menu as that panel asks for it."""

    def wait_titles(self, *devices):
        wait_for(lambda: self.quillbox.titles() == FIXED + list(devices) + BEHIND, 20 * PATIENCE,
                 f"the menu shows {devices}")

    def enabled(self, *labels):
        item = self.quillbox.item(PHONE, *labels)
        return bool(item and item["enabled"])

    def test_the_menu_unmounts_mounts_and_switches_roots(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        self.wait_titles(PHONE)
        wait_for(lambda: self.enabled("Unmount Device") and self.enabled("Reveal In Finder") and
                 not self.enabled("Mount Device"), 20 * PATIENCE, "a mounted device's items")
        self.assertTrue(self.quillbox.item(PHONE, "Media")["mark"])
        self.assertFalse(self.enabled("Current Connection Root:"))
        self.desktop.screenshot("panel")

        self.quillbox.choose(PHONE, "Unmount Device")
        self.quillbox.wait_gone(VOLUME, 10 * PATIENCE)
        wait_for(lambda: self.enabled("Mount Device") and not self.enabled("Unmount Device"), 20 * PATIENCE,
                 "an unmounted device's items")
        self.quillbox.choose(PHONE, "Mount Device")
        self.quillbox.wait_mounted(VOLUME)

        roots = [each["label"] for each in self.quillbox.item(PHONE, "Change Connection Root")["children"]]
        self.assertEqual(roots[-2:], ["", "Media"])
        application = roots[0]
        self.quillbox.choose(PHONE, "Change Connection Root", application)
        wait_for(lambda: any(application in name and is_mounted(self.quillbox.volume(name))
                             for name in os.listdir(self.quillbox.volumes)), 20 * PATIENCE,
                 "the application's volume")
        wait_for(lambda: self.quillbox.item(PHONE, "Change Connection Root", application)["mark"] and
                 not self.quillbox.item(PHONE, "Change Connection Root", "Media")["mark"], 20 * PATIENCE,
                 "the mark moves")
        self.assertTrue(self.quillbox.item(PHONE, application)["mark"])

        self.quillbox.choose("Quit")
        self.assertEqual(self.quillbox.process.wait(20 * PATIENCE), 0)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])

    def test_devices_come_and_go_in_the_menu(self):
        self.start("--devices", "2", "--no-afc2")
        first, second = self.simulator.udids
        wait_for(lambda: len(self.quillbox.titles()) == len(FIXED + BEHIND) + 2, 20 * PATIENCE, "two devices")
        self.simulator.ctl("detach", second)
        self.wait_titles(PHONE)
        self.simulator.ctl("attach", second)
        self.wait_titles("Red Phone", PHONE)  # the last one comes first
        self.simulator.ctl("detach", first)
        self.simulator.ctl("detach", second)
        wait_for(lambda: self.quillbox.titles() == FIXED + BEHIND or NOBODY in self.quillbox.titles(),
                 20 * PATIENCE, "no device")

    def test_every_window_opens_from_the_menu(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        for way, title in ((("About Quillbox",), "About Quillbox"), (("Preferences…",), "Quillbox preferences"),
                           (("Welcome…",), "Welcome to Quillbox"), ((PHONE, "Device Info"), "Device information")):
            self.quillbox.choose(*way)
            self.desktop.wait_window(title)
            self.desktop.focus(title)
            self.desktop.keys("Escape")
            self.desktop.wait_no_window(title)
        self.assertTrue(is_mounted(self.quillbox.volume(VOLUME)))

    def test_a_device_that_waits_for_its_user_is_in_the_tool_tip_only(self):
        self.simulator = self.start_simulator()
        udid = self.simulator.udids[0]
        self.simulator.ctl("detach", udid)
        self.simulator.ctl("distrust", udid, "--forget-record")
        self.simulator.ctl("pending", udid)
        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_notifier()
        plain = self.quillbox.item_property("IconPixmap")
        # What is sent to the desktop's notifications, whoever shows them.
        self.desktop.start("dbus-monitor", ["dbus-monitor", "--session",
                                            "interface='org.freedesktop.Notifications',member='Notify'"])
        self.simulator.ctl("attach", udid)
        wait_for(lambda: "tap Trust" in self.quillbox.tool_tip(), 20 * PATIENCE, "the tool tip says what to do")
        self.assertNotEqual(self.quillbox.item_property("IconPixmap"), plain)
        self.wait_titles(NOBODY)
        wait_for(lambda: "tap Trust" in self.desktop.log_of("dbus-monitor"), 20 * PATIENCE, "a notification")
        self.simulator.ctl("trust", udid)
        self.quillbox.wait_mounted(VOLUME)
        wait_for(lambda: self.quillbox.tool_tip() == "", 20 * PATIENCE, "nothing to say")
        self.assertEqual(self.desktop.log_of("dbus-monitor").count("member=Notify"), 1)

    def test_a_panel_that_comes_again_gets_the_item(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        self.desktop.stop("lxqt-panel")
        wait_for(lambda: not self.desktop.has_name(WATCHER), 20 * PATIENCE, "no panel")
        self.desktop.start_lxqt_panel()
        wait_for(lambda: self.desktop.has_name(WATCHER), 20 * PATIENCE, "a new panel")
        self.quillbox.wait_notifier()
        self.wait_titles(PHONE)

    def test_quitting_ends_a_wait_for_a_device_that_does_not_answer(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        self.simulator.ctl("stall", self.simulator.udids[0])
        self.quillbox.choose(PHONE, "Device Info")
        wait_for(lambda: "Waiting: " in self.quillbox.tool_tip(), 20 * PATIENCE, "the tool tip says what for")
        # What is chosen meanwhile waits its turn; the menu goes on to be shown.
        self.quillbox.choose("About Quillbox")
        self.assertIn(PHONE, self.quillbox.titles())
        self.assertEqual(self.desktop.windows("About Quillbox"), [])
        self.quillbox.choose("Quit")
        self.assertEqual(self.quillbox.process.wait(15 * PATIENCE), 0)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])

    def test_a_volume_that_is_written_to_says_so(self):
        self.start()
        volume = self.quillbox.wait_mounted(VOLUME)
        wait_for(lambda: self.enabled("Unmount Device"), 20 * PATIENCE, "a mounted device's item")
        with open(os.path.join(volume, "being written"), "wb", buffering=0) as file:
            file.write(b"x" * 1000)
            wait_for(lambda: self.enabled("Unmount Device (still writing)"), 20 * PATIENCE, "it is written to")
            self.assertIn("still being written", self.quillbox.tool_tip())
        wait_for(lambda: self.enabled("Unmount Device"), 20 * PATIENCE, "it is written")
        wait_for(lambda: self.quillbox.tool_tip() == "", 20 * PATIENCE, "nothing to say")

    def test_a_second_start_shows_a_window_of_the_first(self):
        self.start()
        self.assertEqual(self.desktop.windows("Welcome to Quillbox"), [])
        second = self.start_on_screen(self.simulator)
        self.assertEqual(second.process.wait(20 * PATIENCE), 0)
        self.desktop.wait_window("Welcome to Quillbox")

    def test_a_menu_that_asks_for_what_is_not_there_gets_an_error(self):
        import dbus
        self.start()
        for arguments in (("GetLayout", "iias", 99999, -1, dbus.Array([], "s")),
                          ("Event", "isvu", 99999, "clicked", dbus.Int32(0), 0),
                          ("GetProperty", "is", 99999, "label"), ("Nonsense", "s", "x")):
            with self.assertRaises(dbus.DBusException):
                self.desktop.call(self.quillbox.service, "/MenuBar", "com.canonical.dbusmenu", *arguments)
        self.assertEqual(self.quillbox.titles()[:2], FIXED[:2])


class InTheXServersTray(PointerTest):
    """A tray of the X server, used with pointer and keyboard."""

    PROGRAM = InTray

    def start_in_the_tray(self):
        self.desktop.start_tint2()
        simulator = self.start_simulator()
        quillbox = self.start_on_screen(simulator)
        quillbox.wait_mounted(VOLUME)
        quillbox.wait_log("shown in the tray")
        # The kernel knows of a volume before its device's items do, and keys pass disabled items over.
        wait_for(lambda: quillbox.item(PHONE, "Unmount Device")["enabled"], 20 * PATIENCE, "a mounted device's items")
        return simulator, quillbox

    def test_the_menu_opens_at_the_icon_and_is_used_by_keyboard(self):
        _, quillbox = self.start_in_the_tray()
        self.open_submenu()
        self.desktop.screenshot("menu")
        # Reveal In Finder, Change Connection Root, Unmount Device.
        self.desktop.keys("Down", "Down", "Return")
        quillbox.wait_gone(VOLUME, 20 * PATIENCE)
        self.open_menu()
        self.desktop.keys("Up", "Return")
        self.assertEqual(quillbox.process.wait(20 * PATIENCE), 0)

    def test_a_root_is_switched_by_keyboard(self):
        _, quillbox = self.start_in_the_tray()
        roots = json.loads(quillbox.verb("root", "Blue Phone", "--json").stdout)
        self.open_submenu()
        self.desktop.keys("Down", "Right")
        wait_for(lambda: len(self.menus()) == 3, 20 * PATIENCE, "the roots")
        self.desktop.screenshot("roots")
        self.desktop.keys("Up", "Return")  # the last one
        quillbox.wait_mounted(f"Blue Phone ({roots[-1]['root']})")
        self.assertEqual(quillbox.terminate(), 0)

    def test_a_device_leaves_while_its_menu_is_open(self):
        simulator, quillbox = self.start_in_the_tray()
        self.open_submenu()
        simulator.ctl("detach", simulator.udids[0])
        quillbox.wait_gone(VOLUME, 10 * PATIENCE)
        wait_for(lambda: len(self.menus()) == 1, 20 * PATIENCE, "the device's menu is gone")
        simulator.ctl("attach", simulator.udids[0])
        quillbox.wait_mounted(VOLUME)
        self.desktop.keys("Escape")
        self.assertEqual(quillbox.terminate(), 0)

    def test_a_tray_that_comes_later_gets_the_icon_in_place_of_the_window(self):
        simulator = self.start_simulator()
        quillbox = self.start_on_screen(simulator)
        quillbox.wait_mounted(VOLUME)
        self.desktop.wait_window("Quillbox")
        self.desktop.screenshot("menu-window")
        self.desktop.start_tint2()
        self.desktop.wait_no_window("Quillbox")
        self.icon()
        self.desktop.stop("tint2")
        self.desktop.wait_window("Quillbox")
        # The window is used by keyboard too: the last entry is Quit.
        self.desktop.focus("Quillbox")
        self.desktop.keys("shift+Tab", "space")
        self.assertEqual(quillbox.process.wait(20 * PATIENCE), 0)

    def test_killed_with_its_menu_open_it_starts_clean_again(self):
        simulator, quillbox = self.start_in_the_tray()
        self.open_menu()
        quillbox.process.send_signal(signal.SIGKILL)
        quillbox.process.wait()
        again = self.start_on_screen(simulator)
        again.wait_mounted(VOLUME)
        self.assertEqual(os.listdir(again.volumes), [VOLUME])
        self.assertEqual(again.terminate(), 0)
        self.assertEqual(os.listdir(again.volumes), [])


class TheDisplayEnds(DesktopTest):
    def test_volumes_are_unmounted(self):
        simulator = self.start_simulator()
        quillbox = self.start_on_screen(simulator)
        quillbox.wait_mounted(VOLUME)
        self.desktop.stop("openbox")
        self.desktop.stop("Xvfb")
        self.assertEqual(quillbox.process.wait(20 * PATIENCE), 0)
        self.assertEqual(os.listdir(quillbox.volumes), [])


class WithoutADisplay(DesktopTest):
    def test_it_says_so_and_ends_with_1(self):
        simulator = self.start_simulator()
        for display in ("", ":77777"):
            self.desktop.environment["DISPLAY"] = display
            quillbox = self.start_on_screen(simulator)
            self.running.remove(quillbox)
            self.assertEqual(quillbox.process.wait(20 * PATIENCE), 1)
            self.assertIn("or with --headless", quillbox.log_text())
            quillbox.end()


if __name__ == "__main__":
    unittest.main()
