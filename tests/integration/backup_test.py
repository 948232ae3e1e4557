# SPDX-License-Identifier: GPL-3.0-or-later
"""The recipe of the documentation: rsync copies a camera roll that is pulled out in the middle; plugged in and run
again, everything is there once and nothing twice."""

import os
import subprocess
import unittest

from harness import PATIENCE, DeviceTest, run, tree, wait_for

PICTURES = 400


class Backup(DeviceTest):
    def test_a_backup_that_was_cut_off_is_completed_by_the_next_one(self):
        self.simulator = self.start_simulator()
        roll = os.path.join(self.simulator.media(), "DCIM", "100APPLE")
        os.makedirs(roll, exist_ok=True)
        for number in range(PICTURES):
            path = os.path.join(roll, f"IMG_{number + 1000}.JPG")
            with open(path, "wb") as picture:
                picture.write(os.urandom(40_000) + number.to_bytes(4, "big"))
            os.utime(path, (1_700_000_000 + number, 1_700_000_000 + number))
        self.quillbox = self.start_quillbox(self.simulator)
        volume = self.quillbox.wait_mounted("Blue Phone (Media)")
        target = self.local("Pictures", "Phone")
        os.makedirs(target)
        recipe = ["rsync", "-a", volume + "/DCIM/", target + "/"]

        udid = self.simulator.udids[0]
        self.simulator.ctl("latency", "2", "--device", udid)
        first = subprocess.Popen(recipe, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        wait_for(lambda: self.copied(target) >= PICTURES // 10, 30 * PATIENCE, "the copy is at work")
        self.simulator.ctl("detach", udid)
        self.assertNotEqual(first.wait(30 * PATIENCE), 0, "a cut backup says so")
        first.stderr.close()
        self.assertLess(self.copied(target), PICTURES)

        self.simulator.ctl("latency", "0", "--device", udid)
        self.quillbox.wait_gone("Blue Phone (Media)", 5 * PATIENCE)
        self.simulator.ctl("attach", udid)
        self.quillbox.wait_mounted("Blue Phone (Media)")
        run(*recipe)
        self.assertEqual(tree(target), tree(os.path.join(self.simulator.media(), "DCIM")))
        again = run(*recipe[:1], "-ai", *recipe[2:])
        self.assertEqual(again.stdout, "", "a third run finds nothing to do")

    def copied(self, target):
        folder = os.path.join(target, "100APPLE")
        return sum(name.startswith("IMG_") for name in os.listdir(folder)) if os.path.isdir(folder) else 0


if __name__ == "__main__":
    unittest.main()
