# SPDX-License-Identifier: GPL-3.0-or-later
"""Names that look like markup, like mnemonics or like the program's own words are shown letter by letter."""

import os
import unittest

from scene import PATIENCE, DesktopTest, PanelTest, wait_for

NAME = 'A & "B" <b>c</b> _d'
VOLUME = 'A & "B" <b>c<:b> _d (Media)'
INFORMATION = "Device information"
DEVICE = ("--devices", "1", "--no-afc2", "--name", NAME)


class OddNamesInAPanel(PanelTest):
    def test_a_name_that_looks_like_markup(self):
        self.start(*DEVICE)
        self.quillbox.wait_mounted(VOLUME)
        self.assertIn(NAME, self.quillbox.titles())
        self.quillbox.choose(NAME, "Device Info")
        window = self.desktop.focus(INFORMATION)

        def copied():
            self.desktop.keys("alt+c")
            return NAME in self.desktop.tool("xclip", "-selection", "clipboard", "-o", check=False)
        wait_for(copied, 20 * PATIENCE, "the name as it stands")
        self.desktop.screenshot("odd-name", window)


class OddNamesInATray(DesktopTest):
    def test_its_menu_and_an_alert_open(self):
        self.desktop.start_tint2()
        simulator = self.start_simulator(*DEVICE)
        quillbox = self.start_on_screen(simulator)
        quillbox.wait_mounted(VOLUME)
        quillbox.wait_log("shown in the tray")

        def windows():
            found = self.desktop.tool("xdotool", "search", "--onlyvisible", "--class", "quillbox", check=False).split()
            return [(each, self.desktop.geometry(each)) for each in found]

        def icon():
            return next((place for _, place in windows() if place["WIDTH"] <= 60), None)

        def opened():
            if not any(place["WIDTH"] > 60 for _, place in windows()):
                self.desktop.click(place["X"] + 8, place["Y"] + 8, button=3)
            return any(place["WIDTH"] > 60 for _, place in windows())

        place = wait_for(icon, 20 * PATIENCE, "an icon in the tray")
        wait_for(opened, 20 * PATIENCE, "the menu")
        self.desktop.screenshot("odd-menu")
        self.desktop.keys("Escape")
        simulator.ctl("detach", simulator.udids[0])
        quillbox.wait_gone(VOLUME, 10 * PATIENCE)
        os.rmdir(quillbox.volumes)
        with open(quillbox.volumes, "w"):  # no folder: nothing can be mounted
            pass
        simulator.ctl("attach", simulator.udids[0])
        self.desktop.focus("Quillbox")
        self.desktop.screenshot("odd-alert")
        self.desktop.keys("Return")
        self.desktop.wait_no_window("Quillbox")


if __name__ == "__main__":
    unittest.main()
