# SPDX-License-Identifier: GPL-3.0-or-later
"""One request fails: whoever asked is told, and no copy that is not whole ends well.

Each test counts the requests of a small job, then runs the job once for every one of them with exactly
that request failing. A status of 0 is allowed only where the result is right and whole.
"""

import errno
import itertools
import os
import shutil
import unittest

from everyday_test import random_file
from harness import DeviceTest, run, tree


class EachRequestFails(DeviceTest):
    STATUS = 20  # an I/O error in the device's words

    def setUp(self):
        super().setUp()
        self.start("--devices", "1", "--no-afc2")
        self.udid = self.simulator.udids[0]

    def fill(self, folder):
        os.makedirs(os.path.join(folder, "inner", "empty"))
        random_file(os.path.join(folder, "a"), 10, 1)
        random_file(os.path.join(folder, "inner", "b"), 300_000, 2)
        os.symlink("a", os.path.join(folder, "link"))
        for path in ("a", "inner/b", "inner/empty", "inner"):
            os.utime(os.path.join(folder, path), (1.5e9, 1.5e9))
        return folder

    def every_request(self, prepare, job, is_whole):
        prepare()
        self.simulator.ctl("counters", "reset")
        self.assertEqual(job().returncode, 0)
        self.assertTrue(is_whole(), "without a fault the job is not done")
        total = self.simulator.counters()["total"]
        self.assertGreater(total, 5)
        reported = 0
        for n in range(1, total + 1):
            prepare()
            self.simulator.ctl("fail-nth", "any", n, self.STATUS, "--device", self.udid)
            done = job()
            self.simulator.ctl("clear-faults")
            if done.returncode == 0:
                self.assertTrue(is_whole(), f"request {n} of {total} failed, the job ended with 0, and "
                                            f"its result is wrong")
            else:
                reported += 1
                self.assertNotIn("No such file", done.stderr, f"request {n} of {total}")
        self.assertGreater(reported, 0)

    def copy_job(self, source, target, *command):
        def prepare():
            shutil.rmtree(target, ignore_errors=True)

        return prepare, lambda: run(*command, check=False), \
            lambda: os.path.isdir(target) and tree(target) == tree(source)

    def test_cp_off_the_volume(self):
        source = self.fill(os.path.join(self.media, "source"))
        target = self.local("target")
        self.every_request(*self.copy_job(source, target, "cp", "-r",
                                          os.path.join(self.volume, "source"), target))

    def test_cp_onto_the_volume(self):
        source = self.fill(self.local("source"))
        names = (f"target{number}" for number in itertools.count())
        target = {}

        def prepare():
            # A new one each time: what was there a moment ago may still be known for a moment.
            target["name"] = next(names)

        self.every_request(prepare, lambda: run("cp", "-r", source, os.path.join(
            self.volume, target["name"]), check=False), lambda: os.path.isdir(
                os.path.join(self.media, target["name"])) and tree(os.path.join(
                    self.media, target["name"])) == tree(source))

    def test_rsync_off_the_volume_with_delete(self):
        source = self.fill(os.path.join(self.media, "source"))
        target = self.local("target")
        keep = self.fill(self.local("keep"))

        def prepare():
            shutil.rmtree(target, ignore_errors=True)
            shutil.copytree(keep, target, symlinks=True)
            os.remove(os.path.join(target, "a"))

        def job():
            done = run("rsync", "-a", "--delete", os.path.join(self.volume, "source") + "/",
                       target + "/", check=False)
            self.assertTrue(os.path.exists(os.path.join(target, "inner", "b")),
                            "rsync deleted a file that the device still holds")
            return done

        self.every_request(prepare, job, lambda: tree(target) == tree(source))

    def test_rsync_onto_the_volume_with_delete(self):
        source = self.fill(self.local("source"))
        target = os.path.join(self.media, "target")

        def prepare():
            shutil.rmtree(target, ignore_errors=True)
            os.makedirs(os.path.join(target, "inner"))
            random_file(os.path.join(target, "surplus"), 10, 3)

        self.every_request(prepare, lambda: run("rsync", "-a", "--delete", source + "/", os.path.join(
            self.volume, "target") + "/", check=False), lambda: tree(target) == tree(source))

    def test_find(self):
        source = self.fill(os.path.join(self.media, "source"))
        expected = sorted(run("find", "source", "-printf", "%p %y\n", cwd=self.media).stdout.splitlines())
        shown = {}

        def job():
            done = run("find", "source", "-printf", "%p %y\n", cwd=self.volume, check=False)
            shown["lines"] = sorted(done.stdout.splitlines())
            return done

        self.assertTrue(source)
        self.every_request(lambda: None, job, lambda: shown["lines"] == expected)

    def test_rm(self):
        target = os.path.join(self.media, "target")

        def prepare():
            shutil.rmtree(target, ignore_errors=True)
            self.fill(target)

        self.every_request(prepare, lambda: run("rm", "-r", os.path.join(self.volume, "target"),
                                                check=False), lambda: not os.path.lexists(target))


class EachAnswerArrives(DeviceTest):
    """The device's word for a failure reaches the program that asked as the host's."""

    ERRNO = {1: errno.EIO, 4: errno.EIO, 5: errno.EIO, 7: errno.EIO, 9: errno.EISDIR,
             10: errno.EACCES, 12: errno.ETIMEDOUT, 15: errno.EIO, 16: errno.EEXIST, 17: errno.EBUSY,
             18: errno.ENOSPC, 20: errno.EIO, 23: errno.EIO, 30: errno.EIO, 33: errno.ENOTEMPTY}

    def setUp(self):
        super().setUp()
        self.start("--devices", "1", "--no-afc2")
        self.udid = self.simulator.udids[0]
        random_file(os.path.join(self.media, "file"), 5000)
        os.mkdir(os.path.join(self.media, "folder"))
        self.path = os.path.join(self.volume, "file")

    def failing(self, kind, status, action):
        self.simulator.ctl("fail", kind, 1000, status, "--device", self.udid)
        try:
            action()
        except OSError as error:
            return error.errno
        finally:
            self.simulator.ctl("clear-faults")
        return 0

    def check(self, kind, action, expected=None):
        for status, number in self.ERRNO.items():
            with self.subTest(kind=kind, status=status):
                self.assertEqual(self.failing(kind, status, action), expected or number)

    def test_attributes(self):
        self.check("file-info", lambda: os.stat(self.path))
        self.assertEqual(self.failing("file-info", 8, lambda: os.stat(self.path)), errno.ENOENT)

    def test_listing(self):
        self.check("read-directory", lambda: os.listdir(os.path.join(self.volume, "folder")))

    def test_opening(self):
        self.check("open", lambda: os.close(os.open(self.path, os.O_RDONLY)))

    def test_creating(self):
        self.check("open", lambda: os.close(os.open(self.path + "2", os.O_CREAT | os.O_WRONLY)))

    def test_reading(self):
        def read():
            handle = os.open(self.path, os.O_RDONLY)
            try:
                os.read(handle, 100)
            finally:
                os.close(handle)
        self.check("read", read)

    def test_writing(self):
        def write():
            handle = os.open(self.path, os.O_WRONLY)
            try:
                os.write(handle, b"x")
            finally:
                os.close(handle)
        self.check("write", write)

    def test_making_a_folder(self):
        self.check("make-directory", lambda: os.mkdir(os.path.join(self.volume, "new")))

    def test_renaming(self):
        self.check("rename", lambda: os.rename(self.path, self.path + "2"))

    def test_setting_a_size(self):
        self.check("truncate", lambda: os.truncate(self.path, 10))

    def test_setting_a_date(self):
        self.check("set-time", lambda: os.utime(self.path, (1e9, 1e9)))

    def test_a_failed_removal_and_a_failed_link_are_not_supported(self):
        self.check("remove", lambda: os.remove(self.path), expected=errno.ENOTSUP)
        self.check("link", lambda: os.symlink("x", self.path + ".link"), expected=errno.ENOTSUP)
        self.check("link", lambda: os.link(self.path, self.path + ".hard"), expected=errno.ENOTSUP)

    def test_an_error_is_that_file_s_error_only(self):
        self.simulator.ctl("fail", "write", 1, 5, "--device", self.udid)
        with self.assertRaises(OSError):
            with open(self.path, "wb", buffering=0) as file:
                file.write(b"x")
        with open(self.path + "2", "wb") as file:
            file.write(b"fine")
        with open(os.path.join(self.media, "file2"), "rb") as file:
            self.assertEqual(file.read(), b"fine")


if __name__ == "__main__":
    unittest.main()
