# SPDX-License-Identifier: GPL-3.0-or-later
"""Pulling the plug, losing connections, and coming back."""

import errno
import os
import subprocess
import threading
import time
import unittest

from everyday_test import random_file
from harness import PATIENCE, DeviceTest, is_mounted, run, sha256, tree, wait_for


class Unplugged(DeviceTest):
    """A program is at work on the volume when its device is pulled out."""

    def setUp(self):
        super().setUp()
        self.start()
        self.udid = self.simulator.udids[0]
        self.filled = os.path.join(self.media, "filled")
        os.mkdir(self.filled)
        for folder in range(6):
            os.mkdir(os.path.join(self.filled, str(folder)))
            for number in range(40):
                random_file(os.path.join(self.filled, str(folder), f"{number}.bin"), 20_000, number)

    def unplug_while(self, command, after=0.6):
        """Runs a command, pulls the plug in its middle, answers its status, texts and delay to the end."""
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                   errors="surrogateescape", stdin=subprocess.DEVNULL)
        time.sleep(after)
        self.assertIsNone(process.poll(), "the command ended before the plug was pulled")
        self.simulator.ctl("detach", self.udid)
        pulled = time.monotonic()
        out, err = process.communicate(timeout=20)
        delay = time.monotonic() - pulled
        self.quillbox.wait_gone("Blue Phone (Media)", max(0.1, 2.0 - (time.monotonic() - pulled)))
        return process.returncode, out, err, delay

    def check_ended_with_an_io_error(self, outcome):
        status, _, err, delay = outcome
        self.assertNotEqual(status, 0)
        self.assertIn("Input/output error", err)
        self.assertNotIn("No such file", err)
        self.assertLess(delay, 1.0 * PATIENCE)

    def check_comes_back(self):
        self.simulator.ctl("attach", self.udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 2)
        self.assertEqual(sorted(os.listdir(os.path.join(self.volume, "filled"))),
                         sorted(os.listdir(self.filled)))

    def test_during_a_copy_off_the_volume(self):
        self.simulator.ctl("latency", 3)
        target = self.local("copy")
        outcome = self.unplug_while(["cp", "-r", os.path.join(self.volume, "filled"), target])
        self.check_ended_with_an_io_error(outcome)
        self.check_comes_back()

    def test_during_the_copy_of_one_large_file(self):
        self.simulator.ctl("bandwidth", 10_000_000)
        with open(os.path.join(self.media, "large"), "wb") as file:
            file.truncate(1 << 30)
        outcome = self.unplug_while(["cp", os.path.join(self.volume, "large"), self.local("large")])
        self.check_ended_with_an_io_error(outcome)

    def test_during_a_copy_onto_the_volume(self):
        self.simulator.ctl("bandwidth", 10_000_000)
        source = random_file(self.local("large"), 100_000_000)
        outcome = self.unplug_while(["cp", source, os.path.join(self.volume, "large")])
        self.check_ended_with_an_io_error(outcome)

    def test_during_find(self):
        self.simulator.ctl("latency", 100)
        outcome = self.unplug_while(["find", self.volume, "-ls"])
        self.check_ended_with_an_io_error(outcome)

    def test_rsync_with_delete_removes_nothing_on_the_computer(self):
        backup = self.local("backup")
        os.makedirs(backup)
        run("rsync", "-a", self.filled + "/", backup + "/")
        before = tree(backup)
        for number in range(6):
            for name in os.listdir(os.path.join(self.filled, str(number))):
                path = os.path.join(self.filled, str(number), name)
                os.utime(path, (2e9, 2e9))
        self.simulator.ctl("latency", 3)
        status, _, err, delay = self.unplug_while(
            ["rsync", "-a", "--delete", os.path.join(self.volume, "filled") + "/", backup + "/"])
        self.assertNotEqual(status, 0)
        self.assertLess(delay, 1.0 * PATIENCE)
        self.assertNotIn("No such file", err)
        self.assertEqual(tree(backup), before)

    def test_with_files_and_folders_held_open(self):
        path = os.path.join(self.volume, "filled", "0", "1.bin")
        handle = os.open(path, os.O_RDONLY)
        self.simulator.ctl("detach", self.udid)
        self.quillbox.wait_gone("Blue Phone (Media)")
        with self.assertRaises(OSError) as caught:
            os.read(handle, 10)
        self.assertEqual(caught.exception.errno, errno.EIO)
        self.check_comes_back()
        with self.assertRaises(OSError):
            os.read(handle, 10)
        try:
            os.close(handle)
        except OSError as error:
            self.assertEqual(error.errno, errno.EIO)
        self.assertEqual(sha256(path), sha256(os.path.join(self.filled, "0", "1.bin")))

    def test_twenty_times_in_a_row(self):
        for _ in range(20):
            self.simulator.ctl("detach", self.udid)
            self.quillbox.wait_gone("Blue Phone (Media)")
            self.simulator.ctl("attach", self.udid)
            self.quillbox.wait_mounted("Blue Phone (Media)", 2)

    def test_plugged_in_again_at_once_it_gets_its_own_name_again(self):
        self.simulator.ctl("detach", self.udid)
        self.simulator.ctl("attach", self.udid)
        wait_for(lambda: self.answers(), 3 * PATIENCE, "the volume answers again")
        self.assertEqual(os.listdir(self.quillbox.volumes), ["Blue Phone (Media)"])

    def answers(self):
        try:
            return is_mounted(self.volume) and len(os.listdir(os.path.join(self.volume, "filled"))) == 6
        except OSError:
            return False


class ConnectionLost(DeviceTest):
    """The device stays attached and its connections end."""

    def setUp(self):
        super().setUp()
        self.start()
        self.path = os.path.join(self.media, "file")
        random_file(self.path, 500_000)

    def test_the_volume_works_again_by_itself_and_the_open_file_fails(self):
        path = os.path.join(self.volume, "file")
        with open(path, "rb", buffering=0) as file:
            self.assertEqual(len(file.read(1000)), 1000)
            self.simulator.ctl("drop-connections", self.simulator.udids[0])
            wait_for(self.works, 2.0 * PATIENCE, "the volume works again")
            with self.assertRaises(OSError) as caught:
                os.pread(file.fileno(), 100_000, 400_000)
            self.assertEqual(caught.exception.errno, errno.EIO)
        self.assertEqual(sha256(path), sha256(self.path))
        self.assertTrue(is_mounted(self.volume))

    def works(self):
        try:
            return "file" in os.listdir(self.volume) and os.stat(
                os.path.join(self.volume, "file")).st_size == 500_000
        except OSError as error:
            self.assertNotEqual(error.errno, errno.ENOENT)
            return False

    def test_a_write_that_was_under_way_fails_and_is_not_sent_twice(self):
        path = os.path.join(self.volume, "log")
        with open(path, "wb", buffering=0) as file:
            file.write(b"one")
            os.fsync(file.fileno())
            self.simulator.ctl("drop-connections", self.simulator.udids[0])
            with self.assertRaises(OSError) as caught:
                for _ in range(3):
                    file.write(b"two")
                os.fsync(file.fileno())
            self.assertEqual(caught.exception.errno, errno.EIO)
        with open(os.path.join(self.media, "log"), "rb") as file:
            self.assertEqual(file.read(), b"one")


class Stalled(DeviceTest):
    """A device that stops answering holds up nobody but itself."""

    DEVICES = ("--devices", "3", "--sample", "--no-afc2")

    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator()
        self.quillbox = self.start_quillbox(self.simulator)
        wait_for(lambda: self.mounted() == 3, 10 * PATIENCE, "three volumes")

    def mounted(self):
        return sum(is_mounted(os.path.join(self.quillbox.volumes, name))
                   for name in os.listdir(self.quillbox.volumes))

    def volume_of(self, index):
        """Finds a device's volume by a mark that is put into its media area."""
        mark = f"mark {index}"
        open(os.path.join(self.simulator.media(index), mark), "w").close()
        return next(path for path in (os.path.join(self.quillbox.volumes, name) for name in
                                      os.listdir(self.quillbox.volumes))
                    if os.path.exists(os.path.join(path, mark)))

    def test_the_others_go_on_and_the_program_ends_on_request(self):
        stalled, other = self.volume_of(0), self.volume_of(1)
        self.simulator.ctl("stall", self.simulator.udids[0])
        hanging = subprocess.Popen(["ls", "-l", stalled], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE)
        time.sleep(0.3)
        self.assertIsNone(hanging.poll())
        random_file(os.path.join(other, "written meanwhile"), 2_000_000)
        self.assertEqual(sha256(os.path.join(other, "written meanwhile")),
                         sha256(os.path.join(self.simulator.media(1), "written meanwhile")))
        started = time.monotonic()
        self.assertEqual(self.quillbox.terminate(8), 0)
        self.assertLess(time.monotonic() - started, 6 * PATIENCE)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])
        hanging.communicate(timeout=5)
        self.assertNotEqual(hanging.returncode, 0)

    def test_a_stalled_device_can_be_pulled_out(self):
        stalled = self.volume_of(0)
        self.simulator.ctl("stall", self.simulator.udids[0])
        hanging = subprocess.Popen(["ls", "-l", stalled], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE, text=True)
        time.sleep(0.3)
        self.simulator.ctl("detach", self.simulator.udids[0])
        _, err = hanging.communicate(timeout=2 * PATIENCE)
        self.assertIn("Input/output error", err)
        wait_for(lambda: not is_mounted(stalled) and not os.path.lexists(stalled), 2.5, "it is gone")

    def test_a_device_that_stalls_in_its_arrival(self):
        self.simulator.ctl("detach", self.simulator.udids[0])
        wait_for(lambda: len(os.listdir(self.quillbox.volumes)) == 2, 3, "it is gone")
        self.simulator.ctl("stall", self.simulator.udids[0])
        self.simulator.ctl("attach", self.simulator.udids[0])
        time.sleep(0.5)
        self.simulator.ctl("detach", self.simulator.udids[1])
        wait_for(lambda: len(os.listdir(self.quillbox.volumes)) == 1, 3 * PATIENCE, "the second left")
        self.simulator.ctl("attach", self.simulator.udids[1])
        wait_for(lambda: self.mounted() == 2, 3 * PATIENCE, "the second is back")
        other = self.volume_of(1)
        self.assertIn("DCIM", os.listdir(other))
        self.simulator.ctl("resume", self.simulator.udids[0])
        wait_for(lambda: self.mounted() == 3, 10 * PATIENCE, "the first came after all")

    def test_the_program_ends_while_a_device_stalls_in_its_arrival(self):
        self.simulator.ctl("detach", self.simulator.udids[0])
        wait_for(lambda: len(os.listdir(self.quillbox.volumes)) == 2, 3, "it is gone")
        self.simulator.ctl("stall", self.simulator.udids[0])
        self.simulator.ctl("attach", self.simulator.udids[0])
        time.sleep(0.5)
        self.assertEqual(self.quillbox.terminate(8), 0)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])


if __name__ == "__main__":
    unittest.main()
