# SPDX-License-Identifier: GPL-3.0-or-later
"""The windows, by keyboard alone: every preference is kept, every window shows what it should, and nothing that is
open stands in the way of a volume."""

import os
import re
import unittest
import urllib.parse

from scene import DEFAULTS, PATIENCE, PanelTest, is_mounted, wait_for

PHONE = "Blue Phone"
VOLUME = "Blue Phone (Media)"
PREFERENCES = "Quillbox preferences"
WELCOME = "Welcome to Quillbox"
INFORMATION = "Device information"
MORE = "More info"


class Windows(PanelTest):
    def open(self, title, *way):
        self.quillbox.choose(*way)
        return self.desktop.focus(title)

    def close(self, title):
        self.desktop.focus(title)
        self.desktop.keys("Escape")
        self.desktop.wait_no_window(title)

    def copied(self, key, *words):
        """What the key puts on the clipboard, once it holds all these words."""
        def text():
            self.desktop.keys(key)
            found = self.desktop.tool("xclip", "-selection", "clipboard", "-o", check=False)
            return all(word in found for word in words) and found
        return wait_for(text, 20 * PATIENCE, f"a copy with {words}")

    def test_the_first_run_shows_the_welcome_window_and_writes_the_defaults(self):
        self.start(welcome=True)
        self.desktop.focus(WELCOME)
        written = {key: value for key, value in self.quillbox.settings().items() if not isinstance(value, dict)}
        self.assertEqual(written, DEFAULTS)  # beside it stands what is known of devices
        self.desktop.screenshot("welcome", self.desktop.wait_window(WELCOME))
        self.desktop.keys("alt+s")
        self.quillbox.wait_setting("showWelcomeScreenOnStart", False)
        self.desktop.keys("Return")  # Hide & Continue
        self.desktop.wait_no_window(WELCOME)
        self.assertEqual(self.quillbox.terminate(), 0)
        again = self.start_on_screen(self.simulator, welcome=True)
        again.wait_notifier()
        again.wait_mounted(VOLUME)
        self.assertEqual(self.desktop.windows(WELCOME), [])
        again.choose("Welcome…")
        self.desktop.focus(WELCOME)
        self.desktop.keys("alt+r")  # Reset all settings
        wait_for(lambda: again.settings() == {}, 20 * PATIENCE, "no setting is left")
        self.desktop.keys("alt+p")
        self.desktop.wait_window(PREFERENCES)

    def test_every_preference_is_written_at_once_and_kept(self):
        self.start()
        window = self.open(PREFERENCES, "Preferences…")
        self.desktop.screenshot("preferences", window)
        for key, setting, value in (
                ("alt+o", "openQuillboxOnStart", True), ("alt+f", "allowsAFC2Access", False),
                ("alt+b", "isMountLastPoint", False), ("alt+s", "isShowAppIconWhenMounted", False),
                ("alt+l", "isOnlyShowFileSharingApp", True), ("alt+a", "isLoadAppsIconBeforeStart", True),
                ("alt+g", "changeNameOnCopyImages2DCIM", True), ("alt+n", "isUseCustomizeMountName", True)):
            with self.subTest(setting=setting):
                self.desktop.keys(key)
                self.quillbox.wait_setting(setting, value)
        entries = os.path.join(self.folder, "home", ".config", "autostart")
        self.assertEqual(len(os.listdir(entries)), 1)
        # The name is kept when its window closes.
        self.desktop.keys("Tab", "ctrl+a")
        self.desktop.tool("xdotool", "type", "--delay", "20", "My & Phone_1")
        self.desktop.keys("alt+t", "Down")
        self.quillbox.wait_setting("appMountPath", 1)
        self.desktop.keys("alt+m")
        self.quillbox.wait_setting("setting_mountDiskMode", 1)
        # The alert is a sheet of the window and stops nothing else.
        self.quillbox.wait_log("Mount disk mode was changed.")
        self.simulator.ctl("detach", self.simulator.udids[0])
        self.quillbox.wait_gone(VOLUME, 10 * PATIENCE)
        self.desktop.focus("Quillbox")
        self.desktop.screenshot("alert")
        self.desktop.keys("Return")
        self.desktop.wait_no_window("Quillbox")
        self.close(PREFERENCES)
        self.quillbox.wait_setting("customizeMountName", "My & Phone_1")
        kept = self.quillbox.settings()
        self.assertEqual(self.quillbox.terminate(), 0)

        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_notifier()
        self.open(PREFERENCES, "Preferences…")
        self.desktop.screenshot("preferences-changed", self.desktop.wait_window(PREFERENCES))
        self.assertEqual(self.quillbox.settings(), kept)
        # The two boxes exclude each other on the screen as well: one click switches the whole file system on.
        self.desktop.keys("alt+f")
        self.quillbox.wait_setting("allowsAFC2Access", True)
        self.quillbox.wait_setting("changeNameOnCopyImages2DCIM", False)
        self.desktop.keys("alt+g")
        self.quillbox.wait_setting("changeNameOnCopyImages2DCIM", True)
        self.quillbox.wait_setting("allowsAFC2Access", False)
        self.desktop.keys("alt+r")
        self.quillbox.wait_setting("customizeMountName", "Quillbox")
        after = {key: value for key, value in self.quillbox.settings().items() if key in DEFAULTS}
        self.assertEqual(after, dict(DEFAULTS))
        self.assertEqual(os.listdir(entries), [])

    def test_the_information_window_shows_one_device_after_another(self):
        self.start()
        pad = "00008101-000A11223344001E"
        self.simulator.ctl("add-device", pad, "--name", "White Pad", "--class", "iPad", "--type", "iPad13,1", "--no-afc2")
        wait_for(lambda: self.quillbox.item(PHONE, "Device Info") and self.quillbox.item("White Pad", "Device Info"),
                 20 * PATIENCE, "two devices")
        window = self.open(INFORMATION, PHONE, "Device Info")
        self.desktop.screenshot("device", window)
        self.copied("alt+c", PHONE, self.simulator.udids[0])
        self.quillbox.choose("White Pad", "Device Info")
        # A value that this one does not have.
        self.copied("alt+c", "White Pad", pad, "Not available")
        self.assertEqual(len(self.desktop.windows(INFORMATION)), 1)
        self.desktop.screenshot("device-pad", window)
        self.desktop.keys("alt+m")
        sheet = self.desktop.focus(MORE)
        self.desktop.screenshot("more", sheet)
        everything = self.copied("alt+a", "Not available", "Wi-Fi address")
        self.assertEqual(len(everything.strip().splitlines()), 26)
        self.close(MORE)
        self.assertTrue(self.desktop.windows(INFORMATION))
        # The window goes with its device.
        self.simulator.ctl("detach", pad)
        self.desktop.wait_no_window(INFORMATION)

    def bars(self, window):
        """The lengths of the filled parts of the level bars, from the top down, in pixels."""
        picture = os.path.join(self.folder, "bars.ppm")
        self.desktop.tool("import", "-silent", "-window", window, "-depth", "8", picture)
        with open(picture, "rb") as file:
            _, size, _ = (file.readline() for _ in range(3))
            width = int(size.split()[0])
            pixels = file.read()
        lines = [pixels[at:at + 3 * width] for at in range(0, len(pixels), 3 * width)]
        filled = [sum(blue > red + 80 for red, blue in zip(line[::3], line[2::3])) for line in lines]
        rows = [row for row, length in enumerate(filled) if length > 90]
        tops = [row for row in rows if row - 1 not in rows]
        return [max(filled[row] for row in rows if top <= row < top + 20) for top in tops]

    def test_the_level_bars_show_the_device_and_the_computer(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        window = self.open(INFORMATION, "Blue Phone", "Device Info")
        lengths = wait_for(lambda: len(self.bars(window)) == 2 and self.bars(window), 20 * PATIENCE, "two bars")
        device = os.statvfs(self.quillbox.volume(VOLUME))
        computer = os.statvfs("/")
        parts = [1 - each.f_bavail / each.f_blocks for each in (device, computer)]
        self.assertAlmostEqual(lengths[0] / lengths[1], parts[0] / parts[1], delta=0.05)

    def test_eight_devices_come_and_go_with_every_window_open(self):
        self.start("--devices", "8", "--no-afc2")
        wait_for(lambda: all(self.quillbox.item(name, "Device Info") for name in self.quillbox.titles()[3:11]),
                 30 * PATIENCE, "eight devices")
        self.open(PREFERENCES, "Preferences…")
        self.quillbox.choose("About Quillbox")
        self.open(INFORMATION, PHONE, "Device Info")
        self.desktop.keys("alt+m")
        self.desktop.wait_window(MORE)
        for udid in self.simulator.udids:
            self.simulator.ctl("detach", udid)
        wait_for(lambda: os.listdir(self.quillbox.volumes) == [], 30 * PATIENCE, "all volumes are gone")
        self.desktop.wait_no_window(INFORMATION)
        self.desktop.wait_no_window(MORE)
        for udid in self.simulator.udids:
            self.simulator.ctl("attach", udid)
        wait_for(lambda: sum(is_mounted(self.quillbox.volume(name)) for name in os.listdir(self.quillbox.volumes)) == 8,
                 30 * PATIENCE, "eight volumes again")
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])

    def make_file_manager(self):
        """Makes a program the desktop's handler for folders; answers what tells all that it is asked to open."""
        asked = self.desktop.make_handler("manager", "inode/directory")
        return lambda: urllib.parse.unquote("\n".join(asked()))

    def test_reveal_opens_the_folder_in_the_desktops_file_manager(self):
        opened = self.make_file_manager()
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        wait_for(lambda: self.quillbox.item(PHONE, "Reveal In Finder")["enabled"], 20 * PATIENCE, "it can be revealed")
        self.quillbox.choose(PHONE, "Reveal In Finder")
        wait_for(lambda: self.quillbox.volume(VOLUME) in opened(), 20 * PATIENCE,
                 "the file manager is asked for the volume")

    def test_a_report_of_a_crash_is_told_once_and_shown(self):
        opened = self.make_file_manager()
        reports = os.path.join(self.folder, "home", ".state", "quillbox", "crashes")
        os.makedirs(reports)
        with open(os.path.join(reports, "20260101-000000-1.crash"), "w") as report:
            report.write("Quillbox\n")
        self.start()
        self.desktop.focus("Quillbox")
        self.desktop.screenshot("crash")
        self.desktop.keys("Tab", "Return")  # the second button shows the folder
        wait_for(lambda: reports in opened(), 20 * PATIENCE, "the folder is shown")
        self.assertEqual(self.quillbox.terminate(), 0)
        again = self.start_on_screen(self.simulator)
        again.wait_notifier()
        again.wait_mounted(VOLUME)
        self.assertEqual(self.desktop.windows("Quillbox"), [])

    def test_a_failed_mount_is_an_alert_and_another_device_is_mounted_all_the_same(self):
        self.simulator = self.start_simulator("--devices", "3", "--no-afc2")
        blocked = os.path.join(self.folder, "Volumes")
        first, second, third = self.simulator.udids
        self.simulator.ctl("detach", "all")
        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_notifier()
        os.rmdir(blocked)
        with open(blocked, "w"):  # no folder: nothing can be mounted
            pass
        self.simulator.ctl("attach", first)
        self.desktop.wait_window("Quillbox")
        self.simulator.ctl("attach", third)
        # Every device hears of every failure.
        wait_for(lambda: self.quillbox.log_text().count("Alert: Mount Failed") == 3, 20 * PATIENCE, "both failures")
        self.assertEqual(len(self.desktop.windows("Quillbox")), 1)  # the next alert waits for this one to end
        self.desktop.screenshot("mount-failed")
        os.remove(blocked)
        os.mkdir(blocked)
        self.simulator.ctl("attach", second)
        self.quillbox.wait_mounted("Red Phone (Media)")
        for left in (2, 1, 0):
            with self.subTest(left=left):
                shown = self.desktop.focus("Quillbox")
                self.desktop.keys("Return")
                wait_for(lambda known=shown: self.desktop.windows("Quillbox") != [known], 20 * PATIENCE, "its end")
        self.desktop.wait_no_window("Quillbox")


class OnAnotherScreen(Windows):
    """The windows as they are elsewhere, for the eye: they open and fit."""

    def setUp(self):
        pass  # each test has a screen of its own

    def check(self, mark, scale, dark):
        self.SCALE, self.DARK = scale, dark
        super().setUp()
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        for way, title, name in ((("Preferences…",), PREFERENCES, "preferences"), (("Welcome…",), WELCOME, "welcome"),
                                 (("About Quillbox",), "About Quillbox", "about"),
                                 ((PHONE, "Device Info"), INFORMATION, "device")):
            window = self.open(title, *way)
            size = self.desktop.geometry(window)
            self.assertLessEqual(size["WIDTH"], scale * 1024)
            self.assertLessEqual(size["HEIGHT"], scale * 736)
            self.desktop.screenshot(name + mark, window)
            self.close(title)

    def test_a_dense_screen(self):
        self.check("@2x", 2, False)

    def test_dark_colours(self):
        self.check("-dark", 1, True)


def load_tests(loader, _tests, _pattern):
    """The other screens have tests of their own and none of the first's."""
    suite = unittest.TestSuite()
    suite.addTests(loader.loadTestsFromTestCase(Windows))
    for name in ("test_a_dense_screen", "test_dark_colours"):
        suite.addTest(OnAnotherScreen(name))
    return suite


if __name__ == "__main__":
    unittest.main()
