# SPDX-License-Identifier: GPL-3.0-or-later
"""The stock command line tools work against the simulated device, unchanged."""

import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

PATIENCE = float(os.environ.get("QUILLBOX_TEST_PATIENCE", "1"))
TOOLS = ("idevice_id", "ideviceinfo", "idevicename", "idevicepair")
FIRST = "%032x%08x" % (0x51B0, 1)
SECOND = "%032x%08x" % (0x51B0, 2)


def simulator_program():
    folder = os.environ.get("QUILLBOX_BIN_DIR")
    if not folder:
        raise AssertionError("QUILLBOX_BIN_DIR names no folder with the programs")
    return os.path.join(folder, "quillbox-simulator")


class Simulator:
    """A running simulator with a folder of its own."""

    def __init__(self, *options):
        self.folder = tempfile.mkdtemp(prefix="quillbox-stock-")
        self.socket = os.path.join(self.folder, "mux")
        self.control = os.path.join(self.folder, "control")
        self.process = subprocess.Popen(
            [simulator_program(), "--socket", self.socket, "--control", self.control,
             "--state", os.path.join(self.folder, "state"), "--exit-with-parent", *options],
            stdout=subprocess.PIPE, text=True)
        if self.process.stdout.readline() != "ready\n":
            self.stop()
            raise AssertionError("the simulator did not start")

    def stop(self):
        """Ends the simulator and gives its exit status."""
        self.process.send_signal(signal.SIGTERM)
        try:
            return self.process.wait(10 * PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise AssertionError("the simulator did not end")
        finally:
            self.process.stdout.close()
            shutil.rmtree(self.folder)

    def ctl(self, *words):
        done = subprocess.run([simulator_program(), "ctl", "--control", self.control, *words],
                              capture_output=True, text=True, timeout=20 * PATIENCE)
        if done.returncode != 0:
            raise AssertionError("ctl %s: %s" % (" ".join(words), done.stderr))
        return done.stdout

    def tool(self, *command):
        """Runs a stock tool on the simulator's socket."""
        environment = dict(os.environ, USBMUXD_SOCKET_ADDRESS="UNIX:" + self.socket)
        return subprocess.run(command, env=environment, capture_output=True, text=True,
                              timeout=20 * PATIENCE)


class StockToolsTest(unittest.TestCase):
    def setUp(self):
        missing = [tool for tool in TOOLS if shutil.which(tool) is None]
        self.assertEqual(missing, [], "libimobiledevice-utils is needed")

    def start(self, *options):
        simulator = Simulator(*options)
        self.addCleanup(lambda: self.assertEqual(simulator.stop(), 0))
        return simulator

    def output(self, simulator, *command):
        done = simulator.tool(*command)
        self.assertEqual(done.returncode, 0, "%s: %s%s" % (command, done.stdout, done.stderr))
        return done.stdout

    def value(self, simulator, udid, key):
        return self.output(simulator, "ideviceinfo", "-u", udid, "-k", key).rstrip("\n")

    def check_info(self, simulator):
        self.assertEqual(self.output(simulator, "idevice_id", "-l").split(), [FIRST])
        self.assertEqual(self.value(simulator, FIRST, "DeviceName"), "Blue Phone")
        self.assertEqual(self.value(simulator, FIRST, "UniqueDeviceID"), FIRST)
        self.assertEqual(self.value(simulator, FIRST, "SerialNumber"), "QB0000000001")
        self.assertEqual(self.value(simulator, FIRST, "Uses24HourClock"), "true")
        self.assertAlmostEqual(float(self.value(simulator, FIRST, "TimeIntervalSince1970")),
                               time.time(), delta=60)
        self.assertEqual(self.output(simulator, "idevicename", "-u", FIRST), "Blue Phone\n")
        everything = self.output(simulator, "ideviceinfo", "-u", FIRST)
        for key in ("ActivationState", "BasebandVersion", "BluetoothAddress", "DeviceClass",
                    "InternationalMobileEquipmentIdentity", "PhoneNumber", "SIMStatus",
                    "WiFiAddress", "iTunesHasConnected"):
            self.assertIn("\n%s: " % key, "\n" + everything)

    def check_pairing(self, simulator):
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "validate"))
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "unpair"))
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "pair"))
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "validate"))
        self.assertEqual(self.value(simulator, FIRST, "SerialNumber"), "QB0000000001")

    def test_information_with_tls(self):
        self.check_info(self.start("--devices", "1"))

    def test_information_without_tls(self):
        self.check_info(self.start("--devices", "1", "--no-tls"))

    def test_pairing_with_tls(self):
        self.check_pairing(self.start("--devices", "1"))

    def test_pairing_without_tls(self):
        self.check_pairing(self.start("--devices", "1", "--no-tls"))

    def test_two_devices(self):
        simulator = self.start("--devices", "2")
        self.assertEqual(sorted(self.output(simulator, "idevice_id", "-l").split()),
                         [FIRST, SECOND])
        self.assertEqual(self.output(simulator, "idevicename", "-u", FIRST), "Blue Phone\n")
        self.assertEqual(self.output(simulator, "idevicename", "-u", SECOND), "Red Phone\n")
        simulator.ctl("detach", FIRST)
        self.assertEqual(self.output(simulator, "idevice_id", "-l").split(), [SECOND])
        self.assertNotEqual(simulator.tool("ideviceinfo", "-u", FIRST).returncode, 0)

    def test_a_new_device_asks_first(self):
        simulator = self.start("--devices", "1", "--untrusted")
        asked = simulator.tool("idevicepair", "-u", FIRST, "pair")
        self.assertNotEqual(asked.returncode, 0)
        self.assertIn("trust dialog", asked.stdout + asked.stderr)
        simulator.ctl("refuse", FIRST)
        refused = simulator.tool("idevicepair", "-u", FIRST, "pair")
        self.assertIn("denied", refused.stdout + refused.stderr)
        simulator.ctl("lock", FIRST)
        locked = simulator.tool("idevicepair", "-u", FIRST, "pair")
        self.assertIn("passcode", locked.stdout + locked.stderr)
        simulator.ctl("unlock", FIRST)
        simulator.ctl("trust", FIRST, "--silent")
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "pair"))
        self.assertIn("SUCCESS", self.output(simulator, "idevicepair", "-u", FIRST, "validate"))

    def test_a_device_that_has_forgotten_the_computer(self):
        simulator = self.start("--devices", "1")
        simulator.ctl("distrust", FIRST)
        self.assertNotEqual(simulator.tool("idevicepair", "-u", FIRST, "validate").returncode, 0)

    def test_without_a_session_only_little_is_told(self):
        simulator = self.start("--devices", "1", "--untrusted")
        few = self.output(simulator, "ideviceinfo", "-u", FIRST, "-s")
        self.assertIn("DeviceName: Blue Phone", few)
        self.assertNotIn("PhoneNumber", few)

    def test_usage_errors(self):
        for words in ([], ["--socket"], ["--nonsense"], ["ctl"], ["ctl", "--control"],
                      ["ctl", "--control", "x"]):
            done = subprocess.run([simulator_program(), *words], capture_output=True, text=True,
                                  timeout=20 * PATIENCE)
            self.assertEqual(done.returncode, 2, words)
            self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        for words in (["--help"], ["ctl", "--help"]):
            done = subprocess.run([simulator_program(), *words], capture_output=True, text=True,
                                  timeout=20 * PATIENCE)
            self.assertEqual(done.returncode, 0)
            self.assertIn("Usage", done.stdout)
        done = subprocess.run([simulator_program(), "ctl", "--control", "/nonexistent", "list"],
                              capture_output=True, text=True, timeout=20 * PATIENCE)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.stderr.splitlines()), 1)

    def test_quit_ends_it(self):
        simulator = self.start("--devices", "1")
        simulator.ctl("quit")
        self.assertEqual(simulator.process.wait(10 * PATIENCE), 0)
        self.assertFalse(os.path.exists(simulator.socket))


if __name__ == "__main__":
    unittest.main()
