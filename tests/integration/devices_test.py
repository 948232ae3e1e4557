# SPDX-License-Identifier: GPL-3.0-or-later
"""Several devices, a killed program, a program started twice."""

import os
import signal
import subprocess
import unittest

from everyday_test import random_file
from harness import PATIENCE, DeviceTest, is_mounted, program, run, sha256, wait_for


def mounted_in(folder):
    return sorted(name for name in os.listdir(folder) if is_mounted(os.path.join(folder, name)))


def close_anyway(handle):
    """Closes a file whose volume is gone, which the kernel may report."""
    try:
        os.close(handle)
    except OSError:
        pass


class SeveralDevices(DeviceTest):
    def check_independent(self, count, *options):
        self.simulator = self.start_simulator("--devices", str(count), "--no-afc2", *options)
        self.quillbox = self.start_quillbox(self.simulator)
        names = wait_for(lambda: len(mounted_in(self.quillbox.volumes)) == count and mounted_in(
            self.quillbox.volumes), 10 * PATIENCE, f"{count} volumes")
        for index in range(count):
            random_file(os.path.join(self.simulator.media(index), "own"), 100_000, index)
        seen = {sha256(os.path.join(self.quillbox.volumes, name, "own")) for name in names}
        self.assertEqual(seen, {sha256(os.path.join(self.simulator.media(index), "own"))
                                for index in range(count)})
        copies = [subprocess.Popen(["cp", os.path.join(self.quillbox.volumes, name, "own"),
                                    os.path.join(self.quillbox.volumes, name, "copy")])
                  for name in names]
        for each in copies:
            self.assertEqual(each.wait(30), 0)
        for index in range(count):
            self.assertEqual(sha256(os.path.join(self.simulator.media(index), "copy")),
                             sha256(os.path.join(self.simulator.media(index), "own")))
        return names

    def test_two_devices(self):
        self.check_independent(2)
        self.simulator.ctl("detach", self.simulator.udids[0])
        wait_for(lambda: len(mounted_in(self.quillbox.volumes)) == 1, 2, "one is gone")
        remaining = mounted_in(self.quillbox.volumes)[0]
        self.assertEqual(sha256(os.path.join(self.quillbox.volumes, remaining, "own")),
                         sha256(os.path.join(self.simulator.media(1), "own")))

    def test_eight_devices(self):
        self.check_independent(8)
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(os.listdir(self.quillbox.volumes), [])

    def test_equal_names_get_folders_of_their_own(self):
        names = self.check_independent(3, "--same-name")
        self.assertEqual(names, ["Blue Phone (Media)", "Blue Phone (Media) 2", "Blue Phone (Media) 3"])

    def test_devices_of_every_age_are_mounted(self):
        for options in (("--version", "3.1.3"), ("--version", "6.1.6"), ("--version", "7.0"),
                        ("--version", "17.4.1"), ("--version", "5.1.1", "--no-tls")):
            with self.subTest(options=options):
                simulator = self.start_simulator(*self.DEVICES, *options)
                quillbox = self.start_quillbox(simulator)
                self.assertIn("DCIM", os.listdir(quillbox.wait_mounted("Blue Phone (Media)")))
                self.assertEqual(quillbox.terminate(), 0)
                simulator.end()

    def test_a_folder_that_is_already_there_is_not_used(self):
        self.simulator = self.start_simulator("--devices", "1", "--no-afc2")
        volumes = os.path.join(self.folder, "Volumes")
        os.makedirs(os.path.join(volumes, "Blue Phone (Media)"))
        open(os.path.join(volumes, "Blue Phone (Media)", "mine"), "w").close()
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_mounted("Blue Phone (Media) 2")
        self.assertEqual(self.quillbox.terminate(), 0)
        self.assertEqual(os.listdir(volumes), ["Blue Phone (Media)"])
        self.assertEqual(os.listdir(os.path.join(volumes, "Blue Phone (Media)")), ["mine"])

    def test_a_hostile_device_name_stays_inside_the_volumes_folder(self):
        for name in ("../../etc", "..", ".", "a/b", "x,allow_other", "new\nline", " ", "ü" * 200):
            with self.subTest(name=name):
                self.simulator = self.start_simulator("--devices", "1", "--no-afc2", "--name", name)
                self.quillbox = self.start_quillbox(self.simulator)
                wait_for(lambda: mounted_in(self.quillbox.volumes), 10 * PATIENCE, "a volume")
                self.assertEqual(len(os.listdir(self.quillbox.volumes)), 1)
                self.assertEqual(self.quillbox.terminate(), 0)
                self.assertEqual(os.listdir(self.quillbox.volumes), [])
                self.simulator.end()


class Ends(DeviceTest):
    def test_killed_and_started_again_it_leaves_no_dead_mount(self):
        self.start()
        self.quillbox.kill()
        self.assertTrue(is_mounted(self.volume))
        with self.assertRaises(OSError):
            os.listdir(self.volume)
        again = self.start_quillbox(self.simulator)
        again.wait_mounted("Blue Phone (Media)")
        self.assertEqual(os.listdir(again.volumes), ["Blue Phone (Media)"])
        self.assertIn("DCIM", os.listdir(self.volume))
        self.assertEqual(again.terminate(), 0)
        self.assertEqual(os.listdir(again.volumes), [])

    def test_killed_while_a_program_holds_a_file_open(self):
        self.start()
        random_file(os.path.join(self.media, "file"), 1000)
        handle = os.open(os.path.join(self.volume, "file"), os.O_RDONLY)
        self.addCleanup(close_anyway, handle)
        self.quillbox.kill()
        again = self.start_quillbox(self.simulator)
        again.wait_mounted("Blue Phone (Media)")
        self.assertEqual(os.listdir(again.volumes), ["Blue Phone (Media)"])

    def test_both_signals_end_it_with_every_volume_unmounted(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            self.start()
            handle = os.open(os.path.join(self.volume, "held open"), os.O_CREAT | os.O_WRONLY)
            self.addCleanup(close_anyway, handle)
            self.quillbox.process.send_signal(number)
            self.assertEqual(self.quillbox.process.wait(10 * PATIENCE), 0)
            self.assertEqual(os.listdir(self.quillbox.volumes), [])
            self.simulator.end()

    def test_somebody_else_unmounts_the_volume(self):
        self.start()
        run("umount", self.volume)
        wait_for(lambda: os.listdir(self.quillbox.volumes) == [], 2, "the folder is gone")
        self.assertIsNone(self.quillbox.process.poll())
        self.simulator.ctl("detach", self.simulator.udids[0])
        self.simulator.ctl("attach", self.simulator.udids[0])
        self.quillbox.wait_mounted("Blue Phone (Media)")

    def test_a_running_instance_is_not_disturbed_by_a_second(self):
        self.start()
        second = subprocess.run(
            [program("quillbox"), "--headless", "--volumes", self.quillbox.volumes, "--preferences",
             self.quillbox.preferences], env=dict(
                 self.simulator.environment, HOME=os.path.join(self.folder, "home"),
                 XDG_CONFIG_HOME=os.path.join(self.folder, "home", ".config"),
                 XDG_RUNTIME_DIR=os.path.join(self.folder, "runtime")),
            capture_output=True, text=True, timeout=20 * PATIENCE, stdin=subprocess.DEVNULL)
        self.assertEqual(second.returncode, 0)
        self.assertIn("already running", second.stdout)
        self.assertIn("DCIM", os.listdir(self.volume))


class Usage(unittest.TestCase):
    def test_bad_usage_is_one_line_and_status_2(self):
        for name in ("quillbox", "quillbox-simulator"):
            done = run(program(name), "--no-such-option", check=False)
            self.assertEqual(done.returncode, 2, name)
            self.assertEqual(len(done.stderr.strip().splitlines()), 1, done.stderr)

    def test_help_and_version(self):
        for name in ("quillbox", "quillbox-simulator"):
            self.assertIn("Usage", run(program(name), "--help").stdout)
        self.assertIn("Quillbox", run(program("quillbox"), "--version").stdout)

    def test_a_bad_log_level_is_refused(self):
        done = run(program("quillbox"), "--log-level", "loud", check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn("loud", done.stderr)


class Simulate(DeviceTest):
    def test_a_simulated_phone_with_its_own_folder(self):
        media = self.local("media")
        os.makedirs(media)
        random_file(os.path.join(media, "picture"), 1234)
        environment = dict(os.environ)
        environment.pop("USBMUXD_SOCKET_ADDRESS", None)
        from harness import Quillbox
        quillbox = Quillbox(self.folder, environment, f"--simulate={media}")
        self.running.append(quillbox)
        names = wait_for(lambda: mounted_in(quillbox.volumes), 10 * PATIENCE, "a volume")
        self.assertEqual(sha256(os.path.join(quillbox.volumes, names[0], "picture")),
                         sha256(os.path.join(media, "picture")))
        self.assertEqual(quillbox.terminate(), 0)
        self.assertEqual(os.listdir(quillbox.volumes), [])
        self.assertEqual(os.listdir(media), ["picture"])


if __name__ == "__main__":
    unittest.main()
