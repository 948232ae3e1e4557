# SPDX-License-Identifier: GPL-3.0-or-later
"""The program's pictures: in the build folder, where they are installed, and as others read them."""

import os
import shutil
import struct
import tempfile
import unittest

from harness import BIN, run

BUILD = os.path.dirname(os.path.abspath(BIN))
POINTS = {"Folder": 16, "AppStore": 16, "16x16on": 16, "16x16off": 16, "QuillboxIcon": 128}


def png_size(path):
    with open(path, "rb") as file:
        head = file.read(24)
    if not head.startswith(b"\x89PNG\r\n\x1a\n"):
        raise AssertionError(f"{path} is no PNG")
    return struct.unpack(">II", head[16:24])


class Resources(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="quillbox-test-")
        self.addCleanup(shutil.rmtree, self.folder)

    def check_pictures(self, place):
        for name, points in POINTS.items():
            self.assertEqual(png_size(os.path.join(place, f"{name}.png")), (points, points))
            self.assertEqual(png_size(os.path.join(place, f"{name}@2x.png")), (2 * points, 2 * points))
        self.assertTrue(os.path.isfile(os.path.join(place, "QuillboxIcon.icns")))

    def test_every_picture_is_there_in_both_sizes(self):
        self.check_pictures(os.path.join(BUILD, "share", "quillbox"))

    def test_they_are_installed_where_the_installed_program_looks(self):
        run("cmake", f"-DCMAKE_INSTALL_PREFIX={self.folder}", "-P",
            os.path.join(BUILD, "resources", "cmake_install.cmake"))
        self.check_pictures(os.path.join(self.folder, "share", "quillbox"))

    def test_the_icon_of_volumes_is_a_family_that_other_programs_read(self):
        icon = os.path.join(BUILD, "share", "quillbox", "QuillboxIcon.icns")
        with open(icon, "rb") as file:
            data = file.read()
        kind, length = struct.unpack(">4sI", data[:8])
        self.assertEqual((kind, length), (b"icns", len(data)))
        sizes = {}
        at = 8
        while at < len(data):
            element, length = struct.unpack(">4sI", data[at:at + 8])
            self.assertTrue(data[at + 8:].startswith(b"\x89PNG"))
            sizes[element] = struct.unpack(">II", data[at + 24:at + 32])
            at += length
        self.assertEqual(at, len(data))
        self.assertEqual(sizes, {b"ic07": (128, 128), b"ic08": (256, 256), b"ic09": (512, 512),
                                 b"ic10": (1024, 1024)})
        run("icns2png", "-x", "-o", self.folder, icon)
        extracted = sorted(png_size(os.path.join(self.folder, name))[0] for name in os.listdir(self.folder))
        self.assertTrue({256, 512} <= set(extracted), extracted)


if __name__ == "__main__":
    unittest.main()
