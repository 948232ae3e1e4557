# SPDX-License-Identifier: GPL-3.0-or-later
"""The windows without a pointer and without sight: the tabulator reaches every control in the order in which one reads,
and a screen reader has a name for each."""

import json
import os
import sys
import unittest

from scene import PATIENCE, PanelTest, wait_for

PHONE = "Blue Phone"
VOLUME = "Blue Phone (Media)"
INFORMATION, MORE = "Device information", "More info"
WINDOWS = {"Quillbox preferences": ("Preferences…",), "Welcome to Quillbox": ("Welcome…",),
           "About Quillbox": ("About Quillbox",), INFORMATION: (PHONE, "Device Info"), MORE: ()}
READER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "accessible.py")


def takes_the_keyboard(element):
    """Whether the tabulator stops there: of buttons that exclude each other it stops at the chosen one, and texts that
    are only shown can be selected by pointer alone."""
    return element["focusable"] and element["enabled"] and element["role"] != "label" and \
        (element["role"] != "radio button" or element["checked"])


def as_read(places):
    """Line by line, and from left to right in each."""
    lines = []
    for place in sorted(places, key=lambda each: each[1] + each[3] / 2):
        middle = place[1] + place[3] / 2
        if not lines or middle > lines[-1][0] + 8:
            lines.append((middle, []))
        lines[-1][1].append(place)
    return [place for _, line in lines for place in sorted(line)]


class WithoutAPointer(PanelTest):
    def setUp(self):
        super().setUp()
        self.desktop.environment.pop("NO_AT_BRIDGE")
        self.desktop.environment.update(QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self.start()
        self.quillbox.wait_mounted(VOLUME)

    def elements(self, title):
        return json.loads(self.desktop.tool(sys.executable, "-B", READER, title))

    def in_each_window(self, check):
        """Opens one window after the other and has check(title, what a screen reader finds in it) look at it."""
        for title, way in WINDOWS.items():
            if way:
                self.quillbox.choose(*way)
            else:
                self.desktop.keys("alt+m")  # from the window of the device
            self.desktop.focus(title)
            with self.subTest(window=title):
                check(title, wait_for(lambda seen=title: self.elements(seen), 20 * PATIENCE, "the reader's window"))
            if title != INFORMATION:
                self.desktop.focus(title)
                self.desktop.keys("Escape")
                self.desktop.wait_no_window(title)

    def focused(self, title):
        return next((each["place"] for each in self.elements(title) or [] if each["focused"]), None)

    def stops(self, title, count):
        """The places of so many elements that have the keyboard one after the other, as the tabulator is pressed."""
        places = []
        for _ in range(count):
            places.append(wait_for(lambda: self.focused(title) not in [None, *places[-1:]] and self.focused(title),
                                   20 * PATIENCE, "the keyboard is elsewhere"))
            self.desktop.keys("Tab")
        return places

    def test_the_tabulator_goes_round_each_window_as_it_is_read(self):
        def check(title, found):
            expected = [each["place"] for each in found if takes_the_keyboard(each)]
            walked = self.stops(title, len(expected))
            first = walked.index(as_read(expected)[0])
            self.assertEqual(walked[first:] + walked[:first], as_read(expected))
            wait_for(lambda: self.focused(title) == walked[0], 20 * PATIENCE, "round, not into a corner")
        self.in_each_window(check)

    def test_a_screen_reader_has_a_name_for_everything(self):
        def check(_title, found):
            for each in found:
                if each["role"] not in ("filler", "frame"):
                    self.assertTrue(each["name"], each)
                # One that reads out what stands in it says by its label what that is.
                if each["role"] == "combo box":
                    self.assertTrue(each["label"], each)
                for words in (each["name"], each["description"], each["label"]):
                    self.assertNotRegex(words, r"<\w+>|&\w", each)
            named = [(each["role"], each["label"] or each["name"]) for each in found if takes_the_keyboard(each)]
            self.assertEqual(len(set(named)), len(named))
        self.in_each_window(check)


if __name__ == "__main__":
    unittest.main()
