# SPDX-License-Identifier: GPL-3.0-or-later
"""The example programs do what they say, on the simulated device."""

import os

from harness import DeviceTest, program, run, sha256

FILES = "quillbox-afc-files"
TREE = "quillbox-path-tree"
FIRST, SECOND = "QB0000000001", "QB0000000002"  # the simulator numbers its devices


class ExamplesTest(DeviceTest):
    DEVICES = ("--devices", "1", "--no-afc2")

    def use(self, name, *words, status=0):
        """Runs an example; answers its standard output, after a look at its status and its complaint."""
        environment = self.simulator.environment if hasattr(self, "simulator") else os.environ
        done = run(program(name), *words, check=False, env=dict(environment))
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        if status == 0:
            self.assertEqual(done.stderr, "")
        else:
            self.assertEqual(done.stdout, "")
            self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        return done.stdout if status == 0 else done.stderr

    def attach(self, *options):
        self.simulator = self.start_simulator(*options)
        self.media = self.simulator.media()
        for folder in ("DCIM/100APPLE", "Books"):
            os.makedirs(os.path.join(self.media, folder), exist_ok=True)
        self.write("DCIM/100APPLE/IMG_0001.JPG", os.urandom(3_000_001))
        self.write("notes.txt", b"twelve bytes")
        self.write("empty", b"")

    def write(self, path, content):
        with open(os.path.join(self.media, path), "wb") as file:
            file.write(content)

    def test_help_and_bad_usage(self):
        for name in (FILES, TREE):
            self.assertIn(f"Usage: {name}", self.use(name, "--help"))
            for words in ((), ("nonsense",), ("--device",), ("--device", "X"), ("--wait", "soon", "device"),
                          ("--wait=", "identify"), ("device", "/", "more"), ("local",), ("list",),
                          ("fetch", "/a"), ("identify", "more"), ("--depth", "0", "local", "/")):
                self.use(name, *words, status=2)

    def test_the_record_of_a_device_is_the_devices(self):
        self.attach()
        lines = dict(line.split(": ") for line in self.use(FILES, "identify").splitlines())
        self.assertEqual(lines["serial number"], FIRST)
        self.assertEqual(int(lines["model number"]), 0x12A8)
        self.assertGreater(int(lines["number"]), 0)

    def test_a_folder_is_listed_folders_first(self):
        self.attach()
        lines = self.use(FILES, "list", "/").splitlines()
        self.assertIn("Books/", lines)
        self.assertIn("DCIM/", lines)
        self.assertEqual(lines[-2:], ["empty  0", "notes.txt  12"])
        self.assertEqual(self.use(FILES, "list", "/DCIM/100APPLE"), "IMG_0001.JPG  3000001\n")
        self.assertEqual(self.use(FILES, "list", "/Books"), "")
        self.use(FILES, "list", "/missing", status=1)

    def test_files_are_fetched_whole(self):
        self.attach()
        for path in ("DCIM/100APPLE/IMG_0001.JPG", "notes.txt", "empty"):
            local = self.local("fetched")
            self.use(FILES, "fetch", "/" + path, local)
            self.assertEqual(sha256(local), sha256(os.path.join(self.media, path)))

    def test_what_cannot_be_fetched_leaves_nothing(self):
        self.attach()
        local = self.local("nothing")
        for path in ("/missing", "/DCIM"):
            self.use(FILES, "fetch", path, local, status=1)
        self.assertFalse(os.path.exists(local))
        self.use(FILES, "fetch", "/notes.txt", "/nowhere/at/all", status=1)

    def test_the_device_is_chosen_by_its_serial_number(self):
        self.attach("--devices", "2", "--no-afc2")
        for serial in (FIRST, SECOND):
            self.assertIn(f"serial number: {serial}\n", self.use(FILES, "--device", serial, "identify"))
        self.assertIn("no such device",
                      self.use(FILES, "--device", "NOBODY", "--wait", "1", "identify", status=1))

    def test_a_local_folder_is_printed_as_a_tree(self):
        os.makedirs(self.local("top", "b", "deep"))
        with open(self.local("top", "a.txt"), "w", encoding="utf-8") as file:
            file.write("seven..")
        os.symlink("..", self.local("top", "b", "up"))
        top = os.path.dirname(self.local("top", "x"))
        self.assertEqual(self.use(TREE, "local", top),
                         f"{top}\n  a.txt  7\n  b/\n    deep/\n    up@\n2 folders, 2 files\n")
        self.assertEqual(self.use(TREE, "--depth", "1", "local", top),
                         f"{top}\n  a.txt  7\n  b/\n1 folder, 1 file\n")
        complaint = self.use_raw(TREE, "local", top + "/missing")
        self.assertIn("ERROR getting info for item: " + top + "/missing", complaint)

    def use_raw(self, name, *words):
        done = run(program(name), *words, check=False)
        self.assertEqual(done.returncode, 1)
        return done.stderr

    def test_a_device_folder_is_printed_as_a_tree(self):
        self.attach()
        self.assertEqual(self.use(TREE, "device", "/DCIM"),
                         "/DCIM\n  100APPLE/\n    IMG_0001.JPG  3000001\n1 folder, 1 file\n")
        whole = self.use(TREE, "--device=" + FIRST, "device")
        self.assertTrue(whole.startswith("/\n"))
        self.assertIn("  DCIM/\n    100APPLE/\n      IMG_0001.JPG  3000001\n", whole)
        self.assertIn("  notes.txt  12\n", whole)
        self.use(TREE, "device", "/notes.txt", status=1)

    def test_without_a_device_they_say_so(self):
        self.attach("--devices", "1", "--detached")
        self.assertIn("no such device", self.use(FILES, "--wait", "1", "list", "/", status=1))
        self.assertIn("no such device", self.use(TREE, "--wait", "1", "device", status=1))
