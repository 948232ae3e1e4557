# SPDX-License-Identifier: GPL-3.0-or-later
"""What is read ahead, asked ahead and gathered: few round trips, and never a wrong result."""

import mmap
import os
import sqlite3
import subprocess
import threading
import time
import unittest

from everyday_test import random_file
from harness import DeviceTest, run, sha256, wait_for


class RoundTrips(DeviceTest):
    """Counted by the device, so that a slow computer changes nothing. A few more are let pass than a
    quiet one needs: what was asked ahead may be too old on a busy one."""

    def setUp(self):
        super().setUp()
        self.start("--devices", "1", "--no-afc2")
        self.simulator.ctl("latency", 5)

    def trips(self, *command):
        self.simulator.ctl("counters", "reset")
        run(*command)
        return self.simulator.counters()["round-trips"]

    def fill(self, folder, count, size=0):
        os.makedirs(os.path.join(self.media, folder))
        for number in range(count):
            with open(os.path.join(self.media, folder, f"{number:05}"), "wb") as file:
                file.write(os.urandom(size))
        return os.path.join(self.volume, folder)

    def test_one_question_for_attributes(self):
        self.fill("folder", 1)
        time.sleep(0.6)
        self.simulator.ctl("counters", "reset")
        os.stat(os.path.join(self.volume, "folder"))
        counters = self.simulator.counters()
        self.assertEqual(counters["file-info"], 1)
        self.assertEqual(counters["round-trips"], 1)

    def test_a_long_listing(self):
        self.assertLess(self.trips("ls", "-l", self.fill("long", 2000)), 60)

    def test_many_folders(self):
        for number in range(60):
            self.fill(f"tree/{number:03}", 10)
        self.assertLess(self.trips("find", os.path.join(self.volume, "tree"), "-size", "+1"), 110)

    def test_reading_in_order(self):
        random_file(os.path.join(self.media, "large"), 16 << 20)
        self.assertLess(self.trips("cp", os.path.join(self.volume, "large"), self.local("large")), 64)
        self.assertEqual(sha256(self.local("large")), sha256(os.path.join(self.media, "large")))

    def test_small_writes_are_gathered(self):
        random_file(self.local("source"), 8 << 20)
        self.simulator.ctl("counters", "reset")
        run("dd", f"if={self.local('source')}", f"of={os.path.join(self.volume, 'file')}", "bs=4k",
            "status=none")
        self.assertLess(self.simulator.counters()["write"], 64)
        self.assertEqual(sha256(self.local("source")), sha256(os.path.join(self.media, "file")))

    def test_small_files_each_way(self):
        count = 40
        off = self.trips("cp", "-r", self.fill("small", count, 50 << 10), self.local("copy"))
        self.assertLess(off, 4 * count)
        onto = self.trips("cp", "-r", self.local("copy"), os.path.join(self.volume, "onto"))
        self.assertLess(onto, 4 * count)


class EveryWriteFails(DeviceTest):
    """The n-th write fails, for every n: no copy ends with status 0 and a wrong file."""

    def copy(self, command, size):
        self.start("--devices", "1", "--no-afc2")
        source, target = self.local("source"), os.path.join(self.volume, "target")
        random_file(source, size, 7)
        failed = 0
        for number in range(1, 100):
            self.simulator.ctl("counters", "reset")
            self.simulator.ctl("fail-nth", "write", number, 5, "--device", self.simulator.udids[0])
            done = run(*command(source, target), check=False)
            self.simulator.ctl("clear-faults")
            writes = self.simulator.counters().get("write", 0)
            if done.returncode == 0:
                self.assertEqual(sha256(os.path.join(self.media, "target")), sha256(source),
                                 f"write {number} failed and nobody was told")
                self.assertGreater(number, writes)
                break
            failed += 1
            os.remove(target)
        self.assertGreater(failed, 1)

    def test_cp(self):
        self.copy(lambda source, target: ("cp", source, target), (3 << 20) + 5000)

    def test_small_writes(self):
        self.copy(lambda source, target: ("dd", f"if={source}", f"of={target}", "bs=4k",
                                          "status=none"), (2 << 20) + 777)

    def test_fsync_tells(self):
        self.start("--devices", "1", "--no-afc2")
        path = os.path.join(self.volume, "file")
        for gathered in (b"x" * 100, b"x" * (1 << 20)):
            file = os.open(path, os.O_CREAT | os.O_WRONLY)
            self.simulator.ctl("fail", "write", 1, 18, "--device", self.simulator.udids[0])
            os.write(file, gathered)
            with self.assertRaises(OSError) as caught:
                os.fsync(file)
            self.assertEqual(caught.exception.errno, 28)
            os.fsync(file)  # told once
            os.close(file)

    def test_synchronous_writes_are_not_gathered(self):
        self.start("--devices", "1", "--no-afc2")
        file = os.open(os.path.join(self.volume, "file"), os.O_CREAT | os.O_WRONLY | os.O_DSYNC)
        for number in range(1, 6):
            os.write(file, b"12")
            self.assertEqual(os.path.getsize(os.path.join(self.media, "file")), number * 2)
        self.simulator.ctl("fail", "write", 1, 5, "--device", self.simulator.udids[0])
        self.assertRaises(OSError, os.write, file, b"12")
        os.close(file)


class Stalls(DeviceTest):
    NAMES = 1500

    def test_a_device_that_leaves_in_the_middle_of_a_listing(self):
        self.start("--devices", "1", "--no-afc2")
        folder = os.path.join(self.media, "many")
        os.mkdir(folder)
        for number in range(self.NAMES):
            open(os.path.join(folder, f"{number:05}"), "wb").close()
        self.simulator.ctl("latency", 2)
        udid = self.simulator.udids[0]
        listing = subprocess.Popen(["ls", "-l", os.path.join(self.volume, "many")],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.simulator.ctl("counters", "reset")
        wait_for(lambda: self.simulator.counters().get("file-info", 0) > 100, 10, "it is under way")
        self.simulator.ctl("stall", udid)
        threading.Timer(0.5, lambda: self.simulator.ctl("detach", udid)).start()
        shown = listing.communicate(timeout=60)[0].decode().splitlines()
        if listing.returncode == 0:
            self.assertEqual(len(shown), self.NAMES + 1)
        self.quillbox.wait_gone(os.path.basename(self.volume), 5)


class InPlace(DeviceTest):
    def setUp(self):
        super().setUp()
        self.start("--devices", "1", "--no-afc2")

    def test_a_database_in_place(self):
        path = os.path.join(self.volume, "notes.sqlite")
        for mode in ("DELETE", "TRUNCATE"):
            database = sqlite3.connect(path, timeout=20)
            database.execute(f"PRAGMA journal_mode={mode}")
            database.execute("PRAGMA mmap_size=1000000")
            database.execute("CREATE TABLE IF NOT EXISTS notes (id INTEGER PRIMARY KEY, text TEXT)")
            for number in range(30):
                with database:
                    database.execute("INSERT INTO notes (text) VALUES (?)", (f"{mode} {number}" * 50,))
            with database:
                database.execute("DELETE FROM notes WHERE id % 3 = 0")
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchone(), ("ok",))
            database.close()
        copy = sqlite3.connect(os.path.join(self.media, "notes.sqlite"))
        self.assertEqual(copy.execute("PRAGMA integrity_check").fetchone(), ("ok",))
        self.assertEqual(copy.execute("SELECT COUNT(*) FROM notes").fetchone()[0], 40)
        copy.close()

    def test_a_file_in_memory(self):
        path = os.path.join(self.volume, "mapped")
        random_file(os.path.join(self.media, "mapped"), 1_000_000, 3)
        with open(path, "r+b") as file, mmap.mmap(file.fileno(), 0) as memory:
            with open(os.path.join(self.media, "mapped"), "rb") as other:
                self.assertEqual(bytes(memory), other.read())
            memory[500_000:500_005] = b"hello"
            memory.flush()
            os.fsync(file.fileno())
            with open(os.path.join(self.media, "mapped"), "rb") as other:
                other.seek(500_000)
                self.assertEqual(other.read(5), b"hello")


if __name__ == "__main__":
    unittest.main()
