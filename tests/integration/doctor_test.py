# SPDX-License-Identifier: GPL-3.0-or-later
"""The doctor says what stands between the user and a mounted volume, with and without a running program."""

import json
import os
import socket
import unittest

from harness import PATIENCE, DeviceTest, program, run, wait_for


class Doctor(DeviceTest):
    def setUp(self):
        super().setUp()
        runtime = os.path.join(self.folder, "runtime")
        os.mkdir(runtime, 0o700)
        self.environment = dict(os.environ, XDG_RUNTIME_DIR=runtime, HOME=self.folder,
                                USBMUXD_SOCKET_ADDRESS="UNIX:" + os.path.join(self.folder, "mux"))

    def doctor(self, *options):
        """Exit status and report."""
        volumes = os.path.join(self.folder, "Volumes")
        done = run(program("quillbox"), "doctor", "--json", "--volumes", volumes, *options, check=False,
                   env=self.environment)
        self.assertEqual(done.stderr, "")
        report = json.loads(done.stdout)
        self.assertEqual(report["ok"], done.returncode == 0)
        return report

    def problems(self, report):
        return {each["subject"]: each["text"] for each in report["findings"] if each["kind"] == "problem"}

    def test_nothing_stands_in_the_way(self):
        self.start()
        self.environment = self.quillbox.environment
        report = self.doctor()
        self.assertEqual(self.problems(report), {})
        self.assertTrue(report["ok"])
        (device,) = report["devices"]
        self.assertEqual((device["name"], device["mountPoint"]), ("Blue Phone", self.volume))
        done = run(program("quillbox"), "doctor", env=self.environment)
        for part in ("Nothing stands in the way.", "/dev/fuse", "libimobiledevice", self.volume,
                     f"process {self.quillbox.process.pid}"):
            self.assertIn(part, done.stdout)

    def test_a_device_is_met_without_a_running_program(self):
        self.start_simulator()
        report = self.doctor()
        self.assertEqual(self.problems(report), {})
        self.assertEqual([(each["name"], each["state"]) for each in report["devices"]],
                         [("Blue Phone", "trusted")])

    def test_nobody_at_the_multiplexers_address(self):
        problems = self.problems(self.doctor())
        self.assertEqual(list(problems), ["Device service"])
        self.assertIn("nothing answers", problems["Device service"])

    def test_a_multiplexer_that_left_its_socket_behind(self):
        dead = socket.socket(socket.AF_UNIX)
        dead.bind(os.path.join(self.folder, "mux"))
        dead.close()
        self.assertIn("nothing answers", self.problems(self.doctor())["Device service"])

    def test_a_multiplexer_that_accepts_and_never_answers(self):
        self.start_simulator().ctl("mux", "hang")
        self.assertIn("does not answer", self.problems(self.doctor())["Device service"])

    def test_every_state_of_a_device_in_words(self):
        simulator = self.start_simulator()
        udid = simulator.udids[0]
        for commands, words in (
                ([("distrust", udid, "--forget-record"), ("pending", udid)], "tap Trust"),
                ([("distrust", udid, "--forget-record"), ("lock", udid)], "unlock the device")):
            simulator.ctl("detach", udid)
            for each in commands:
                simulator.ctl(*each)
            simulator.ctl("attach", udid)
            with self.subTest(commands[-1][0]):
                for running in (False, True):
                    if running:
                        quillbox = self.start_quillbox(simulator)
                        self.environment = quillbox.environment
                        wait_for(lambda: self.doctor()["devices"], 10 * PATIENCE, "it is known")
                        wait_for(lambda: words in str(self.problems(self.doctor())), 10 * PATIENCE, words)
                        quillbox.verb("quit")
                    else:
                        report = self.doctor()
                        self.assertIn(words, str(self.problems(report)))
                        self.assertFalse(report["ok"])

    def test_a_volumes_folder_that_cannot_be_used(self):
        self.start_simulator()
        with open(os.path.join(self.folder, "Volumes"), "w"):
            pass
        self.assertEqual(list(self.problems(self.doctor())), ["Volumes folder"])


if __name__ == "__main__":
    unittest.main()
