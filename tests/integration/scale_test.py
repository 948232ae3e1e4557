# SPDX-License-Identifier: GPL-3.0-or-later
"""A device that holds very much. For programs without a sanitizer: some tests make a million requests."""

import os
import plistlib
import random
import re
import struct
import subprocess
import unittest
import zlib

from harness import PATIENCE, DeviceTest, run, tree


def png(edge, seed):
    """A square picture of noise, which hardly compresses."""
    noise = random.Random(seed)
    rows = b"".join(b"\0" + noise.randbytes(3 * edge) for _ in range(edge))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", edge, edge, 8, 2, 0, 0, 0)) + \
        chunk(b"IDAT", zlib.compress(rows, 1)) + chunk(b"IEND", b"")


class FiveHundredApplications(DeviceTest):
    APPLICATIONS = 500

    def test_their_pictures_are_loaded_first_with_bounded_memory_and_the_log_says_how_long_it_took(self):
        simulator = self.start_simulator("--devices", "1", "--no-afc2", "--detached")
        udid = simulator.udids[0]
        for number in range(self.APPLICATIONS):
            identifier = f"org.example.x{number:03}"
            simulator.ctl("install", udid, identifier, "--name", f"X{number:03}")
            with open(os.path.join(simulator.state, udid, "Apps", identifier, "iTunesArtwork"), "wb") as file:
                file.write(png(512, number))
        preferences = os.path.join(self.folder, "preferences.plist")
        with open(preferences, "wb") as file:
            plistlib.dump({"isAfterFirstRun": True, "isLoadAppsIconBeforeStart": True,
                           udid: {"lastMountPoint_appBundle": "org.example.x250"}, "isMountLastPoint": True}, file)
        quillbox = self.start_quillbox(simulator)
        quillbox.wait_log("is running")
        before = quillbox.resident_kib()
        simulator.ctl("attach", udid)
        volume = quillbox.wait_mounted("Blue Phone (X250)", 120)
        self.assertIn("iTunesArtwork", os.listdir(volume))
        told = re.search(r"Reading the pictures of 500 applications took (\d+) ms: 500 found\.", quillbox.log_text())
        self.assertTrue(told, "the log does not say how long it took")
        print(f"{told[1]} ms for {self.APPLICATIONS} pictures", flush=True)
        # All of them together are 375 MiB as pixels and as much as files.
        self.assertLess(quillbox.resident_kib() - before, 64 * 1024)


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
