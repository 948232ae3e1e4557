# SPDX-License-Identifier: GPL-3.0-or-later
"""A device that lies."""

import os
import unittest

from harness import PATIENCE, DeviceTest, is_mounted, run, wait_for

BROKEN_ANSWERS = ["wrong-magic", "short", "oversized", "truncated-close", "other-number",
                  "wrong-operation", "data-for-status", "endless-list", "odd-list", "unterminated-list"]


class Hostile(DeviceTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.udid = self.simulator.udids[0]
        with open(os.path.join(self.media, "file"), "wb") as file:
            file.write(b"0123456789" * 1000)

    def content(self):
        with open(os.path.join(self.volume, "file"), "rb") as file:
            return file.read()

    def recovers(self):
        def good():
            try:
                return self.content() == b"0123456789" * 1000 and "file" in os.listdir(self.volume)
            except OSError:
                return False

        wait_for(good, 5 * PATIENCE, "the volume works again")
        self.assertIsNone(self.quillbox.process.poll())
        self.assertTrue(is_mounted(self.volume))

    def test_every_broken_answer_to_every_kind_of_request(self):
        requests = {
            "file-info": lambda: os.stat(os.path.join(self.volume, "file")),
            "read-directory": lambda: os.listdir(self.volume),
            "open": self.content,
            "read": self.content,
            "seek": self.content,
            "write": lambda: open(os.path.join(self.volume, "other"), "wb").write(b"x"),
            "make-directory": lambda: os.mkdir(os.path.join(self.volume, "folder")),
            "remove": lambda: os.remove(os.path.join(self.volume, "other")),
            "rename": lambda: os.rename(os.path.join(self.volume, "other"),
                                        os.path.join(self.volume, "third")),
        }
        for kind, request in requests.items():
            for variant in BROKEN_ANSWERS:
                with self.subTest(kind=kind, variant=variant):
                    open(os.path.join(self.media, "other"), "wb").close()
                    for name in ("folder", "third"):
                        path = os.path.join(self.media, name)
                        if os.path.isdir(path):
                            os.rmdir(path)
                        elif os.path.exists(path):
                            os.remove(path)
                    self.simulator.ctl("malformed", kind, 1, variant, "--device", self.udid)
                    try:
                        request()
                    except OSError as error:
                        self.assertNotEqual(str(error), "")
                    self.simulator.ctl("clear-faults")
                    self.recovers()

    def test_names_that_lead_elsewhere_never_reach_a_program(self):
        for variant in ("names-slash", "names-nul", "names-empty", "names-dotdot"):
            with self.subTest(variant=variant):
                self.simulator.ctl("malformed", "read-directory", 1, variant, "--device", self.udid)
                names = os.listdir(self.volume)
                self.assertEqual(len(names), len(set(names)))
                for name in names:
                    self.assertNotIn("/", name)
                    self.assertNotIn("\0", name)
                    self.assertNotIn(name, ("", ".", ".."))
                self.recovers()

    def test_a_hundred_thousand_entries(self):
        self.simulator.ctl("malformed", "read-directory", 1, "entries-100000", "--device", self.udid)
        names = os.listdir(self.volume)
        self.assertGreaterEqual(len(names), 100_000)
        self.recovers()

    def test_links_that_lead_out_of_the_volume_are_only_links(self):
        os.symlink("../../../../etc/passwd", os.path.join(self.media, "out"))
        self.assertEqual(os.readlink(os.path.join(self.volume, "out")), "../../../../etc/passwd")
        target = self.local("copy")
        os.makedirs(target)
        run("cp", "-a", os.path.join(self.volume, "out"), target)
        self.assertTrue(os.path.islink(os.path.join(target, "out")))


class Sparing(DeviceTest):
    """A device that gives little at a time, which looks like the end of a file."""

    DEVICES = DeviceTest.DEVICES + ("--longest-read", "50000")

    def test_no_copy_is_cut(self):
        self.start()
        content = os.urandom(3_000_000)
        for name in ("first", "second", "third", "fourth"):
            with open(os.path.join(self.media, name), "wb") as file:
                file.write(content)
        for copy in (["cp"], ["dd", "bs=4k"], ["dd", "bs=1M"], ["rsync"]):
            for name in ("first", "second", "third", "fourth"):
                with self.subTest(copy=copy[0], name=name):
                    source, target = os.path.join(self.volume, name), self.local(name)
                    run(*copy, *([f"if={source}", f"of={target}"] if copy[0] == "dd" else [source, target]))
                    with open(target, "rb") as file:
                        self.assertTrue(file.read() == content)
                    os.remove(target)


if __name__ == "__main__":
    unittest.main()
