# SPDX-License-Identifier: GPL-3.0-or-later
"""Speed of a mounted volume, as ratios taken in one run.

Run with the programs of a release build:

    QUILLBOX_BIN_DIR=build/release/bin python3 benchmarks/volume.py

Each row names the work, its time, the requests that the simulated device counted, and the ratio to the
same bytes copied between two folders of this computer in the same run.
"""

import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "integration"))
from harness import Quillbox, Simulator  # noqa: E402

MEGABYTES = 128


def timed(command):
    started = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - started


def measure(latency_ms):
    rows = []
    with tempfile.TemporaryDirectory(prefix="quillbox-bench-") as folder:
        simulator = Simulator(folder, "--devices", "1", "--no-afc2")
        quillbox = Quillbox(folder, simulator.environment)
        try:
            volume, media = quillbox.wait_mounted("Blue Phone (Media)"), simulator.media()
            simulator.ctl("latency", latency_ms)
            source = os.path.join(folder, "source")
            with open(source, "wb") as file:
                file.write(os.urandom(1 << 20) * MEGABYTES)
            local = timed(["cp", source, os.path.join(folder, "copy")])
            pictures = os.path.join(media, "pictures")
            os.mkdir(pictures)
            for number in range(500):
                open(os.path.join(pictures, f"IMG_{number:04}.JPG"), "wb").close()
            for work, command, base in (
                    (f"cp {MEGABYTES} MiB onto", ["cp", source, os.path.join(volume, "file")], local),
                    (f"cp {MEGABYTES} MiB off", ["cp", os.path.join(volume, "file"),
                                                os.path.join(folder, "back")], local),
                    ("ls -l of 500 entries", ["ls", "-l", os.path.join(volume, "pictures")], None)):
                simulator.ctl("counters", "reset")
                seconds = timed(command)
                ratio = f"{base / seconds:6.2f}" if base else "     -"
                rows.append(f"| {work} | {latency_ms} ms | {seconds:7.3f} s | "
                            f"{simulator.counters()['total']} | {ratio} |")
        finally:
            quillbox.end()
            simulator.end()
    return rows


def main():
    print("| work | latency | time | requests | speed next to a local copy |")
    print("|---|---|---|---|---|")
    for latency_ms in (0, 1):
        for row in measure(latency_ms):
            print(row)


if __name__ == "__main__":
    main()
