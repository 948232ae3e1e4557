# SPDX-License-Identifier: GPL-3.0-or-later
"""What every integration test stands on: a simulated device, the program, and a volumes folder.

The programs are those of the build under test, found through QUILLBOX_BIN_DIR. Everything lives in one
temporary folder a test; whatever happens, no process and no mount is left behind.
"""

import hashlib
import os
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time
import unittest

BIN = os.environ.get("QUILLBOX_BIN_DIR", "")
# Sanitized programs are several times slower; bounds that a person would feel stay as they are, bounds
# that only keep a test from hanging are stretched.
PATIENCE = float(os.environ.get("QUILLBOX_TEST_PATIENCE", "1"))


def program(name):
    path = os.path.join(BIN, name)
    if not BIN or not os.access(path, os.X_OK):
        raise AssertionError(f"QUILLBOX_BIN_DIR does not lead to {name}: '{BIN}'")
    return path


def wait_for(condition, seconds, what):
    """Waits until condition() is truthy and returns it; fails the test after `seconds`."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.01)


def run(*command, seconds=60, check=True, **options):
    """Runs a command with its output captured; one that hangs is killed and fails the test."""
    done = subprocess.run(command, capture_output=True, text=True, errors="surrogateescape",
                          timeout=seconds * PATIENCE, stdin=subprocess.DEVNULL, **options)
    if check and done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with {done.returncode}:\n"
                             f"{done.stdout}{done.stderr}")
    return done


def sha256(path):
    digest = hashlib.sha256()
    with open(path, "rb", buffering=0) as file:
        while block := file.read(1 << 20):
            digest.update(block)
    return digest.hexdigest()


def tree(folder):
    """Every path below a folder with what it holds: kind, and content hash, link target or nothing."""
    found = {}
    for place, folders, files in os.walk(os.fsencode(folder)):
        for name in folders + files:
            path = os.path.join(place, name)
            key = os.path.relpath(path, os.fsencode(folder))
            if os.path.islink(path):
                found[key] = ("link", os.readlink(path))
            elif os.path.isdir(path):
                found[key] = ("folder", None)
            else:
                found[key] = ("file", sha256(path))
    return found


def is_mounted(path):
    """Whether a volume of ours is mounted at a path; asks the kernel's table, never the volume."""
    wanted = os.fsencode(path).replace(b"\\", b"\\134").replace(b" ", b"\\040") \
        .replace(b"\t", b"\\011").replace(b"\n", b"\\012")
    with open("/proc/self/mountinfo", "rb") as table:
        for line in table:
            fields = line.split(b" ")
            if fields[4] == wanted and b" - fuse.quillbox " in line:
                return True
    return False


class Simulator:
    """A running simulated multiplexer with its devices."""

    def __init__(self, folder, *options):
        self.socket = os.path.join(folder, "mux")
        self.control = os.path.join(folder, "control")
        self.state = os.path.join(folder, "state")
        self.environment = dict(os.environ, USBMUXD_SOCKET_ADDRESS="UNIX:" + self.socket)
        self.log = open(os.path.join(folder, "simulator.log"), "ab")
        self.process = subprocess.Popen(
            [program("quillbox-simulator"), "--socket", self.socket, "--control", self.control,
             "--state", self.state, *options],
            stdout=subprocess.PIPE, stderr=self.log, stdin=subprocess.DEVNULL)
        line = self.process.stdout.readline()
        if line.strip() != b"ready":
            raise AssertionError(f"the simulated device did not start: {line!r}")
        self.udids = self.list_devices()

    def ctl(self, *words, seconds=60):
        """Carries out one command as `quillbox-simulator ctl` does, without a process for each: a frame
        of a 4-byte big-endian length and words that end with NUL; the answer's first byte is the status.
        """
        message = b"".join(str(word).encode() + b"\0" for word in words)
        with socket.socket(socket.AF_UNIX) as link:
            link.settimeout(seconds * PATIENCE)
            link.connect(self.control)
            link.sendall(struct.pack(">I", len(message)) + message)
            answer = b""
            while len(answer) < 4 or len(answer) < 4 + struct.unpack(">I", answer[:4])[0]:
                block = link.recv(1 << 16)
                if not block:
                    raise AssertionError("the simulator has ended")
                answer += block
        if answer[4:5] != b"0":
            raise AssertionError(f"{words}: {answer[5:].decode()}")
        return answer[5:].decode()

    def list_devices(self):
        return [line.split()[0] for line in self.ctl("list").splitlines() if line.strip()]

    def media(self, index=0):
        """The host folder behind a device's media area."""
        return os.path.join(self.state, self.udids[index], "Media")

    def counters(self):
        """File service requests by kind since the last reset, over all devices, and their "total"."""
        counted = {}
        for line in self.ctl("counters").splitlines():
            _, kind, number = line.split()
            if kind.islower():
                counted[kind] = counted.get(kind, 0) + int(number)
        counted["total"] = sum(counted.values())
        return counted

    def end(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        self.log.close()


class Quillbox:
    """The program under test, without a display."""

    HEADLESS = ("--headless",)

    def __init__(self, folder, environment, *options, volumes=None, preferences=None, executable=None):
        self.volumes = volumes or os.path.join(folder, "Volumes")
        self.preferences = preferences or os.path.join(folder, "preferences.plist")
        self.log_path = os.path.join(folder, "quillbox.log")
        self.log = open(self.log_path, "ab")
        self.log_begin = self.log.tell()  # what stands before is of another run
        os.makedirs(self.volumes, exist_ok=True)
        home = os.path.join(folder, "home")
        os.makedirs(home, exist_ok=True)
        environment = dict(environment, HOME=home, XDG_CONFIG_HOME=os.path.join(home, ".config"),
                           XDG_STATE_HOME=os.path.join(home, ".state"),
                           XDG_RUNTIME_DIR=os.path.join(folder, "runtime"))
        if self.HEADLESS:
            environment["XDG_DATA_HOME"] = os.path.join(home, ".local", "share")
        os.makedirs(environment["XDG_RUNTIME_DIR"], mode=0o700, exist_ok=True)
        self.environment = environment
        self.process = self.start_process(
            [executable or program("quillbox"), *self.HEADLESS, "--volumes", self.volumes, "--preferences",
             self.preferences, *options], environment)

    def verb(self, *words, seconds=60):
        """Says a verb to the running program, as a user of its session does: the finished command."""
        return run(program("quillbox"), *words, seconds=seconds, check=False, env=self.environment)

    def start_process(self, command, environment):
        return subprocess.Popen(command, stdout=self.log, stderr=self.log, stdin=subprocess.DEVNULL,
                                env=environment)

    def volume(self, name):
        return os.path.join(self.volumes, name)

    def wait_mounted(self, name, seconds=10):
        path = self.volume(name)
        # In this order: a dead volume of a killed program is mounted too and answers nothing, and the empty
        # folder that takes its place is a folder but no mount.
        wait_for(lambda: os.path.isdir(path) and is_mounted(path), seconds * PATIENCE,
                 f"{name} is mounted and answers")
        # The kernel's table has a volume before the program's list, menu and preferences do.
        wait_for(lambda: self.told_mounted(path), seconds * PATIENCE, f"the program says that {name} is mounted")
        return path

    def told_mounted(self, path):
        """Whether its log says that a volume is mounted: what is asked of the program from then on counts it."""
        with open(self.log_path, "rb") as log:
            log.seek(self.log_begin)
            text = log.read()
        place = os.fsencode(path) + b".\n"
        return text.count(b" is mounted at " + place) > text.count(b" is no longer mounted at " + place)

    def wait_gone(self, name, seconds=2.0):
        path = self.volume(name)
        wait_for(lambda: not is_mounted(path) and name not in os.listdir(self.volumes), seconds,
                 f"{name} and its folder are gone")

    def log_text(self):
        with open(self.log_path, errors="replace") as log:
            return log.read()

    def wait_log(self, text, seconds=10):
        wait_for(lambda: text in self.log_text(), seconds * PATIENCE, f"log line: {text}")

    def resident_kib(self):
        with open(f"/proc/{self.process.pid}/status") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    def terminate(self, seconds=10):
        """Ends it as a session manager does; answers its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        return self.process.wait(seconds * PATIENCE)

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def end(self):
        if self.process.poll() is None:
            try:
                self.terminate()
            except subprocess.TimeoutExpired:
                self.kill()
        self.log.close()


class DeviceTest(unittest.TestCase):
    """One test with a temporary folder, as many simulators and programs as it starts, and clean ends."""

    maxDiff = 4000
    DEVICES = ("--devices", "1", "--sample", "--no-afc2")
    OPTIONS = ()

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="quillbox-test-")
        self.running = []
        self.addCleanup(self.clean_up)

    def start_simulator(self, *options):
        simulator = Simulator(self.folder, *(options or self.DEVICES))
        self.running.append(simulator)
        return simulator

    def start_quillbox(self, simulator, *options, **keywords):
        quillbox = Quillbox(self.folder, simulator.environment, *(options or self.OPTIONS), **keywords)
        self.running.append(quillbox)
        return quillbox

    def start(self, *simulator_options, name="Blue Phone (Media)"):
        """The usual scene: one device, mounted. Sets simulator, quillbox, volume and media."""
        self.simulator = self.start_simulator(*simulator_options)
        self.quillbox = self.start_quillbox(self.simulator)
        self.volume = self.quillbox.wait_mounted(name)
        self.media = self.simulator.media()
        return self.volume

    def local(self, *parts):
        path = os.path.join(self.folder, "local", *parts)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        return path

    def clean_up(self):
        complaints = []
        for each in reversed(self.running):
            if isinstance(each, Quillbox):
                status = each.process.poll()
                each.end()
                if status not in (None, 0, -signal.SIGKILL) or each.process.returncode not in (
                        0, -signal.SIGKILL):
                    complaints.append(f"the program ended with {each.process.returncode}")
                text = each.log_text()
                for word in ("AddressSanitizer", "ThreadSanitizer", "runtime error:", "LeakSanitizer"):
                    if word in text:
                        complaints.append(f"the program's log holds '{word}'")
                        break
            else:
                each.end()
        with open("/proc/self/mountinfo") as table:
            left = [line.split()[4] for line in table
                    if self.folder in line and "fuse.quillbox" in line]
        for mount in left:
            mount = mount.encode().decode("unicode_escape").encode("latin-1")
            subprocess.run(["umount", "-l", mount], check=False)
        if left:
            complaints.append(f"mounts left behind: {left}")
        failed = bool(complaints) or any(error for _, error in self._outcome.errors) \
            if hasattr(self._outcome, "errors") else bool(complaints)
        if not self._outcome.success or failed:
            for each in self.running:
                if isinstance(each, Quillbox):
                    print(f"--- log of the program ({self.id()})\n{each.log_text()[-6000:]}\n---")
        shutil.rmtree(self.folder, ignore_errors=True)
        if complaints:
            self.fail("; ".join(complaints))
