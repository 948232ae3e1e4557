# SPDX-License-Identifier: GPL-3.0-or-later
"""Devices that are not ready yet, and a multiplexer that is not there: what the log says, and what
happens as soon as it can."""

import os
import unittest

from harness import PATIENCE, DeviceTest, is_mounted, wait_for


class Trust(DeviceTest):
    OPTIONS = ("--log-level", "info")

    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator()
        self.udid = self.simulator.udids[0]
        self.simulator.ctl("detach", self.udid)

    def arrive(self):
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("Quillbox")
        self.simulator.ctl("attach", self.udid)

    def check_not_mounted(self):
        self.assertEqual(os.listdir(self.quillbox.volumes), [])

    def test_a_device_that_is_trusted_late(self):
        self.simulator.ctl("distrust", self.udid, "--forget-record")
        self.simulator.ctl("pending", self.udid)
        self.arrive()
        self.quillbox.wait_log("unlock the device and tap Trust")
        self.check_not_mounted()
        self.simulator.ctl("trust", self.udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 8)

    def test_a_device_that_is_locked_and_was_never_paired(self):
        self.simulator.ctl("distrust", self.udid, "--forget-record")
        self.simulator.ctl("lock", self.udid)
        self.arrive()
        self.quillbox.wait_log("unlock the device")
        self.check_not_mounted()
        self.simulator.ctl("unlock", self.udid)
        self.simulator.ctl("trust", self.udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 12)

    def test_a_device_whose_user_said_no(self):
        self.simulator.ctl("distrust", self.udid, "--forget-record")
        self.simulator.ctl("pending", self.udid)
        self.arrive()
        self.quillbox.wait_log("tap Trust")
        self.simulator.ctl("refuse", self.udid)
        self.quillbox.wait_log("unplug, plug in again and tap Trust")
        self.check_not_mounted()
        self.simulator.ctl("detach", self.udid)
        self.simulator.ctl("trust", self.udid)
        self.simulator.ctl("attach", self.udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 8)

    def test_a_device_whose_trust_was_reset(self):
        self.simulator.ctl("distrust", self.udid)
        self.arrive()
        self.quillbox.wait_log("trust was reset: unplug, plug in and tap Trust")
        self.check_not_mounted()

    def test_a_device_that_was_not_unlocked_since_its_start(self):
        self.simulator.ctl("lock", self.udid, "--since-start")
        self.arrive()
        self.quillbox.wait_log("unlock the device once after its restart")
        self.check_not_mounted()
        self.simulator.ctl("unlock", self.udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 12)


class WithoutTls(Trust):
    DEVICES = DeviceTest.DEVICES + ("--no-tls",)

    def test_it_is_mounted_as_soon_as_it_arrives(self):
        self.arrive()
        self.quillbox.wait_mounted("Blue Phone (Media)", 2)


class Multiplexer(DeviceTest):
    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator()
        self.udid = self.simulator.udids[0]

    def test_an_attached_device_is_mounted_within_a_second_of_its_arrival(self):
        self.simulator.ctl("detach", self.udid)
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("Quillbox")
        self.simulator.ctl("attach", self.udid)
        volume = self.quillbox.volume("Blue Phone (Media)")
        wait_for(lambda: is_mounted(volume), 1.0 * PATIENCE, "mounted within a second")

    def test_started_before_the_multiplexer(self):
        self.simulator.ctl("mux", "stop")
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("not running")
        self.simulator.ctl("mux", "start")
        self.quillbox.wait_mounted("Blue Phone (Media)", 5)

    def test_the_multiplexer_goes_away_and_comes_back(self):
        self.quillbox = self.start_quillbox(self.simulator)
        volume = self.quillbox.wait_mounted("Blue Phone (Media)")
        for _ in range(3):
            self.simulator.ctl("mux", "stop")
            self.quillbox.wait_log("not running")
            self.simulator.ctl("mux", "start")
            wait_for(lambda: self.answers(volume), 6 * PATIENCE, "the volume answers again")
        self.assertEqual(os.listdir(self.quillbox.volumes), ["Blue Phone (Media)"])

    def answers(self, volume):
        try:
            return is_mounted(volume) and "DCIM" in os.listdir(volume)
        except OSError:
            return False

    def test_a_multiplexer_that_never_answers(self):
        self.simulator.ctl("mux", "hang")
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("does not answer", 12)
        self.simulator.ctl("mux", "unhang")
        self.quillbox.wait_mounted("Blue Phone (Media)", 12)

    def test_the_program_ends_while_the_multiplexer_hangs(self):
        self.simulator.ctl("mux", "hang")
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("Quillbox")
        self.assertEqual(self.quillbox.terminate(5), 0)

    def test_a_device_by_cable_and_by_network_is_one_device(self):
        self.quillbox = self.start_quillbox(self.simulator)
        volume = self.quillbox.wait_mounted("Blue Phone (Media)")
        self.simulator.ctl("attach", self.udid, "--network")
        self.simulator.ctl("trust", self.udid, "--twice")
        self.assertEqual(os.listdir(self.quillbox.volumes), ["Blue Phone (Media)"])
        self.assertIn("DCIM", os.listdir(volume))


if __name__ == "__main__":
    unittest.main()
