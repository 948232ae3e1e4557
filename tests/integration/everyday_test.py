# SPDX-License-Identifier: GPL-3.0-or-later
"""What people do with a volume all day, through the tools they use."""

import errno
import hashlib
import mmap
import os
import random
import subprocess
import time
import unittest

from harness import DeviceTest, run, sha256, tree

ODD_NAMES = ["ä ö ü", "日本語のファイル", "עברית", "العربية", "e\u0301 combining", "🦊🌲", " leading", "trailing ",
             "back\\slash", "new\nline", "co:lon", "quo\"te'", "*?[]", "-dash", "…", "x" * 255,
             "ü" * 127]


def random_file(path, size, seed=1):
    generator = random.Random(seed)
    with open(path, "wb") as file:
        left = size
        while left > 0:
            block = generator.randbytes(min(left, 1 << 20))
            file.write(block)
            left -= len(block)
    return path


CAPACITY = 64 << 30


class ReadingTools(DeviceTest):
    DEVICES = DeviceTest.DEVICES + ("--capacity", str(CAPACITY))

    def setUp(self):
        super().setUp()
        self.start()

    def test_ls_and_find_show_exactly_what_the_device_holds(self):
        run("ls", "-laR", self.volume)
        found = run("find", ".", "-print0", cwd=self.volume).stdout
        expected = run("find", ".", "-print0", cwd=self.media).stdout
        self.assertEqual(sorted(found.split("\0")), sorted(expected.split("\0")))

    def test_copying_everything_off_the_volume_gives_the_same_bytes(self):
        target = self.local("copy")
        os.makedirs(target)
        run("cp", "-r", os.path.join(self.volume, "DCIM"), target)
        self.assertEqual(tree(os.path.join(target, "DCIM")), tree(os.path.join(self.media, "DCIM")))

    def test_tar_off_the_volume_holds_every_file(self):
        archive = self.local("dcim.tar")
        run("tar", "-C", self.volume, "-cf", archive, "DCIM")
        target = self.local("untarred")
        os.makedirs(target)
        run("tar", "-C", target, "-xf", archive)
        self.assertEqual(tree(os.path.join(target, "DCIM")), tree(os.path.join(self.media, "DCIM")))

    def test_gio_copy_off_the_volume(self):
        picture = next(os.path.join(place, name) for place, _, files in os.walk(
            os.path.join(self.volume, "DCIM")) for name in sorted(files) if name.endswith(".JPG"))
        target = self.local("picture.jpg")
        run("gio", "copy", picture, target)
        self.assertEqual(sha256(target), sha256(picture.replace(self.volume, self.media)))

    def test_modes_and_times_are_the_volume_s_own(self):
        path = os.path.join(self.media, "dated")
        with open(path, "w") as file:
            file.write("x")
        os.utime(path, ns=(0, 1_234_567_890_987_654_321))
        status = os.stat(os.path.join(self.volume, "dated"))
        self.assertEqual(status.st_mode, 0o100666)
        self.assertEqual(status.st_mtime_ns, 1_234_567_890_000_000_000)
        self.assertEqual(status.st_blksize, 1 << 20)
        self.assertEqual(os.stat(os.path.join(self.volume, "DCIM")).st_mode, 0o40777)

    def test_df_shows_the_rescaled_sizes(self):
        figures = os.statvfs(self.volume)
        total = figures.f_blocks * figures.f_frsize
        self.assertGreater(total, 0)
        shown = run("df", "-B1", "--output=size,avail", self.volume).stdout.split("\n")[1].split()
        self.assertEqual(int(shown[0]), total)
        expected = int(CAPACITY / 1073741824.0 * 1000000000.0)
        self.assertLess(abs(total - expected), figures.f_frsize)

    def test_extended_attributes_are_not_supported(self):
        done = run("getfattr", "-n", "user.x", os.path.join(self.volume, "DCIM"), check=False)
        self.assertIn("Operation not supported", done.stderr)
        with self.assertRaises(OSError) as caught:
            os.getxattr(os.path.join(self.volume, "DCIM"), "user.x")
        self.assertEqual(caught.exception.errno, errno.ENOTSUP)

    def test_a_missing_name_is_missing(self):
        with self.assertRaises(FileNotFoundError):
            os.stat(os.path.join(self.volume, "no such thing"))

    def test_the_desktop_s_trash_probe_asks_the_device_nothing(self):
        self.simulator.ctl("counters", "reset")
        for name in (".Trash", f".Trash-{os.getuid()}"):
            self.assertFalse(os.path.exists(os.path.join(self.volume, name)))
        self.assertEqual(self.simulator.counters().get("file-info", 0), 0)

    def test_the_volume_information_file_is_found_but_not_listed(self):
        with open(os.path.join(self.volume, ".xdg-volume-info")) as file:
            text = file.read()
        self.assertIn("[Volume Info]", text)
        self.assertIn("Name=Blue Phone (Media)\n", text)
        self.assertNotIn(".xdg-volume-info", os.listdir(self.volume))
        self.assertFalse(os.path.exists(os.path.join(self.media, ".xdg-volume-info")))


class WritingTools(DeviceTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.there = os.path.join(self.volume, "work")
        self.behind = os.path.join(self.media, "work")
        os.mkdir(self.there)

    def test_a_tree_with_odd_names_goes_there_and_back(self):
        source = self.local("odd", "x")
        source = os.path.dirname(source)
        for number, name in enumerate(ODD_NAMES):
            folder = os.path.join(source, f"{number}")
            os.mkdir(folder)
            random_file(os.path.join(folder, name), number * 1000, seed=number)
        run("cp", "-r", source, self.there)
        self.assertEqual(tree(os.path.join(self.behind, "odd")), tree(source))
        back = self.local("back")
        run("cp", "-r", os.path.join(self.there, "odd"), back)
        self.assertEqual(tree(back), tree(source))
        run("rm", "-r", os.path.join(self.there, "odd"))
        self.assertEqual(os.listdir(self.behind), [])

    def test_a_shorter_file_over_a_longer_one_leaves_exactly_the_shorter(self):
        long = random_file(self.local("long"), 3_000_000)
        short = random_file(self.local("short"), 1_234, seed=2)
        target = os.path.join(self.there, "file")
        run("cp", long, target)
        self.assertEqual(sha256(os.path.join(self.behind, "file")), sha256(long))
        run("cp", short, target)
        self.assertEqual(os.stat(os.path.join(self.behind, "file")).st_size, 1_234)
        self.assertEqual(sha256(target), sha256(short))

    def test_truncate_to_any_size(self):
        target = os.path.join(self.there, "file")
        for size in (0, 1, 4096, 1_000_003, 17, 5 << 30, 3):
            run("truncate", "-s", str(size), target)
            self.assertEqual(os.stat(target).st_size, size)
            self.assertEqual(os.stat(os.path.join(self.behind, "file")).st_size, size)

    def test_touch_sets_the_date_on_the_device(self):
        target = os.path.join(self.there, "file")
        run("touch", "-d", "2001-02-03 04:05:06 UTC", target)
        self.assertEqual(os.stat(os.path.join(self.behind, "file")).st_mtime, 981173106)
        self.assertEqual(os.stat(target).st_mtime, 981173106)
        before = time.time()
        run("touch", target)
        self.assertGreaterEqual(os.stat(target).st_mtime, int(before))

    def test_the_date_of_a_link_is_not_the_date_of_its_target(self):
        run("cp", random_file(self.local("a"), 100), os.path.join(self.there, "a"))
        run("touch", "-d", "2001-02-03 UTC", os.path.join(self.there, "a"))
        os.symlink("a", os.path.join(self.there, "link"))
        run("touch", "-h", "-d", "2011-01-01 UTC", os.path.join(self.there, "link"))
        self.assertEqual(os.stat(os.path.join(self.behind, "a")).st_mtime, 981158400)

    def test_moving_linking_and_reading_links(self):
        run("cp", random_file(self.local("a"), 100), os.path.join(self.there, "a"))
        run("mkdir", "-p", os.path.join(self.there, "deep", "er"))
        run("mv", os.path.join(self.there, "a"), os.path.join(self.there, "deep", "er", "b"))
        self.assertFalse(os.path.exists(os.path.join(self.there, "a")))
        run("ln", "-s", "deep/er/b", os.path.join(self.there, "link"))
        self.assertEqual(run("readlink", os.path.join(self.there, "link")).stdout, "deep/er/b\n")
        self.assertEqual(os.readlink(os.path.join(self.behind, "link")), "deep/er/b")
        self.assertEqual(sha256(os.path.join(self.there, "link")), sha256(self.local("a")))
        run("ln", os.path.join(self.there, "deep", "er", "b"), os.path.join(self.there, "hard"))
        self.assertTrue(os.path.samefile(os.path.join(self.behind, "deep", "er", "b"),
                                         os.path.join(self.behind, "hard")))
        self.assertEqual(os.stat(os.path.join(self.there, "hard")).st_nlink, 2)
        self.assertTrue(os.path.samefile(os.path.join(self.there, "deep", "er", "b"),
                                         os.path.join(self.there, "hard")))

    def test_a_second_rsync_transfers_nothing(self):
        source = os.path.dirname(self.local("tree", "x"))
        for number in range(20):
            random_file(os.path.join(source, f"file {number}"), 10_000 * number, seed=number)
            os.utime(os.path.join(source, f"file {number}"), (1e9 + number, 1e9 + number))
        os.mkdir(os.path.join(source, "folder"))
        random_file(os.path.join(source, "folder", "inside"), 77)
        os.symlink("file 3", os.path.join(source, "link"))
        run("rsync", "-a", source + "/", self.there + "/")
        self.assertEqual(tree(self.behind), tree(source))
        second = run("rsync", "-a", "-i", "--stats", source + "/", self.there + "/").stdout
        self.assertIn("Number of regular files transferred: 0", second)

    def test_rsync_off_the_volume_twice_transfers_nothing(self):
        target = os.path.dirname(self.local("backup", "x"))
        run("rsync", "-a", os.path.join(self.volume, "DCIM") + "/", target + "/")
        second = run("rsync", "-a", "--stats", os.path.join(self.volume, "DCIM") + "/",
                     target + "/").stdout
        self.assertIn("Number of regular files transferred: 0", second)
        self.assertEqual(tree(target), tree(os.path.join(self.media, "DCIM")))

    def test_dd_in_every_block_size(self):
        source = random_file(self.local("data"), 3_000_001)
        for block in ("512", "4k", "128k", "1M", "7777"):
            target = os.path.join(self.there, "dd-" + block)
            run("dd", f"if={source}", f"of={target}", f"bs={block}")
            self.assertEqual(sha256(os.path.join(self.behind, "dd-" + block)), sha256(source))
            back = self.local("back-" + block)
            run("dd", f"if={target}", f"of={back}", f"bs={block}")
            self.assertEqual(sha256(back), sha256(source))

    def test_dd_writes_into_the_middle_without_cutting(self):
        source = random_file(self.local("data"), 100_000)
        target = os.path.join(self.there, "file")
        run("cp", source, target)
        run("dd", "if=/dev/zero", f"of={target}", "bs=1000", "seek=50", "count=1", "conv=notrunc")
        with open(source, "r+b") as file:
            file.seek(50_000)
            file.write(bytes(1000))
        self.assertEqual(sha256(target), sha256(source))

    def test_gio_copy_onto_the_volume(self):
        source = random_file(self.local("data"), 2_500_000)
        target = os.path.join(self.there, "by gio")
        run("gio", "copy", source, target)
        self.assertEqual(sha256(os.path.join(self.behind, "by gio")), sha256(source))

    def test_tar_onto_the_volume(self):
        source = os.path.dirname(self.local("tree", "x"))
        for number in range(30):
            random_file(os.path.join(source, str(number)), 5_000, seed=number)
        archive = self.local("tree.tar")
        run("tar", "-C", source, "-cf", archive, ".")
        run("tar", "-C", self.there, "-xf", archive)
        self.assertEqual(tree(self.behind), tree(source))

    def test_a_sparse_file_of_5_gib_comes_back_the_same(self):
        source = self.local("sparse")
        with open(source, "wb") as file:
            file.truncate(5 << 30)
            for place in (0, (4 << 30) - 5, 4 << 30, (5 << 30) - 10):
                file.seek(place)
                file.write(b"0123456789")
        target = os.path.join(self.there, "sparse")
        with open(target, "wb") as file:
            file.truncate(5 << 30)
            for place in (0, (4 << 30) - 5, 4 << 30, (5 << 30) - 10):
                file.seek(place)
                file.write(b"0123456789")
        self.assertEqual(os.stat(os.path.join(self.behind, "sparse")).st_size, 5 << 30)
        wanted = subprocess.Popen(["sha256sum", source], stdout=subprocess.PIPE, text=True)
        got = run("sha256sum", target, seconds=300).stdout.split()[0]
        self.assertEqual(got, wanted.communicate()[0].split()[0])

    def test_sizes_around_4_gib(self):
        for size in ((4 << 30) - 1, 4 << 30, (4 << 30) + 1):
            target = os.path.join(self.there, "big")
            run("truncate", "-s", str(size - 3), target)
            with open(target, "ab") as file:
                file.write(b"end")
            self.assertEqual(os.stat(target).st_size, size)
            with open(target, "rb") as file:
                file.seek(size - 4)
                self.assertEqual(file.read(), b"\0end")
            os.remove(target)


class LikeALocalDisk(DeviceTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.there = os.path.join(self.volume, "work")
        self.behind = os.path.join(self.media, "work")
        os.mkdir(self.there)
        self.path = os.path.join(self.there, "file")

    def write(self, content):
        with open(self.path, "wb") as file:
            file.write(content)

    def content(self, name="file"):
        with open(os.path.join(self.behind, name), "rb") as file:
            return file.read()

    def test_appending(self):
        self.write(b"one ")
        run("sh", "-c", f"printf two >> '{self.path}'; printf ' three' >> '{self.path}'")
        self.assertEqual(self.content(), b"one two three")

    def test_two_programs_append_to_one_file(self):
        self.write(b"")
        script = "import sys\nf=open(sys.argv[1],'ab',buffering=0)\nfor i in range(200): f.write(sys.argv[2].encode()*10+b'\\n')"
        both = [subprocess.Popen(["/usr/bin/python3", "-c", script, self.path, letter])
                for letter in "ab"]
        for each in both:
            self.assertEqual(each.wait(60), 0)
        lines = self.content().split(b"\n")
        self.assertEqual(sorted(lines), [b""] + [b"a" * 10] * 200 + [b"b" * 10] * 200)

    def test_mapping_a_file_for_reading_and_writing(self):
        self.write(bytes(range(256)) * 64)
        with open(self.path, "r+b") as file, mmap.mmap(file.fileno(), 0) as view:
            self.assertEqual(view[255], 255)
            view[10_000:10_005] = b"HELLO"
            view.flush()
        expected = bytearray(bytes(range(256)) * 64)
        expected[10_000:10_005] = b"HELLO"
        self.assertEqual(self.content(), bytes(expected))

    def test_removing_a_file_that_is_open(self):
        self.write(b"still here")
        with open(self.path, "r+b", buffering=0) as file:
            os.remove(self.path)
            self.assertEqual(os.listdir(self.behind), [])
            self.assertEqual(os.listdir(self.there), [])
            self.assertEqual(file.read(), b"still here")
            self.assertEqual(os.fstat(file.fileno()).st_nlink, 0)
            self.assertEqual(os.fstat(file.fileno()).st_size, 10)
            file.write(b" and more")
            self.assertEqual(os.fstat(file.fileno()).st_size, 19)
            os.ftruncate(file.fileno(), 5)
            file.seek(0)
            self.assertEqual(file.read(), b"still")
        self.assertEqual(os.listdir(self.behind), [])

    def test_renaming_a_file_that_is_open(self):
        self.write(b"abc")
        with open(self.path, "r+b", buffering=0) as file:
            os.rename(self.path, self.path + "2")
            file.seek(3)
            file.write(b"def")
            self.assertEqual(os.fstat(file.fileno()).st_size, 6)
        self.assertEqual(self.content("file2"), b"abcdef")

    def test_renaming_onto_a_file_that_is_open(self):
        self.write(b"old")
        with open(self.path, "rb", buffering=0) as file:
            with open(self.path + ".new", "wb") as new:
                new.write(b"new content")
            os.rename(self.path + ".new", self.path)
            self.assertEqual(file.read(), b"old")
            self.assertEqual(os.fstat(file.fileno()).st_size, 3)
        self.assertEqual(self.content(), b"new content")

    def test_what_the_device_changes_is_seen_at_the_next_open(self):
        self.write(b"first")
        with open(self.path, "rb") as file:
            self.assertEqual(file.read(), b"first")
        with open(os.path.join(self.behind, "file"), "wb") as file:
            file.write(b"2nd..")
        with open(self.path, "rb") as file:
            self.assertEqual(file.read(), b"2nd..")

    def test_exclusive_creation_of_an_existing_name_fails(self):
        self.write(b"x")
        with self.assertRaises(FileExistsError):
            os.open(self.path, os.O_CREAT | os.O_EXCL | os.O_WRONLY)

    def test_making_a_folder_twice_fails(self):
        os.mkdir(os.path.join(self.there, "folder"))
        with self.assertRaises(FileExistsError):
            os.mkdir(os.path.join(self.there, "folder"))

    def test_a_folder_with_contents_is_not_removed(self):
        os.mkdir(os.path.join(self.there, "folder"))
        open(os.path.join(self.there, "folder", "x"), "w").close()
        with self.assertRaises(OSError) as caught:
            os.rmdir(os.path.join(self.there, "folder"))
        self.assertEqual(caught.exception.errno, errno.ENOTSUP)
        self.assertEqual(os.listdir(os.path.join(self.behind, "folder")), ["x"])

    def test_editors_that_save_through_a_second_file(self):
        self.write(b"draft")
        with open(self.path + "~", "wb") as file:
            file.write(b"final version")
            file.flush()
            os.fsync(file.fileno())
        os.replace(self.path + "~", self.path)
        self.assertEqual(self.content(), b"final version")
        self.assertEqual(os.listdir(self.there), ["file"])


if __name__ == "__main__":
    unittest.main()
