# SPDX-License-Identifier: GPL-3.0-or-later
"""A program that runs already comes to the user's sight: by a second start, and by its name on the session bus."""

import unittest

import dbus

from scene import PATIENCE, DesktopTest, wait_for

ID = "org.quillbox.Quillbox"
INTERFACE = "org.freedesktop.Application"
WELCOME = "Welcome to Quillbox"
PREFERENCES = "Quillbox preferences"
MENU_WINDOW = "Quillbox"


class Raised(DesktopTest):
    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator()
        self.quillbox = self.start_on_screen(self.simulator)
        wait_for(lambda: self.desktop.has_name(ID), 20 * PATIENCE, "the program has its name")
        self.quillbox.wait_log("is running")

    def ask(self, method, signature, *arguments):
        return self.desktop.call(ID, "/org/quillbox/Quillbox", INTERFACE, method, signature, *arguments)

    def action(self, name):
        self.ask("ActivateAction", "sava{sv}", name, dbus.Array([], "v"), dbus.Dictionary({}, "sv"))

    def test_a_second_start_shows_the_welcome_window(self):
        self.assertEqual(self.desktop.windows(WELCOME), [])
        second = self.quillbox.verb("--preferences", self.quillbox.preferences)
        self.assertEqual((second.returncode, second.stderr), (0, ""))
        self.assertIn("brought to the front", second.stdout)
        self.desktop.wait_window(WELCOME)

    def test_a_menu_window_that_was_closed_comes_back(self):
        """Where there is no tray it is the only menu there is."""
        def close(title):
            self.desktop.focus(title)
            self.desktop.keys("alt+F4")
            self.desktop.wait_no_window(title)

        self.desktop.wait_window(MENU_WINDOW)
        close(MENU_WINDOW)
        second = self.quillbox.verb("--preferences", self.quillbox.preferences)
        self.assertEqual((second.returncode, second.stderr), (0, ""))
        self.desktop.wait_window(MENU_WINDOW)
        self.desktop.wait_window(WELCOME)
        close(WELCOME)
        close(MENU_WINDOW)
        self.ask("Activate", "a{sv}", dbus.Dictionary({}, "sv"))
        self.desktop.wait_window(WELCOME)
        self.desktop.focus(MENU_WINDOW)
        self.desktop.keys("shift+Tab", "space")  # its last entry
        self.assertEqual(self.quillbox.process.wait(20 * PATIENCE), 0)

    def test_the_session_bus_activates_it_and_chooses_actions(self):
        self.ask("Activate", "a{sv}", dbus.Dictionary({}, "sv"))
        self.desktop.wait_window(WELCOME)
        self.action("preferences")
        self.desktop.wait_window(PREFERENCES)
        with self.assertRaises(dbus.DBusException):
            self.action("no-such-action")
        with self.assertRaises(dbus.DBusException):
            self.ask("Activate", "s", "wrong")
        self.action("quit")
        self.assertEqual(self.quillbox.process.wait(20 * PATIENCE), 0)
        self.assertFalse(self.desktop.has_name(ID))


if __name__ == "__main__":
    unittest.main()
