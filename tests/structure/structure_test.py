# SPDX-License-Identifier: GPL-3.0-or-later
"""The tree keeps its rules, and the check that says so notices every kind of breach."""

import os
import shutil
import tempfile
import unittest

from structure import breaches, tracked_files

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
LICENCE = "// SPDX-License-Identifier: GPL-3.0-or-later\n"


class TheTree(unittest.TestCase):
    def test_keeps_its_rules(self):
        self.assertEqual(breaches(ROOT), [])


class TheCheck(unittest.TestCase):
    """Each test plants one breach in a copy of the tree."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="quillbox-structure-")
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        for path in tracked_files(ROOT):
            target = os.path.join(cls.folder, path)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy(os.path.join(ROOT, path), target)
        cls.before = breaches(cls.folder)

    def plant(self, path, text):
        """Adds a file and answers what the check says about it."""
        target = os.path.join(self.folder, path)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, "w", encoding="utf-8") as file:
            file.write(text)
        try:
            return [each for each in breaches(self.folder) if each not in self.before]
        finally:
            os.remove(target)

    def assert_refused(self, path, include, word):
        found = self.plant(path, f"{LICENCE}#include {include}\n")
        self.assertEqual(len(found), 1, found)
        self.assertTrue(found[0].startswith(path + ":2:"), found)
        self.assertIn(word, found[0])

    def assert_allowed(self, path, include):
        self.assertEqual(self.plant(path, f"{LICENCE}#include {include}\n"), [])

    def test_arrows_that_run_back_up_are_refused(self):
        for path, target in (
                ("src/Core/Platform/Planted.cpp", "Linux/Host/MainLoop.h"),
                ("src/Core/Session/Planted.cpp", "Wire/AfcPacket.h"),
                ("src/Wire/Planted.cpp", "Core/Platform/AFC.h"),
                ("src/Linux/Volume/Planted.cpp", "Linux/Host/MainLoop.h"),
                ("src/Linux/Volume/Planted.cpp", "Wire/AfcPacket.h"),
                ("src/Linux/Host/Planted.cpp", "Wire/AfcPacket.h"),
                ("src/Linux/Device/Planted.cpp", "Linux/Host/MainLoop.h"),
                ("src/Linux/Device/Streams/Planted.cpp", "Linux/Device/Lockdown/Device.h"),
                ("src/Linux/Device/Lockdown/Planted.cpp", "Linux/Device/Files/AfcClient.h"),
                ("src/Linux/Device/Files/Planted.cpp", "Linux/Device/DeviceHub.h"),
                ("src/Linux/Device/Files/Planted.cpp", "Linux/Device/Multiplexer/DeviceRoster.h"),
                ("src/App/Planted.cpp", "Wire/AfcPacket.h"),
                ("simulator/Planted.cpp", "Core/Platform/AFC.h")):
            with self.subTest(path=path, target=target):
                self.assert_refused(path, f'"{target}"', "may not use")

    def test_sources_that_include_each_other_are_refused(self):
        for folder in ("src/Core/Session", "simulator"):
            header = os.path.join(folder, "PlantedBelow.h")
            rooted = header.removeprefix("src/")
            planted = os.path.join(self.folder, header)
            with open(planted, "w", encoding="utf-8") as file:
                file.write(f'{LICENCE}#pragma once\n#include "{rooted.replace("Below", "").removeprefix("simulator/")}"\n')
            # A header and its source are one: this circle is of two.
            other = os.path.join(self.folder, folder, "Planted.h")
            with open(other, "w", encoding="utf-8") as file:
                file.write(LICENCE + "#pragma once\n")
            try:
                found = self.plant(os.path.join(folder, "Planted.cpp"),
                                   f'{LICENCE}#include "{rooted.removeprefix("simulator/")}"\n')
            finally:
                os.remove(planted)
                os.remove(other)
            self.assertEqual(len(found), 1, found)
            self.assertTrue(found[0].startswith("a circle of includes: "), found)
            self.assertIn(f"{folder}/PlantedBelow", found[0])

    def test_folders_of_the_core_use_only_what_lies_below_them(self):
        for upper in ("Settings", "Session", "Volumes", "Shell"):
            header = f"src/Core/{upper}/PlantedUpper.h"
            target = os.path.join(self.folder, header)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            with open(target, "w", encoding="utf-8") as file:
                file.write(LICENCE + "#pragma once\n")
            try:
                include = f'"Core/{upper}/PlantedUpper.h"'
                self.assert_refused("src/Core/Platform/Planted.cpp", include, "may not use")
                self.assert_refused("src/Linux/Device/Planted.cpp", include, "may not use")
                self.assert_allowed("src/App/Planted.cpp", include)
                self.assert_allowed(f"src/Core/{upper}/Planted.cpp", include)
                if upper == "Shell":
                    self.assert_refused("src/Core/Volumes/Planted.cpp", include, "may not use")
                if upper == "Volumes":
                    self.assert_refused("src/Core/Session/Planted.cpp", include, "may not use")
                    self.assert_allowed("src/Core/Utility/Planted.cpp", include)
            finally:
                os.remove(target)

    def test_the_core_uses_nothing_outside_the_standard_library(self):
        for header in ("unistd.h", "plist/plist.h", "fuse3/fuse_lowlevel.h", "sys/stat.h"):
            self.assert_refused("src/Core/Session/Planted.cpp", f"<{header}>", "standard library")
        self.assert_allowed("src/Core/Session/Planted.cpp", "<cerrno>")
        self.assert_allowed("src/Linux/Host/Planted.cpp", "<unistd.h>")

    def test_allowed_arrows_are_allowed(self):
        self.assert_allowed("src/Core/Session/Planted.cpp", '"Core/Platform/AFC.h"')
        self.assert_allowed("src/Linux/Device/Planted.cpp", '"Wire/AfcPacket.h"')
        self.assert_allowed("src/App/Planted.cpp", '"Linux/Host/MainLoop.h"')
        self.assert_allowed("simulator/Planted.cpp", '"Wire/AfcPacket.h"')

    def test_includes_that_are_not_rooted_or_lead_nowhere_are_refused(self):
        self.assert_refused("src/Linux/Host/Planted.cpp", '"MainLoop.h"', "not rooted")
        self.assert_refused("src/Linux/Host/Planted.cpp", '"Linux/Host/Nothing.h"', "no file")
        self.assert_refused("src/Linux/Host/Planted.cpp", '"../../Wire/AfcPacket.h"', "climbs out")
        self.assert_refused("src/Linux/Host/Planted.cpp", "SOME_MACRO", "cannot be read")

    def test_what_every_source_must_have(self):
        self.assertIn("licence", self.plant("src/Wire/Planted.cpp", "int x;\n")[0])
        self.assertIn("pragma", self.plant("tests/unit/Planted.h", LICENCE)[0])
        self.assertIn("more than 500", self.plant("tests/Planted.cpp", LICENCE + "\n" * 500)[0])
        self.assertEqual(self.plant("tests/Planted.cpp", LICENCE + "\n" * 499), [])
        self.assertIn("no room", self.plant("src/Elsewhere/Planted.cpp", LICENCE)[0])
        self.assertIn("licence", self.plant("tests/planted.py", "pass\n")[0])

    def test_labels_that_show_a_value_are_read_out_with_it(self):
        form = ('<ui><widget class="QWidget" name="window"><layout><item><widget class="{}" name="{}">'
                '<property name="{}"><string>Name</string></property></widget></item></layout></widget></ui>')
        path = "src/Linux/Desktop/Planted.ui"
        self.assertIn("hides its value", self.plant(path, form.format("QLabel", "tf_name", "accessibleName"))[0])
        for allowed in (("QLabel", "tf_name", "accessibleDescription"), ("QLabel", "lb_name", "accessibleName"),
                        ("QLineEdit", "tf_name", "accessibleName")):
            self.assertEqual(self.plant(path, form.format(*allowed)), [])
        self.assertEqual(len(self.plant(path, "<ui>")), 1)

    def test_a_tree_without_sources_is_no_success(self):
        with tempfile.TemporaryDirectory() as empty:
            self.assertNotEqual(breaches(empty), [])


if __name__ == "__main__":
    unittest.main()
