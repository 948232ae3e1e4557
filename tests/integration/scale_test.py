# SPDX-License-Identifier: GPL-3.0-or-later
"""A device that holds very much. For programs without a sanitizer: it makes some million requests."""

import os
import subprocess
import unittest

from harness import PATIENCE, DeviceTest, run, tree


class SixtyThousandPictures(DeviceTest):
    FOLDERS, PICTURES = 60, 1000

    def test_they_are_found_listed_and_copied_with_bounded_memory(self):
        self.start("--devices", "1", "--no-afc2")
        camera = os.path.join(self.media, "pictures")
        for folder in range(self.FOLDERS):
            os.makedirs(os.path.join(camera, f"{100 + folder}APPLE"))
            for number in range(self.PICTURES):
                with open(os.path.join(camera, f"{100 + folder}APPLE", f"IMG_{number:04}.JPG"), "wb") as file:
                    file.write(b"%d/%d" % (folder, number))
        there = os.path.join(self.volume, "pictures")
        found = run("find", there, "-type", "f", seconds=200).stdout.splitlines()
        self.assertEqual(len(set(found)), self.FOLDERS * self.PICTURES)
        after_find = self.quillbox.resident_kib()
        for name in os.listdir(there):
            lines = run("ls", "-l", os.path.join(there, name)).stdout.splitlines()
            self.assertEqual(len(lines), self.PICTURES + 1)
        target = self.local("backup")
        os.makedirs(target)
        subprocess.run(["rsync", "-a", there + "/", target + "/"], check=True,
                       timeout=300 * PATIENCE, stdin=subprocess.DEVNULL)
        self.assertEqual(tree(target), tree(camera))
        grown = self.quillbox.resident_kib() - after_find
        # What remains after one walk may not pile up in the next two.
        self.assertLess(grown, 64 * 1024)


if __name__ == "__main__":
    unittest.main()
