# SPDX-License-Identifier: GPL-3.0-or-later
"""The program run by a user who is not root: mounts go through fusermount3, and nobody else may enter.

Where the tests run as root, the program is run as "nobody", from a copy that this user can read.
"""

import os
import shutil
import stat
import subprocess
import unittest

from harness import PATIENCE, DeviceTest, Quillbox, is_mounted, program, sha256, wait_for

USER = 65534 if os.geteuid() == 0 else os.geteuid()
GROUP = 65534 if os.geteuid() == 0 else os.getegid()


class UsersQuillbox(Quillbox):
    """The program as an ordinary user starts it; everything it writes lies in that user's folder."""

    def start_process(self, command, environment):
        for place in (self.volumes, environment["HOME"], environment["XDG_RUNTIME_DIR"]):
            os.chown(place, USER, GROUP)
        return subprocess.Popen(command, stdout=self.log, stderr=self.log, stdin=subprocess.DEVNULL,
                                env=environment, cwd="/", **as_user())


def as_user():
    return {"user": USER, "group": GROUP, "extra_groups": []} if os.geteuid() == 0 else {}


def open_fuse_to_users():
    """Desktops let every user open the FUSE device; containers often do not. Gives back what undoes it."""
    mode = stat.S_IMODE(os.stat("/dev/fuse").st_mode)
    if os.geteuid() != 0 or mode & 0o006 == 0o006:
        return lambda: None
    os.chmod("/dev/fuse", mode | 0o666)
    return lambda: os.chmod("/dev/fuse", mode)


class OrdinaryUser(DeviceTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(open_fuse_to_users())
        os.chmod(self.folder, 0o755)
        self.simulator = self.start_simulator()
        os.chmod(self.simulator.socket, 0o666)
        self.program = os.path.join(self.folder, "quillbox")
        shutil.copy(program("quillbox"), self.program)
        self.home = os.path.join(self.folder, "user")
        os.mkdir(self.home)
        os.chown(self.home, USER, GROUP)

    def start_as_user(self):
        quillbox = UsersQuillbox(self.home, self.simulator.environment, executable=self.program)
        self.running.append(quillbox)
        return quillbox

    def run_as_user(self, *command, check=True):
        done = subprocess.run(command, capture_output=True, text=True, timeout=60 * PATIENCE, **as_user())
        if check and done.returncode != 0:
            self.fail(f"{command} ended with {done.returncode}: {done.stderr}")
        return done

    def test_a_user_mounts_copies_both_ways_and_unmounts(self):
        quillbox = self.start_as_user()
        volume = self.wait_volume(quillbox)
        picture = os.path.join(self.simulator.media(), "DCIM", "100APPLE", "IMG_0001.JPG")
        target = os.path.join(self.home, "copy.jpg")
        self.run_as_user("cp", os.path.join(volume, "DCIM/100APPLE/IMG_0001.JPG"), target)
        self.assertEqual(sha256(target), sha256(picture))
        self.run_as_user("cp", target, os.path.join(volume, "Documents/back.jpg"))
        self.assertEqual(sha256(os.path.join(self.simulator.media(), "Documents/back.jpg")), sha256(picture))
        owner = self.run_as_user("stat", "-c", "%u %g", target, volume).stdout.split()
        self.assertEqual(owner, [str(USER), str(GROUP)] * 2)
        self.assertEqual(quillbox.terminate(), 0)
        self.assertFalse(is_mounted(volume))
        self.assertEqual(os.listdir(quillbox.volumes), [])

    def test_nobody_else_enters_where_the_system_does_not_allow_it(self):
        quillbox = self.start_as_user()
        volume = self.wait_volume(quillbox)
        with open("/proc/self/mountinfo") as table:
            options = next(line for line in table if volume.replace(" ", "\\040") in line)
        allowed = "\nuser_allow_other" in "\n" + self.fuse_configuration()
        self.assertEqual("allow_other" in options, allowed)
        self.assertEqual("Only you can use the volume" in quillbox.log_text(), not allowed)
        if os.geteuid() == 0 and not allowed:
            with self.assertRaises(PermissionError):
                os.listdir(volume)

    def test_unplugging_takes_the_volume_away(self):
        quillbox = self.start_as_user()
        volume = self.wait_volume(quillbox)
        self.simulator.ctl("detach", self.simulator.udids[0])
        quillbox.wait_gone("Blue Phone (Media)", 2 * PATIENCE)
        self.simulator.ctl("attach", self.simulator.udids[0])
        self.assertEqual(self.wait_volume(quillbox), volume)

    def test_a_busy_volume_goes_at_the_end_of_the_program(self):
        quillbox = self.start_as_user()
        volume = self.wait_volume(quillbox)
        holder = subprocess.Popen(["sh", "-c", 'cd "$1" && echo in && exec sleep 600', "sh", volume],
                                  stdout=subprocess.PIPE, **as_user())
        try:
            self.assertEqual(holder.stdout.readline(), b"in\n")
            self.assertEqual(quillbox.terminate(), 0)
            self.assertFalse(is_mounted(volume))
            self.assertEqual(os.listdir(quillbox.volumes), [])
        finally:
            holder.kill()
            holder.wait()
            holder.stdout.close()

    def test_a_killed_program_leaves_nothing_that_its_next_start_does_not_clear(self):
        quillbox = self.start_as_user()
        self.wait_volume(quillbox)
        quillbox.kill()
        again = self.start_as_user()
        volume = self.wait_volume(again)
        wait_for(lambda: os.listdir(again.volumes) == ["Blue Phone (Media)"], 10 * PATIENCE, "one volume")
        self.run_as_user("ls", volume)
        self.assertEqual(again.terminate(), 0)
        self.assertEqual(os.listdir(again.volumes), [])

    def wait_volume(self, quillbox):
        """The tests' own user may not look into the volume, so another process of the user does."""
        volume = quillbox.volume("Blue Phone (Media)")
        wait_for(lambda: is_mounted(volume) and
                 self.run_as_user("test", "-d", os.path.join(volume, "DCIM"), check=False).returncode == 0,
                 10 * PATIENCE, "the volume is mounted and answers")
        return volume

    @staticmethod
    def fuse_configuration():
        try:
            with open("/etc/fuse.conf") as file:
                return file.read()
        except FileNotFoundError:
            return ""


if __name__ == "__main__":
    unittest.main()
