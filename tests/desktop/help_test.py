# SPDX-License-Identifier: GPL-3.0-or-later
"""Help opens its page in the desktop's own way; and who wipes all settings meets the program as on the first day."""

import os
import unittest

from scene import DEFAULTS, PATIENCE, PanelTest, wait_for

VOLUME = "Blue Phone (Media)"
PREFERENCES = "Quillbox preferences"
WELCOME = "Welcome to Quillbox"


class Help(PanelTest):
    def wait_opened(self, opened, *expected):
        wait_for(lambda: opened() == list(expected), 20 * PATIENCE, f"{expected} is opened")

    def test_help_opens_the_address_that_is_set(self):
        browser = self.desktop.make_handler("browser", "x-scheme-handler/https")
        first, second = "https://help.example.org/a%20page?words=one+two&more=3#top", "https://example.org/"
        self.start()
        self.quillbox.wait_mounted(VOLUME)
        self.set_preference("helpAddress", first)
        self.quillbox.choose("Help")
        self.wait_opened(browser, first)
        self.set_preference("helpAddress", second)
        self.quillbox.choose("Help")
        self.wait_opened(browser, first, second)

    def set_preference(self, key, value):
        """As a user does who edits the file: the program takes it over at its next start."""
        self.assertEqual(self.quillbox.terminate(), 0)
        self.quillbox.write_settings(dict(self.quillbox.settings(), **{key: value}))
        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_notifier()

    def test_help_without_an_address_opens_what_came_with_the_program(self):
        reader = self.desktop.make_handler("reader", "text/markdown", "text/plain", "text/x-readme")
        self.start()
        self.quillbox.choose("Help")
        (readme,) = wait_for(reader, 20 * PATIENCE, "a text is opened")
        self.assertEqual(os.path.basename(readme), "README.md")
        with open(readme.removeprefix("file://"), encoding="utf-8") as text:
            self.assertIn("Quillbox", text.readline())


class Wiped(PanelTest):
    def test_after_a_full_wipe_the_next_start_is_a_first_run(self):
        self.start("--devices", "1", "--sample", "--no-afc2", welcome=True)
        self.quillbox.wait_mounted(VOLUME)
        self.desktop.focus(WELCOME)
        self.desktop.keys("alt+s")
        self.quillbox.wait_setting("showWelcomeScreenOnStart", False)
        self.quillbox.choose("Preferences…")
        self.desktop.focus(PREFERENCES)
        for key, setting, value in (("alt+f", "allowsAFC2Access", False), ("alt+l", "isOnlyShowFileSharingApp", True),
                                    ("alt+n", "isUseCustomizeMountName", True)):
            self.desktop.keys(key)
            self.quillbox.wait_setting(setting, value)
        # What is known of the device goes too.
        self.assertTrue(any(isinstance(value, dict) for value in self.quillbox.settings().values()))
        self.desktop.focus(WELCOME)
        self.desktop.keys("alt+r")
        wait_for(lambda: self.quillbox.settings() == {}, 20 * PATIENCE, "no setting is left")
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(self.quillbox.settings(), {})

        self.simulator.ctl("detach", "all")
        again = self.start_on_screen(self.simulator, welcome=True)
        again.wait_notifier()
        self.desktop.wait_window(WELCOME)
        self.assertEqual(again.settings(), DEFAULTS)


if __name__ == "__main__":
    unittest.main()
