# SPDX-License-Identifier: GPL-3.0-or-later
"""What a program itself has changed it sees at once; what changes on the device, within a second."""

import os
import time
import unittest

from harness import PATIENCE, DeviceTest, run, wait_for

SECOND = 1.0


class Freshness(DeviceTest):
    DEVICES = ("--devices", "1", "--no-afc2")

    def setUp(self):
        super().setUp()
        self.start()
        os.mkdir(os.path.join(self.media, "folder"))
        for number in range(30):
            with open(os.path.join(self.media, "folder", f"{number:02}"), "wb") as file:
                file.write(b"old")
        self.folder_path = os.path.join(self.volume, "folder")

    def on_volume(self, name):
        return os.path.join(self.folder_path, name)

    def on_device(self, name):
        return os.path.join(self.media, "folder", name)

    def look(self):
        """Fills whatever is kept anywhere."""
        run("ls", "-l", self.folder_path)
        run("find", self.volume)

    def soon(self, condition, what):
        wait_for(condition, SECOND * PATIENCE, what)

    def test_the_device_changes_a_size(self):
        self.look()
        with open(self.on_device("05"), "ab") as file:
            file.write(b"er")
        self.soon(lambda: os.stat(self.on_volume("05")).st_size == 5, "the new size")

    def test_the_device_makes_and_removes_files(self):
        self.look()
        with open(self.on_device("new"), "wb"):
            os.remove(self.on_device("06"))
        self.soon(lambda: os.path.exists(self.on_volume("new")), "the new file")
        self.soon(lambda: not os.path.exists(self.on_volume("06")), "the removal")
        self.soon(lambda: "new" in os.listdir(self.folder_path), "the new name")

    def test_the_device_puts_something_into_a_folder_made_here(self):
        made = os.path.join(self.volume, "made")
        os.mkdir(made)
        for number in range(20):
            self.assertFalse(os.path.exists(os.path.join(made, f"no {number}")))
        with open(os.path.join(self.media, "made", "theirs"), "wb"):
            pass
        self.soon(lambda: os.path.exists(os.path.join(made, "theirs")), "the file of the device")

    def test_the_device_changes_what_is_being_read(self):
        size = 12 << 20
        with open(self.on_device("large"), "wb") as file:
            file.write(b"o" * size)
        with open(self.on_volume("large"), "rb", buffering=0) as file:
            for _ in range(8):
                self.assertEqual(file.read(1 << 17), b"o" * (1 << 17))
            with open(self.on_device("large"), "r+b") as other:
                other.write(b"n" * size)
            time.sleep(0.7)  # what was read ahead is too old by then
            file.seek(3 << 20)
            while block := file.read(1 << 17):
                self.assertEqual(block, b"n" * len(block), "content that is older than a second")

    def test_own_sizes_and_names_are_seen_at_once(self):
        for number in range(20):
            name = f"{number:02}"
            self.look()
            with open(self.on_volume(name), "ab", buffering=0) as file:
                file.write(b"12345")
                self.assertEqual(os.stat(self.on_volume(name)).st_size, 8, "gathered bytes count")
                self.assertEqual(os.fstat(file.fileno()).st_size, 8)
            os.truncate(self.on_volume(name), 4)
            self.assertEqual(os.stat(self.on_volume(name)).st_size, 4)
            os.utime(self.on_volume(name), (1e9, 1e9))
            self.assertEqual(os.stat(self.on_volume(name)).st_mtime, 1e9)
            os.rename(self.on_volume(name), self.on_volume(name + "x"))
            self.assertFalse(os.path.exists(self.on_volume(name)))
            self.assertEqual(os.stat(self.on_volume(name + "x")).st_size, 4)
            self.assertIn(name + "x", os.listdir(self.folder_path))
            os.remove(self.on_volume(name + "x"))
            self.assertFalse(os.path.exists(self.on_volume(name + "x")))
            self.assertNotIn(name + "x", os.listdir(self.folder_path))

    def test_a_second_name_shows_the_same_file(self):
        os.link(self.on_volume("01"), self.on_volume("hard"))
        for round_number in range(5):
            self.look()
            with open(self.on_volume("hard"), "ab", buffering=0) as file:
                file.write(b"1")
                self.assertEqual(os.stat(self.on_volume("01")).st_size, 4 + round_number)
            with open(self.on_volume("01"), "rb") as file:
                self.assertEqual(file.read(), b"old" + b"1" * (round_number + 1))

    def test_what_one_program_writes_another_reads(self):
        path = self.on_volume("shared")
        writer = os.open(path, os.O_CREAT | os.O_RDWR)
        reader = os.open(path, os.O_RDONLY)
        for number in range(50):
            data = b"%04d" % number
            os.pwrite(writer, data, number * 4)
            self.assertEqual(os.pread(reader, 4, number * 4), data)
        os.close(writer)
        os.close(reader)


if __name__ == "__main__":
    unittest.main()
