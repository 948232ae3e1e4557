# SPDX-License-Identifier: GPL-3.0-or-later
"""Remembered roots, names and icons of volumes, over what the program keeps between two starts."""

import os
import plistlib
import unittest

from harness import PATIENCE, DeviceTest, wait_for


class RememberedRoots(DeviceTest):
    DEVICES = ("--devices", "1", "--sample", "--no-afc2")

    def prepare(self, application="org.example.sketches", *devices, **settings):
        """A device with a remembered application, and the program with these settings."""
        self.simulator = self.start_simulator(*(devices or self.DEVICES))
        self.preferences = os.path.join(self.folder, "preferences.plist")
        values = {"isAfterFirstRun": True, "isMountLastPoint": True, "isShowAppIconWhenMounted": True,
                  "allowsAFC2Access": True, **settings}
        for udid in self.simulator.udids:
            values[udid] = {"lastMountPoint_appBundle": application}
        with open(self.preferences, "wb") as file:
            plistlib.dump(values, file)
        self.quillbox = self.start_quillbox(self.simulator)

    def remembered(self, index=0):
        with open(self.preferences, "rb") as file:
            return plistlib.load(file)[self.simulator.udids[index]]["lastMountPoint_appBundle"]

    def information(self, volume):
        with open(os.path.join(volume, ".xdg-volume-info")) as file:
            return dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)

    def test_the_root_comes_back_at_the_start_the_next_arrival_and_the_next_start(self):
        self.prepare()
        volume = self.quillbox.wait_mounted("Blue Phone (Sketches)")
        self.assertIn("First sketch.png", os.listdir(os.path.join(volume, "Documents")))
        self.simulator.ctl("detach", self.simulator.udids[0])
        self.quillbox.wait_gone("Blue Phone (Sketches)", 3 * PATIENCE)
        self.simulator.ctl("attach", self.simulator.udids[0])
        self.quillbox.wait_mounted("Blue Phone (Sketches)")
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(self.remembered(), "org.example.sketches")
        self.start_quillbox(self.simulator).wait_mounted("Blue Phone (Sketches)")

    def test_an_application_that_is_gone_falls_back_quietly(self):
        self.prepare("org.example.gone")
        volume = self.quillbox.wait_mounted("Blue Phone (Media)")
        self.assertIn("DCIM", os.listdir(volume))
        wait_for(lambda: self.remembered() == "com.apple.afc", 10 * PATIENCE, "the root in use is remembered")

    def test_a_root_that_is_not_to_be_remembered_is_not_restored(self):
        self.prepare(isMountLastPoint=False)
        self.quillbox.wait_mounted("Blue Phone (Media)")

    def test_a_remembered_media_on_a_device_that_offers_root_carries_the_bare_name(self):
        self.prepare("com.apple.afc", "--devices", "1", "--sample")
        self.assertIn("DCIM", os.listdir(self.quillbox.wait_mounted("Blue Phone")))

    def test_the_documents_alone_where_that_is_set(self):
        self.prepare(appMountPath=1)
        self.assertEqual(os.listdir(self.quillbox.wait_mounted("Blue Phone (Sketches)")), ["First sketch.png"])

    def test_a_device_that_refuses_whole_containers_shows_the_documents(self):
        self.prepare("org.example.sketches", *self.DEVICES, "--refuse-containers")
        volume = self.quillbox.wait_mounted("Blue Phone (Sketches)")
        self.assertEqual(os.listdir(volume), ["Documents"])
        self.assertEqual(os.listdir(os.path.join(volume, "Documents")), ["First sketch.png"])

    def test_the_applications_picture_becomes_the_volumes_icon(self):
        self.prepare()
        volume = self.quillbox.wait_mounted("Blue Phone (Sketches)")
        told = self.information(volume)
        self.assertEqual(told["Name"], "Blue Phone (Sketches)")
        with open(told["IconFile"], "rb") as icon:
            data = icon.read()
        self.assertEqual((data[:4], data[8:12], data[16:20]), (b"icns", b"ic09", b"\x89PNG"))
        self.assertEqual(os.stat(os.path.dirname(told["IconFile"])).st_mode & 0o777, 0o700)
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertFalse(os.path.exists(told["IconFile"]))

    def test_without_application_icons_the_programs_own_is_shown(self):
        self.prepare(isShowAppIconWhenMounted=False)
        told = self.information(self.quillbox.wait_mounted("Blue Phone (Sketches)"))
        self.assertEqual(os.path.basename(told["IconFile"]), "QuillboxIcon.icns")
        self.assertTrue(os.path.isfile(told["IconFile"]))

    def test_pictures_that_are_loaded_first_leave_the_remembered_root_in_place(self):
        self.prepare(isLoadAppsIconBeforeStart=True)
        volume = self.quillbox.wait_mounted("Blue Phone (Sketches)", 30)
        self.assertIn("Documents", os.listdir(volume))
        self.assertIn("Reading the pictures of ", self.quillbox.log_text())

    def test_a_custom_name_holds_for_every_device_and_root(self):
        self.prepare("org.example.sketches", "--devices", "2", "--sample", "--no-afc2",
                     isUseCustomizeMountName=True, customizeMountName="Pocket")
        for name in ("Pocket", "Pocket 2"):
            self.assertIn("Documents", os.listdir(self.quillbox.wait_mounted(name)))


if __name__ == "__main__":
    unittest.main()
