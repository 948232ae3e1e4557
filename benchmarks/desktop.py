# SPDX-License-Identifier: GPL-3.0-or-later
"""How soon the status item is in the tray, and how much memory the program takes with one device mounted.

    /usr/bin/python3 benchmarks/desktop.py     (QUILLBOX_BIN_DIR: an optimised build's programs)

Prints the median and the worst of some starts, on a desktop of their own, next to the limits that the program keeps
to, and ends with 1 when a median is above its limit. With the name of a file adds them to that. A computer that has
other work to do shows worse figures.
"""

import os
import shutil
import statistics
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", "tests", place) for place in ("desktop", "integration")]
from harness import Simulator, wait_for  # noqa: E402
from scene import DEFAULTS, WATCHER, Desktop, OnScreen  # noqa: E402

STARTS = 7
MOST_MILLISECONDS = 300
MOST_MIB = 80


def one_start(desktop, folder, simulator):
    """Milliseconds to the registered item, and resident MiB with the device mounted."""
    started = time.monotonic()
    quillbox = OnScreen(desktop, folder, simulator.environment)
    try:
        wait_for(lambda: desktop.has_name(quillbox.service), 20, "the status item")
        took = 1000 * (time.monotonic() - started)
        quillbox.wait_notifier()
        quillbox.wait_mounted("Blue Phone (Media)")
        quillbox.choose("Blue Phone", "Device Info")
        desktop.wait_window("Device information")
        return took, quillbox.resident_kib() / 1024
    finally:
        quillbox.end()


def main():
    import plistlib
    folder = tempfile.mkdtemp(prefix="quillbox-bench-")
    simulator = Simulator(folder, "--devices", "1", "--sample", "--no-afc2")
    desktop = Desktop(folder)
    try:
        desktop.start_lxqt_panel()
        wait_for(lambda: desktop.has_name(WATCHER), 20, "the panel")
        with open(os.path.join(folder, "preferences.plist"), "wb") as file:
            plistlib.dump(dict(DEFAULTS, showWelcomeScreenOnStart=False), file)
        figures = [one_start(desktop, folder, simulator) for _ in range(STARTS)]
    finally:
        desktop.end()
        simulator.end()
        shutil.rmtree(folder, ignore_errors=True)
    good = True
    lines = []
    for what, values, unit, most in (("start to the status item", [each[0] for each in figures], "ms", MOST_MILLISECONDS),
                                     ("resident memory", [each[1] for each in figures], "MiB", MOST_MIB)):
        middle = statistics.median(values)
        good = good and middle <= most
        lines.append(f"{what}: {middle:.0f} {unit} (worst {max(values):.0f}), limit {most} {unit}")
    print("\n".join(lines))
    if len(sys.argv) > 1:
        with open(sys.argv[1], "a", encoding="utf-8") as file:
            file.write(f"\n## On a desktop\n\n{STARTS} starts, one device mounted and one window open, the median each.\n\n"
                       + "".join(f"- {line}\n" for line in lines))
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
