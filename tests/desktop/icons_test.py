# SPDX-License-Identifier: GPL-3.0-or-later
"""The status item's picture: by its name where the desktop's theme has it, else by its pixels; and one id for all."""

import os
import shutil
import unittest

from scene import PATIENCE, PanelTest, wait_for

ID = "org.quillbox.Quillbox"
VOLUME = "Blue Phone (Media)"
HICOLOR = "/usr/share/icons/hicolor/index.theme"
MAGENTA = "#FF00FF"
BLUE = "#3584E4"  # of the program's own picture


class StatusPicture(PanelTest):
    def panel_shows(self, colour):
        picture = self.desktop.tool("sh", "-c", "import -silent -window root ppm:- | convert ppm:- -crop 1024x32+0+736 "
                                                "+repage -depth 8 -format %c histogram:info:-")
        return colour in picture.upper()

    def add_to_theme(self, name):
        folder = os.path.join(self.desktop.home, "data", "icons", "hicolor")
        os.makedirs(os.path.join(folder, "22x22", "apps"))
        shutil.copy(HICOLOR, folder)
        self.desktop.tool("convert", "-size", "22x22", "xc:" + MAGENTA, os.path.join(folder, "22x22", "apps", name + ".png"))

    def test_a_theme_without_it_gets_the_pixels(self):
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        self.assertEqual(str(self.quillbox.item_property("Id")), ID)
        wait_for(lambda: self.panel_shows(BLUE), 20 * PATIENCE, "the program's picture")
        self.assertEqual(str(self.quillbox.item_property("IconName")), "")
        self.desktop.screenshot("panel-pixels")

    def test_a_theme_that_has_it_is_told_its_name(self):
        self.add_to_theme(ID + "-on")
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        wait_for(lambda: str(self.quillbox.item_property("IconName")) == ID + "-on", 20 * PATIENCE, "the name")
        wait_for(lambda: self.panel_shows(MAGENTA), 20 * PATIENCE, "the theme's picture")
        self.desktop.screenshot("panel-theme")
        # This theme has no picture of the other state.
        self.simulator.ctl("detach", "all")
        wait_for(lambda: str(self.quillbox.item_property("IconName")) == "", 20 * PATIENCE, "no name")
        wait_for(lambda: not self.panel_shows(MAGENTA), 20 * PATIENCE, "another picture")


if __name__ == "__main__":
    unittest.main()
