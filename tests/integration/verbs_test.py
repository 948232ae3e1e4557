# SPDX-License-Identifier: GPL-3.0-or-later
"""The command line reaches the running program and does what its menu does, with nothing but a private runtime
folder: no display, no session bus."""

import json
import os
import re
import signal
import socket
import stat
import subprocess
import unittest

from harness import PATIENCE, DeviceTest, is_mounted, program, run, wait_for

DONE, COULD_NOT, BAD_USAGE, NOT_RUNNING = 0, 1, 2, 3


class VerbTest(DeviceTest):
    OPTIONS = ("--log-level", "info")

    def ok(self, *words):
        done = self.quillbox.verb(*words)
        self.assertEqual((done.returncode, done.stderr), (DONE, ""), words)
        return done.stdout

    def refused(self, status, *words, part=""):
        done = self.quillbox.verb(*words)
        self.assertEqual((done.returncode, done.stdout), (status, ""), f"{words}: {done}")
        self.assertEqual(done.stderr.count("\n"), 1, "one line says why")
        self.assertIn(part, done.stderr)
        return done.stderr

    def list(self):
        return json.loads(self.ok("list", "--json"))


class Verbs(VerbTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.udid = self.simulator.udids[0]
        for name in ("DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "WAYLAND_DISPLAY"):
            self.quillbox.environment.pop(name, None)

    def test_the_list_tells_what_is_there(self):
        (device,) = self.list()
        self.assertEqual(device["name"], "Blue Phone")
        self.assertEqual(device["uniqueDeviceID"], self.udid)
        self.assertEqual(device["state"], "trusted")
        self.assertIs(device["mounted"], True)
        self.assertEqual(device["root"], "Media")
        self.assertEqual(device["mountPoint"], self.volume)
        self.assertTrue(device["serialNumber"])
        text = self.ok("list")
        for value in ("Blue Phone", device["serialNumber"], self.udid, self.volume, "Media"):
            self.assertIn(value, text)

        self.simulator.ctl("detach", self.udid)
        wait_for(lambda: self.list() == [], 5 * PATIENCE, "the list is empty")
        self.assertEqual(self.ok("list"), "No device is attached.\n")
        self.refused(COULD_NOT, "mount", "Blue Phone", part="no device")

    def test_mount_and_unmount_come_back_when_it_is_so(self):
        serial = self.list()[0]["serialNumber"]
        for word in ("Blue Phone", serial, self.udid):
            self.assertEqual(self.ok("unmount", word), "Blue Phone is not mounted.\n")
            self.assertFalse(is_mounted(self.volume))
            self.assertFalse(os.path.exists(self.volume))
            (device,) = self.list()
            self.assertEqual((device["mounted"], device["mountPoint"]), (False, None))
            self.ok("unmount", word)
            answer = json.loads(self.ok("mount", word, "--json"))
            self.assertTrue(is_mounted(self.volume))
            self.assertTrue(os.listdir(self.volume))
            self.assertEqual((answer["mounted"], answer["mountPoint"]), (True, self.volume))
            self.assertIn(self.volume, self.ok("mount", word))

    def test_a_volume_that_is_in_use_is_unmounted_too(self):
        with open(os.path.join(self.volume, "held"), "w") as held:
            held.write("x")
            held.flush()
            self.ok("unmount", "Blue Phone")
            self.assertFalse(is_mounted(self.volume))

    def test_a_mount_that_fails_says_why(self):
        self.ok("unmount", self.udid)
        os.rmdir(self.quillbox.volumes)
        with open(self.quillbox.volumes, "w"):
            pass
        self.refused(COULD_NOT, "mount", self.udid, part="Blue Phone: ")
        os.remove(self.quillbox.volumes)
        os.mkdir(self.quillbox.volumes)
        self.ok("mount", self.udid)

    def test_info_and_reveal_act_on_a_mounted_device(self):
        facts = json.loads(self.ok("info", self.udid, "--json"))
        self.assertEqual(facts["name"], "Blue Phone")
        self.assertEqual(facts["uniqueDeviceID"], self.udid)
        self.assertIn("Blue Phone", self.ok("info", self.udid))
        self.ok("reveal", self.udid)
        self.quillbox.wait_log("revealInFinder")
        self.ok("unmount", self.udid)
        self.refused(COULD_NOT, "info", self.udid, part="is not mounted")
        self.refused(COULD_NOT, "reveal", self.udid, part="is not mounted")

    def test_bad_usage_is_one_line_and_status_two(self):
        for words in (["dance"], ["mount"], ["mount", "a", "b"], ["list", "x"], ["root"], ["mount", ""],
                      ["list", "--headless"], ["--json"], ["list", "--no-such-option"]):
            self.refused(BAD_USAGE, *words)
        self.assertIn("unmount DEVICE", self.ok("--help"))

    def test_clients_that_hang_disturb_nobody(self):
        (path,) = [os.path.join(folder, name) for folder, _, names in os.walk(self.runtime())
                   for name in names if name.endswith(".socket")]
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)
        hanging = []
        for text in (b"", b"\0", b"\xff" * 100, b"GET / HTTP/1.0\r\n\r\n") * 4:
            client = socket.socket(socket.AF_UNIX)
            client.connect(path)
            client.send(text)
            hanging.append(client)
        self.assertEqual(len(self.list()), 1)
        self.ok("unmount", self.udid)
        self.ok("mount", self.udid)
        for client in hanging:
            client.close()

    def runtime(self):
        return self.quillbox.environment["XDG_RUNTIME_DIR"]

    def test_a_second_start_ends_with_success(self):
        done = self.second("--headless", "--volumes", self.quillbox.volumes)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("already running", done.stdout)
        self.assertIn("ignored", done.stdout)
        self.assertNotIn("ignored", self.second().stdout)
        self.assertTrue(is_mounted(self.volume))

    def second(self, *options):
        return self.quillbox.verb(*options, "--preferences", self.quillbox.preferences)

    def test_quit_comes_back_when_all_is_unmounted(self):
        self.assertEqual(self.ok("quit"), "")
        self.assertFalse(is_mounted(self.volume))
        self.assertEqual(self.quillbox.process.poll(), 0, "it has ended by then")
        for words in (["list"], ["mount", self.udid], ["quit"]):
            self.refused(NOT_RUNNING, *words, part="no Quillbox is running")

    def test_a_killed_program_is_not_running(self):
        self.quillbox.kill()
        self.refused(NOT_RUNNING, "list")
        # The next one takes the dead volume away and answers in its place.
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_mounted("Blue Phone (Media)")
        self.assertEqual(len(self.list()), 1)

    def test_another_programs_settings_are_not_meant(self):
        self.refused(NOT_RUNNING, "list", "--preferences", os.path.join(self.folder, "other.plist"))
        elsewhere = dict(self.quillbox.environment,
                         USBMUXD_SOCKET_ADDRESS="UNIX:" + os.path.join(self.folder, "elsewhere"))
        done = run(program("quillbox"), "list", check=False, env=elsewhere)
        self.assertEqual(done.returncode, NOT_RUNNING)
        self.ok("list", "--preferences", self.quillbox.preferences)


class Roots(VerbTest):
    DEVICES = ("--devices", "1", "--sample")

    def setUp(self):
        super().setUp()
        self.simulator = self.start_simulator()
        self.udid = self.simulator.udids[0]
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("is running")
        wait_for(lambda: any(each["mounted"] for each in self.list()), 20 * PATIENCE, "it is mounted")

    def current(self):
        return [each["root"] for each in json.loads(self.ok("root", self.udid, "--json")) if each["current"]]

    def test_every_root_of_the_menu_can_be_chosen(self):
        roots = json.loads(self.ok("root", self.udid, "--json"))
        names = [each["root"] for each in roots]
        self.assertIn("Media", names)
        self.assertIn("Root", names)
        self.assertTrue(any("." in name for name in names), names)
        for root in roots:
            answer = json.loads(self.ok("root", self.udid, root["root"], "--json"))
            self.assertEqual((answer["root"], answer["mounted"]), (root["root"], True))
            self.assertTrue(is_mounted(answer["mountPoint"]))
            os.listdir(answer["mountPoint"])
            self.assertEqual(self.current(), [root["root"]])
            again = json.loads(self.ok("root", self.udid, root["root"], "--json"))
            self.assertEqual(again["mountPoint"], answer["mountPoint"])

    def test_the_plain_list_names_every_root_and_marks_the_open_one(self):
        for wanted in ("Media", "Root"):
            self.ok("root", self.udid, wanted)
            roots = json.loads(self.ok("root", self.udid, "--json"))
            lines = [re.fullmatch(r"([* ])  (.*?)(?:  +(\S.*?))? *", line).groups()
                     for line in self.ok("root", self.udid).splitlines()]
            self.assertEqual([(name, identifier or name) for _, name, identifier in lines],
                             [(each["name"], each["root"]) for each in roots])
            self.assertEqual([name for mark, name, _ in lines if mark == "*"], [wanted])

    def test_roots_that_are_not_offered_are_refused(self):
        self.refused(COULD_NOT, "root", self.udid, "org.example.missing", part="offers no root")
        self.ok("unmount", self.udid)
        self.refused(COULD_NOT, "root", self.udid, "Media", part="is not mounted")


class Devices(VerbTest):
    def test_two_devices_of_one_name_need_their_numbers(self):
        self.simulator = self.start_simulator("--devices", "2", "--sample", "--no-afc2")
        for udid in self.simulator.udids:
            self.simulator.ctl("rename", udid, "Twin")
            self.simulator.ctl("detach", udid)
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("is running")
        for udid in self.simulator.udids:
            self.simulator.ctl("attach", udid)
        wait_for(lambda: [each["mounted"] for each in self.list()] == [True, True], 20 * PATIENCE, "both")
        self.refused(COULD_NOT, "unmount", "Twin", part="2 devices are called Twin")
        first, second = self.list()
        self.ok("unmount", second["serialNumber"])
        self.assertEqual([each["mounted"] for each in self.list()], [True, False])
        self.assertNotEqual(first["mountPoint"], second["mountPoint"])

    def test_a_device_that_waits_for_trust_is_listed_with_what_helps(self):
        self.simulator = self.start_simulator()
        udid = self.simulator.udids[0]
        self.simulator.ctl("detach", udid)
        self.simulator.ctl("distrust", udid, "--forget-record")
        self.simulator.ctl("pending", udid)
        self.quillbox = self.start_quillbox(self.simulator)
        self.quillbox.wait_log("is running")
        self.simulator.ctl("attach", udid)
        wait_for(lambda: [each["state"] for each in self.list()] == ["waiting-for-trust"], 10 * PATIENCE,
                 "it is listed")
        (device,) = self.list()
        self.assertIs(device["mounted"], False)
        self.assertIsNone(device["root"])
        self.refused(COULD_NOT, "mount", udid, part="unlock the device and tap Trust")
        self.simulator.ctl("trust", udid)
        self.quillbox.wait_mounted("Blue Phone (Media)", 15)
        self.assertEqual(self.list()[0]["state"], "trusted")

    def test_list_and_quit_do_not_wait_for_a_device_that_stalls(self):
        self.start()
        self.simulator.ctl("stall", self.simulator.udids[0])
        info = subprocess.Popen([program("quillbox"), "info", self.simulator.udids[0]],
                                env=self.quillbox.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.quillbox.wait_log("Waiting: ")
        (device,) = self.list()
        self.assertEqual((device["mountPoint"], device["state"]), (self.volume, "trusted"))
        self.assertEqual(self.quillbox.verb("doctor", "--volumes", self.quillbox.volumes).returncode, 0)
        self.assertIsNone(info.poll(), "it still waits")
        self.ok("quit")
        self.assertFalse(is_mounted(self.volume))
        info.wait(20 * PATIENCE)
        info.communicate()

    def test_a_private_folder_serves_where_there_is_no_runtime_folder(self):
        self.simulator = self.start_simulator()
        temporary = os.path.join(self.folder, "tmp")
        os.mkdir(temporary)
        self.simulator.environment["TMPDIR"] = temporary
        self.quillbox = self.start_without_runtime_folder()
        self.quillbox.wait_mounted("Blue Phone (Media)")
        own = os.path.join(temporary, f"quillbox-{os.geteuid()}")
        self.assertEqual(stat.S_IMODE(os.stat(own).st_mode), 0o700)
        self.assertEqual(len(self.list()), 1)
        self.ok("quit")

    def start_without_runtime_folder(self):
        # A folder that others may enter is as good as none.
        runtime = os.path.join(self.folder, "runtime")
        os.mkdir(runtime)
        os.chmod(runtime, 0o755)
        return self.start_quillbox(self.simulator)


class Simulated(VerbTest):
    def test_the_program_on_a_simulated_phone_is_found(self):
        from harness import Quillbox
        environment = {key: value for key, value in os.environ.items() if key != "USBMUXD_SOCKET_ADDRESS"}
        self.quillbox = Quillbox(self.folder, environment, "--simulate")
        self.running.append(self.quillbox)
        self.quillbox.wait_mounted("Blue Phone (Media)", 30)
        self.assertEqual([each["name"] for each in self.list()], ["Blue Phone"])
        self.ok("list", "--simulate")
        doctor = self.quillbox.verb("doctor", "--volumes", self.quillbox.volumes)
        self.assertEqual(doctor.returncode, 0, doctor.stdout)
        self.quillbox.process.send_signal(signal.SIGTERM)
        self.quillbox.process.wait(20 * PATIENCE)
        self.refused(NOT_RUNNING, "list", "--simulate")


if __name__ == "__main__":
    unittest.main()
