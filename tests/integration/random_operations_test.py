# SPDX-License-Identifier: GPL-3.0-or-later
"""Thousands of mixed operations of two programs at once, with a local folder as the model.

Every operation is done on the volume and on the model; both must succeed or both must fail, and what
is read must be the same. At the end the device must hold what the model holds.
"""

import multiprocessing
import os
import random
import traceback
import unittest

from harness import PATIENCE, DeviceTest, tree

OPERATIONS = 2500  # of each program


class Program:
    """One of the two programs: a folder of its own, and one that it shares with the other."""

    NAMES = ["a", "b", "c", "IMG_1.JPG", "long name with blanks.txt", "ä"]

    def __init__(self, seed, volume, model, lock):
        self.random = random.Random(seed)
        self.own = f"program{seed}"
        self.volume, self.model, self.lock = volume, model, lock
        self.open = []  # (file on the volume, file of the model, whether it may be written, path)
        self.history = []

    def both(self, work):
        """The outcome of `work(root)` on the volume and on the model: a value or a failure."""
        outcomes = []
        for root in (self.volume, self.model):
            try:
                outcomes.append((True, work(root)))
            except OSError as error:
                outcomes.append((False, error))
        (done, value), (wanted, expected) = outcomes
        if done != wanted or (done and value != expected):
            raise AssertionError(f"{self.history[-15:]}: {str(value)[:300]} on the volume, "
                                 f"{str(expected)[:300]} locally")
        return value if done else None

    def path(self, folder):
        depth = self.random.choice((1, 1, 2))
        return os.path.join(folder, *(self.random.choice(self.NAMES) for _ in range(depth)))

    def data(self):
        size = self.random.choice((0, 1, 100, 4096, 5000, 70_000, 300_000))
        return self.random.randbytes(1 + size % 997) * (size // (1 + size % 997) + 1)

    def step(self):
        shared = self.random.random() < 0.25
        kinds = [self.write, self.append, self.overwrite, self.read, self.truncate, self.rename,
                 self.remove, self.make_folder, self.remove_folder, self.status, self.list, self.date,
                 self.link]
        if shared:
            # One at a time there: what one has done the other must see at once.
            with self.lock:
                self.act(self.random.choice(kinds), "shared")
        else:
            kinds += [self.open_file, self.open_file, self.use_file, self.use_file, self.use_file,
                      self.close_file]
            self.act(self.random.choice(kinds), self.own)

    def act(self, kind, folder):
        self.history.append([kind.__name__, folder])
        kind(folder)

    def note(self, *what):
        self.history[-1] += what

    def put(self, folder, mode):
        path, data = self.path(folder), self.data()
        self.note(path, len(data), mode)

        def work(root):
            with open(os.path.join(root, path), mode) as file:
                file.write(data)
            return os.path.getsize(os.path.join(root, path))

        self.both(work)

    def write(self, folder):
        self.put(folder, "wb")

    def append(self, folder):
        self.put(folder, "ab")

    def overwrite(self, folder):
        path, data, place = self.path(folder), self.data(), self.random.randrange(400_000)
        self.note(path, len(data), place)

        def work(root):
            with open(os.path.join(root, path), "r+b", buffering=0) as file:
                file.seek(place)
                for at in range(0, len(data), 9000):
                    file.write(data[at:at + 9000])

        self.both(work)

    def read(self, folder):
        path = self.path(folder)
        self.note(path)

        def work(root):
            with open(os.path.join(root, path), "rb") as file:
                return file.read()

        self.both(work)

    def truncate(self, folder):
        path, size = self.path(folder), self.random.choice((0, 10, 5000, 200_000))
        self.note(path, size)
        self.both(lambda root: os.truncate(os.path.join(root, path), size))

    def rename(self, folder):
        old, new = self.path(folder), self.path(folder)
        self.note(old, new)
        if os.path.isdir(os.path.join(self.model, new)) or (new + "/").startswith(old + "/"):
            return  # a device has its own mind about folders in the way
        self.both(lambda root: os.rename(os.path.join(root, old), os.path.join(root, new)))

    def remove(self, folder):
        path = self.path(folder)
        self.note(path)
        self.both(lambda root: os.remove(os.path.join(root, path)))

    def make_folder(self, folder):
        path = self.path(folder)
        self.note(path)
        self.both(lambda root: os.mkdir(os.path.join(root, path)))

    def remove_folder(self, folder):
        path = self.path(folder)
        self.note(path)
        self.both(lambda root: os.rmdir(os.path.join(root, path)))

    def status(self, folder):
        path = self.path(folder)
        self.note(path)

        def work(root):
            status = os.lstat(os.path.join(root, path))
            kind = status.st_mode & 0o170000
            return kind, status.st_size if kind == 0o100000 else 0

        self.both(work)

    def list(self, folder):
        path = os.path.dirname(self.path(folder))
        self.note(path)

        def work(root):
            found = []
            for entry in os.scandir(os.path.join(root, path)):
                status = entry.stat(follow_symlinks=False)
                regular = entry.is_file(follow_symlinks=False)
                found.append((entry.name, entry.is_dir(follow_symlinks=False),
                              status.st_size if regular else 0))
            return sorted(found)

        self.both(work)

    def date(self, folder):
        path, seconds = self.path(folder), self.random.randrange(1, 1_700_000_000)
        self.note(path, seconds)
        if os.path.islink(os.path.join(self.model, path)):
            return

        def work(root):
            os.utime(os.path.join(root, path), (seconds, seconds))
            return int(os.stat(os.path.join(root, path)).st_mtime)

        self.both(work)

    def link(self, folder):
        path, target = self.path(folder), self.random.choice(("a", "b", "nowhere"))
        self.note(path, target)

        def work(root):
            os.symlink(target, os.path.join(root, path))
            return os.readlink(os.path.join(root, path))

        self.both(work)

    def open_file(self, folder):
        if len(self.open) >= 4:
            return
        path = self.path(folder)
        flags = self.random.choice((os.O_RDONLY, os.O_RDWR, os.O_RDWR | os.O_CREAT,
                                    os.O_RDWR | os.O_CREAT | os.O_TRUNC, os.O_RDWR | os.O_SYNC))
        self.note(path, flags)
        if os.path.islink(os.path.join(self.model, path)):
            return
        files = []

        def work(root):
            files.append(os.open(os.path.join(root, path), flags, 0o644))
            if os.path.isdir(os.path.join(root, path)):
                os.close(files.pop())

        self.both(work)
        if len(files) == 2:
            self.open.append((*files, flags != os.O_RDONLY, path))

    def use_file(self, _):
        if not self.open:
            return
        on_volume, on_model, writable, path = self.random.choice(self.open)
        place, size = self.random.randrange(300_000), self.random.choice((1, 4096, 100_000))
        data = self.data()
        kind = self.random.choice(("read", "size", "write", "run", "truncate", "sync"))
        self.note(path, kind, place, size, len(data))

        def work(root):
            file = on_volume if root == self.volume else on_model
            if kind == "read" or not writable:
                return os.pread(file, size, place)
            if kind == "size":
                return os.fstat(file).st_size
            if kind == "write":
                return os.pwrite(file, data, place)
            if kind == "run":  # small writes one behind the other
                for at in range(0, min(len(data), 20_000), 700):
                    os.pwrite(file, data[at:at + 700], place + at)
                return None
            return os.ftruncate(file, place) if kind == "truncate" else os.fsync(file)

        self.both(work)

    def close_file(self, _):
        if self.open:
            on_volume, on_model, _, path = self.open.pop(self.random.randrange(len(self.open)))
            self.note(path)
            os.close(on_volume)
            os.close(on_model)

    def run(self):
        for root in (self.volume, self.model):
            os.mkdir(os.path.join(root, self.own))
        for _ in range(OPERATIONS):
            self.step()
        while self.open:
            self.close_file(None)


def work(seed, volume, model, lock, complaints):
    program = Program(seed, volume, model, lock)
    try:
        program.run()
    except BaseException:  # whatever it is, the test is told
        complaints.put(f"seed {seed}, after {program.history[-3:]}:\n{traceback.format_exc()}")
        os._exit(1)
    os._exit(0)


class RandomOperations(DeviceTest):
    DEVICES = ("--devices", "1", "--no-afc2")

    def test_two_programs_and_a_model(self):
        self.start()
        model = self.local("model")
        for root in (self.volume, model):
            os.makedirs(os.path.join(root, "shared"))
        seed = int(os.environ.get("QUILLBOX_TEST_SEED", random.randrange(10_000)))
        lock, complaints = multiprocessing.Lock(), multiprocessing.SimpleQueue()
        programs = [multiprocessing.Process(target=work, args=(seed + number, self.volume, model, lock,
                                                               complaints)) for number in (0, 1)]
        for program in programs:
            program.start()
        for program in programs:
            program.join(240 * PATIENCE)
            if program.is_alive():
                program.kill()
                self.fail(f"a program hangs (seed {seed})")
        if not complaints.empty():
            self.fail(complaints.get())
        self.assertEqual([program.exitcode for program in programs], [0, 0], f"seed {seed}")
        for name in ("shared", f"program{seed}", f"program{seed + 1}"):
            self.assertEqual(tree(os.path.join(self.media, name)), tree(os.path.join(model, name)),
                             f"seed {seed}")


if __name__ == "__main__":
    unittest.main()
