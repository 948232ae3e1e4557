# SPDX-License-Identifier: GPL-3.0-or-later
"""Pictures that are copied into the camera roll get the device's own names, and thumbnails."""

import os
import plistlib
import shutil
import struct
import unittest
import zlib

from harness import PATIENCE, DeviceTest, run, sha256, wait_for

RED, GREEN, BLUE = (255, 0, 0), (0, 255, 0), (0, 0, 255)
# Names in a folder that all users share: other tests of this computer may run beside this one.
LOCAL_FILES = ("/tmp/Quillbox_DCIM_tempInfo.plist", "/tmp/Quillbox_DCIM_tempIcon.THM")


def bands(width, height, left, right):
    """Rows of a picture that is red below column `left`, blue from `right` on and green between."""
    return (bytes(RED) * left + bytes(GREEN) * (right - left) + bytes(BLUE) * (width - right)) * height


def write_png(path, width, height, pixels):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + pixels[3 * width * y:3 * width * (y + 1)] for y in range(height))
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
                   + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))
    return path


def write_jpeg(path, width, height, pixels):
    with open(path + ".ppm", "wb") as file:
        file.write(b"P6 %d %d 255\n" % (width, height) + pixels)
    run("cjpeg", "-quality", "95", "-outfile", path, path + ".ppm")
    return path


def read_jpeg(path, scratch):
    """Width, height and pixels of a JPEG, by a decoder that the program does not use itself."""
    run("djpeg", "-ppm", "-outfile", scratch, path)
    with open(scratch, "rb") as file:
        kind, size, depth = file.readline().strip(), file.readline(), file.readline().strip()
        if (kind, depth) != (b"P6", b"255"):
            raise AssertionError(f"{path}: no colour picture")
        return (*map(int, size.split()), file.read())


class CameraRoll(DeviceTest):
    RENAMES = True
    OPTIONS = ("--log-level", "debug")

    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator(*self.DEVICES)
        self.media = self.simulator.media()
        roll = os.path.join(self.media, "DCIM")
        shutil.rmtree(roll)
        self.pictures = os.path.join(roll, "100APPLE")
        self.thumbnails = os.path.join(self.pictures, ".MISC")
        os.makedirs(self.thumbnails)
        os.makedirs(os.path.join(roll, ".MISC"))
        self.bookkeeping = os.path.join(roll, ".MISC", "Info.plist")
        with open(self.bookkeeping, "wb") as file:
            plistlib.dump({"LastFileGroupNumber-100": 1}, file)
        preferences = os.path.join(self.folder, "preferences.plist")
        with open(preferences, "wb") as file:
            plistlib.dump({"isAfterFirstRun": True, "changeNameOnCopyImages2DCIM": self.RENAMES}, file)
        self.quillbox = self.start_quillbox(self.simulator)
        self.volume = self.quillbox.wait_mounted("Blue Phone (Media)")
        self.roll = os.path.join(self.volume, "DCIM", "100APPLE")

    def copy(self, source, how, name=None):
        target = os.path.join(self.roll, name or os.path.basename(source))
        run(*how, source, target)
        return target

    def touch(self, path):
        """The open and close that follow a copy, as a file manager's preview makes them."""
        with open(path, "rb") as file:
            file.read(16)

    def wait_renamed(self, name):
        path = os.path.join(self.pictures, name)
        wait_for(lambda: os.path.exists(path), 10 * PATIENCE, f"{name} is on the device")
        wait_for(lambda: name in os.listdir(self.roll), 10 * PATIENCE, f"{name} is on the volume")
        return path

    def wait_thumbnail(self, name):
        path = os.path.join(self.thumbnails, name)

        def is_whole():
            if not os.path.exists(path):
                return False
            with open(path, "rb") as file:
                return file.read().endswith(b"\xff\xd9")

        wait_for(is_whole, 10 * PATIENCE, f"{name} is on the device")
        return path

    def wait_released(self, times):
        """Waits until so many files were released without getting a name."""
        wait_for(lambda: self.quillbox.log_text().count("released file") >= times, 10 * PATIENCE,
                 f"{times} files were released")

    def finish_what_runs(self):
        """The volume asks its device one thing after the other: what is in progress ends before this."""
        os.mkdir(os.path.join(self.volume, "afterwards"))


class Renaming(CameraRoll):
    def copy_both(self, how):
        jpeg = write_jpeg(self.local("holiday.jpg"), 400, 300, bands(400, 300, 48, 348))
        png = write_png(self.local("screen.png"), 400, 300, bands(400, 300, 64, 332))
        for source, name in ((jpeg, "IMG_0001.JPG"), (png, "IMG_0002.PNG")):
            target = self.copy(source, how)
            self.touch(target)
            renamed = self.wait_renamed(name)
            self.assertEqual(sha256(renamed), sha256(source))
            self.assertFalse(os.path.exists(os.path.join(self.pictures, os.path.basename(source))))
        self.check_thumbnail("IMG_0001.THM", {2: GREEN, 37: GREEN, 72: GREEN})
        self.check_thumbnail("IMG_0002.THM", {1: RED, 37: GREEN, 73: BLUE})
        for path in LOCAL_FILES:
            self.assertEqual(os.stat(path).st_mode & 0o7777, 0o600, path)

    def check_thumbnail(self, name, columns):
        width, height, pixels = read_jpeg(self.wait_thumbnail(name), self.local("thumbnail.ppm"))
        self.assertEqual((width, height), (75, 75))
        for column, colour in columns.items():
            at = 3 * (75 * 37 + column)
            for seen, wanted in zip(pixels[at:at + 3], colour):
                self.assertAlmostEqual(seen, wanted, delta=48, msg=f"{name}, column {column}")

    def test_pictures_copied_with_cp_are_named_and_get_thumbnails_of_their_centre(self):
        self.copy_both(("cp",))

    def test_pictures_copied_with_gio_are_named_and_get_thumbnails_of_their_centre(self):
        self.copy_both(("gio", "copy"))

    def test_the_hundredth_picture_keeps_its_name(self):
        for number in range(1, 99):
            with open(os.path.join(self.pictures, f"IMG_{number:04d}.JPG"), "wb"):
                pass
        source = write_png(self.local("a.png"), 8, 8, bands(8, 8, 0, 8))
        self.touch(self.copy(source, ("cp",)))
        self.wait_renamed("IMG_0099.PNG")
        self.touch(self.copy(source, ("cp",), "b.png"))
        self.wait_released(3)
        self.assertEqual(sha256(os.path.join(self.pictures, "b.png")), sha256(source))
        self.assertEqual(len([each for each in os.listdir(self.pictures) if each.startswith("IMG_")]), 99)

    def test_a_picture_that_does_not_decode_is_named_and_unharmed(self):
        source = self.local("broken.jpg")
        with open(source, "wb") as file:
            file.write(b"\xff\xd8\xff\xe0 this is no picture")
        self.touch(self.copy(source, ("cp",)))
        self.assertEqual(sha256(self.wait_renamed("IMG_0001.JPG")), sha256(source))
        self.quillbox.wait_log("Could not load '<")

    def test_damaged_bookkeeping_leaves_pictures_and_itself_alone(self):
        with open(self.bookkeeping, "wb") as file:
            file.write(b"<plist><dict><key>LastFileGroupNumber-100</key><integer>1")
        before = sha256(self.bookkeeping)
        source = write_png(self.local("a.png"), 8, 8, bands(8, 8, 0, 8))
        self.touch(self.copy(source, ("cp",)))
        self.wait_released(2)
        self.assertEqual(sorted(os.listdir(self.pictures)), [".MISC", "a.png"])
        self.assertEqual(sha256(self.bookkeeping), before)

    def test_a_link_at_the_fixed_name_is_replaced_and_not_written_through(self):
        victim = self.local("victim")
        with open(victim, "w") as file:
            file.write("precious")
        for path in LOCAL_FILES:
            if os.path.lexists(path):
                os.unlink(path)
            os.symlink(victim, path)
        source = write_png(self.local("a.png"), 80, 80, bands(80, 80, 0, 80))
        self.touch(self.copy(source, ("cp",)))
        self.wait_renamed("IMG_0001.PNG")
        self.wait_thumbnail("IMG_0001.THM")
        with open(victim) as file:
            self.assertEqual(file.read(), "precious")
        for path in LOCAL_FILES:
            self.assertFalse(os.path.islink(path))

    def test_a_link_at_the_thumbnail_s_name_is_never_sent_to_the_device(self):
        secret = self.local("secret")
        with open(secret, "w") as file:
            file.write("a secret of this user")
        if os.path.lexists(LOCAL_FILES[1]):
            os.unlink(LOCAL_FILES[1])
        os.symlink(secret, LOCAL_FILES[1])
        self.addCleanup(lambda: os.path.islink(LOCAL_FILES[1]) and os.unlink(LOCAL_FILES[1]))
        source = self.local("broken.jpg")
        with open(source, "wb") as file:
            file.write(b"no picture, so that no thumbnail is written")
        self.touch(self.copy(source, ("cp",)))
        self.wait_renamed("IMG_0001.JPG")
        self.quillbox.wait_log("Could not load '<")
        self.finish_what_runs()
        self.assertEqual(os.listdir(self.thumbnails), [])


class NotRenaming(CameraRoll):
    RENAMES = False

    def test_with_renaming_off_nothing_happens(self):
        source = write_png(self.local("a.png"), 80, 80, bands(80, 80, 0, 80))
        for how, name in ((("cp",), "a.png"), (("gio", "copy"), "b.png")):
            target = self.copy(source, how, name)
            self.touch(target)
            self.touch(target)
        self.wait_released(6)
        self.assertEqual(sorted(os.listdir(self.pictures)), [".MISC", "a.png", "b.png"])
        self.assertEqual(os.listdir(self.thumbnails), [])


if __name__ == "__main__":
    unittest.main()
