# SPDX-License-Identifier: GPL-3.0-or-later
"""A root that cannot be opened is told where the user looks, with the way back, until another one is open."""

import unittest

from scene import PATIENCE, PanelTest, wait_for

PHONE = "Blue Phone"
ROOTS = (PHONE, "Change Connection Root")


class FailedRoot(PanelTest):
    def test_the_tool_tip_says_so_until_another_root_is_open(self):
        self.start("--devices", "1", "--no-afc2", "--sample")
        self.quillbox.wait_mounted("Blue Phone (Media)")
        plain = self.quillbox.item_property("IconPixmap")
        self.simulator.ctl("uninstall", self.simulator.udids[0], "org.example.sketches")
        self.quillbox.choose(*ROOTS, "Sketches")
        wait_for(lambda: self.quillbox.tool_tip() == "Blue Phone: the root Sketches could not be opened: choose a "
                 "connection root again", 20 * PATIENCE, "the tool tip says what to do")
        self.assertNotEqual(self.quillbox.item_property("IconPixmap"), plain)
        self.quillbox.choose(*ROOTS, "Ledger")
        self.quillbox.wait_mounted("Blue Phone (Ledger)")
        wait_for(lambda: self.quillbox.tool_tip() == "", 20 * PATIENCE, "nothing to say")

    def test_nothing_is_told_of_a_volume_that_was_taken_away(self):
        self.start("--devices", "1", "--no-afc2", "--sample")
        self.quillbox.wait_mounted("Blue Phone (Media)")
        self.simulator.ctl("uninstall", self.simulator.udids[0], "org.example.sketches")
        self.quillbox.choose(*ROOTS, "Sketches")
        wait_for(lambda: "could not be opened" in self.quillbox.tool_tip(), 20 * PATIENCE, "the tool tip says so")
        self.quillbox.choose(PHONE, "Unmount Device")
        wait_for(lambda: self.quillbox.tool_tip() == "", 20 * PATIENCE, "nothing to say")


if __name__ == "__main__":
    unittest.main()
