# SPDX-License-Identifier: GPL-3.0-or-later
"""Volumes among the places of KDE's side bars: they come and go, and nothing else in that file changes."""

import os
import signal
import unittest
import urllib.parse
import xml.etree.ElementTree

from scene import PATIENCE, DesktopTest, wait_for

NAME = 'A & "B" <b>c</b> ä%20'
VOLUME = 'A & "B" <b>c<:b> ä%20 (Media)'
OTHERS = """<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE xbel>
<xbel xmlns:bookmark="http://www.freedesktop.org/standards/desktop-bookmarks" version="1.0">
 <info><metadata owner="http://www.kde.org"><kde_places_version>4</kde_places_version></metadata></info>
 <bookmark href="file:///home/somebody">
  <title>Größe &amp; 🎉</title>\r
  <info><metadata owner="http://www.kde.org"><ID>1/0</ID></metadata></info>
 </bookmark>
 <!-- a remark -->
</xbel>
"""
STALE = """<bookmark href="file:///nowhere/Old%20Phone"><title>Old Phone</title><info><metadata owner="org.quillbox.Quillbox"/></info></bookmark>"""


class Places(DesktopTest):
    def setUp(self):
        super().setUp()
        self.file = os.path.join(self.desktop.home, "data", "user-places.xbel")
        self.simulator = self.start_simulator("--devices", "1", "--no-afc2", "--name", NAME)

    def write(self, text):
        with open(self.file, "w", encoding="utf-8", newline="") as file:
            file.write(text)

    def text(self):
        with open(self.file, encoding="utf-8", newline="") as file:
            return file.read()

    def bookmarks(self):
        """Address and title of each."""
        return [(each.get("href"), each.findtext("title"))
                for each in xml.etree.ElementTree.fromstring(self.text()).iter("bookmark")]

    def own(self):
        return self.bookmarks()[1:]

    def start(self):
        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_mounted(VOLUME)

    def test_a_volume_comes_and_goes_and_the_rest_stays_letter_by_letter(self):
        self.write(OTHERS.replace("</xbel>", STALE + "</xbel>"))
        self.start()
        address = "file://" + urllib.parse.quote(self.quillbox.volume(VOLUME))
        wait_for(lambda: len(self.own()) == 1 and self.own()[0][1] == VOLUME, 20 * PATIENCE, "the volume is a place")
        self.assertEqual(urllib.parse.unquote(self.own()[0][0]), urllib.parse.unquote(address))
        self.simulator.ctl("detach", "all")
        wait_for(lambda: self.text() == OTHERS, 20 * PATIENCE, "the file is as it was")
        self.simulator.ctl("attach", "all")
        wait_for(lambda: len(self.own()) == 1, 20 * PATIENCE, "it is a place again")
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(self.text(), OTHERS)

    def test_what_a_kill_leaves_goes_at_the_next_start(self):
        self.write(OTHERS)
        self.start()
        wait_for(lambda: len(self.own()) == 1, 20 * PATIENCE, "the volume is a place")
        self.simulator.ctl("detach", "all")
        self.simulator.ctl("attach", "all")
        self.quillbox.wait_mounted(VOLUME)
        wait_for(lambda: len(self.own()) == 1, 20 * PATIENCE, "it is a place again")
        self.quillbox.process.send_signal(signal.SIGKILL)
        self.quillbox.process.wait()
        self.assertEqual(len(self.own()), 1)
        self.simulator.ctl("detach", "all")
        again = self.start_on_screen(self.simulator)
        again.wait_log("is running")
        wait_for(lambda: self.text() == OTHERS, 20 * PATIENCE, "the file is as it was")

    def test_a_file_that_is_damaged_or_missing_stays_so(self):
        for damaged in (OTHERS[:-20], "<other/>\n", "", None):
            with self.subTest(text=damaged):
                if damaged is None:
                    os.remove(self.file)
                else:
                    self.write(damaged)
                self.start()
                self.assertEqual(self.quillbox.terminate(), 0)
                self.quillbox.end()
                if damaged is None:
                    self.assertFalse(os.path.exists(self.file))
                else:
                    self.assertEqual(self.text(), damaged)


if __name__ == "__main__":
    unittest.main()
