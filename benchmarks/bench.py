# SPDX-License-Identifier: GPL-3.0-or-later
"""Speed of a mounted volume over simulated links, each figure next to the limit of the same run.

The limit is one pipelined raw stream of the file service over the same link, or one of its round trips as a
raw client measures it. Writes results.md and results.svg beside this file. `bench.py --quick` measures one
link and smaller files and prints only.
"""

import argparse
import datetime
import os
import platform
import resource
import shutil
import subprocess
import sys
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "integration"))
sys.path.insert(0, HERE)
import plot  # noqa: E402
from harness import Quillbox, Simulator, is_mounted, program, wait_for  # noqa: E402

MIB = 1 << 20


def timed(command, environment=None):
    """Seconds and processor seconds of a command that must succeed."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env=environment)
    seconds = time.monotonic() - started
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return seconds, (after.ru_utime + after.ru_stime) - (before.ru_utime + before.ru_stime)


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Scene:
    """One simulated phone behind one link, mounted; and the files that are measured with."""

    def __init__(self, latency_ms, megabytes_a_second, tls, large):
        self.latency, self.rate, self.tls, self.large = latency_ms, megabytes_a_second, tls, large
        self.folder = tempfile.mkdtemp(prefix="quillbox-bench-")
        self.simulator = Simulator(self.folder, "--devices", "1", "--no-afc2",
                                   *([] if tls else ["--no-tls"]))
        self.media = self.simulator.media()
        self.simulator.ctl("latency", latency_ms)
        self.simulator.ctl("bandwidth", megabytes_a_second * 1_000_000)
        self.simulator.ctl("counters", "reset")
        started = time.monotonic()
        self.quillbox = Quillbox(self.folder, self.simulator.environment)
        self.volume = wait_for(self.mounted, 60, "the phone is mounted")
        self.arrival = time.monotonic() - started
        self.source = os.path.join(self.folder, "source")
        self.write(self.source, large)
        self.round_trip = self.raw("ask", 100)[0] / 100

    def mounted(self):
        paths = (os.path.join(self.quillbox.volumes, name) for name in os.listdir(self.quillbox.volumes))
        return next((path for path in paths if is_mounted(path)), None)

    @staticmethod
    def write(path, size):
        block = os.urandom(MIB)
        with open(path, "wb") as file:
            for at in range(0, size, MIB):
                file.write(block[:min(MIB, size - at)])

    @staticmethod
    def fill(folder, count, size):
        os.makedirs(folder, exist_ok=True)
        block = os.urandom(size)
        for number in range(count):
            with open(os.path.join(folder, f"IMG_{number:05}.JPG"), "wb") as file:
                file.write(block)

    def on(self, *parts):
        return os.path.join(self.volume, *parts)

    def raw(self, *words):
        """Seconds and processor seconds of the raw stream."""
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        output = subprocess.run([program("quillbox-raw-stream"), self.simulator.udids[0], *map(str, words)],
                                check=True, capture_output=True, text=True,
                                env=self.simulator.environment).stdout
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return float(output.split()[1]), \
            (after.ru_utime + after.ru_stime) - (before.ru_utime + before.ru_stime)

    def link(self):
        rate = f"{self.rate} MB/s" if self.rate else "unlimited"
        return f"{self.latency} ms, {rate}{', TLS' if self.tls else ''}"

    def end(self):
        self.quillbox.end()
        self.simulator.end()
        shutil.rmtree(self.folder, ignore_errors=True)


class Results:
    def __init__(self):
        self.rows = []

    def add(self, scene, work, seconds, requests, limit="", ratio=None):
        row = (scene.link(), work, f"{seconds:.3f}", str(requests),
               f"{limit:.3f}" if limit else "", "" if ratio is None else f"{ratio:.2f}")
        self.rows.append(row)
        print("| " + " | ".join(row) + " |", flush=True)


def measured(scene, results, work, command, limit=None, per=None):
    """Runs a command; the ratio is the limit's time to its own, or round-trip times for each of `per`."""
    os.sync()  # what was written before must not be measured now
    scene.simulator.ctl("counters", "reset")
    seconds, processor = timed(command)
    trips = scene.simulator.counters().get("round-trips", 0)
    ratio = None
    if limit:
        ratio = limit / seconds
    elif per and scene.latency:
        ratio = seconds / scene.round_trip / per
    results.add(scene, work, seconds, trips, limit or "", ratio)
    return seconds, processor


def copied(scene, results, work, operands, size, raw, raw_processor):
    """One copy, and the processor time that it takes us: next to that of cp and the raw stream's client."""
    pid = scene.quillbox.process.pid
    before = processor_seconds(pid)
    _, cp_processor = measured(scene, results, work, ["cp", *operands], raw)
    ours = processor_seconds(pid) - before
    gib = size / (1 << 30)
    theirs = max(cp_processor + raw_processor, 0.001)
    results.add(scene, f"processor seconds a GiB, {work} (limit: cp and raw stream)", ours / gib, "",
                theirs / gib, ours / theirs)


def copies(scene, results):
    size = scene.large
    label = f"{size // MIB} MiB"
    raw_write, raw_processor = scene.raw("write", "/raw", size)
    copied(scene, results, f"cp {label} onto", [scene.source, scene.on("file")], size, raw_write, raw_processor)
    raw_read, raw_processor = scene.raw("read", "/file")
    back = os.path.join(scene.folder, "back")
    copied(scene, results, f"cp {label} off", [scene.on("file"), back], size, raw_read, raw_processor)
    assert subprocess.run(["cmp", scene.source, back], check=False).returncode == 0
    small = min(size, 64 * MIB)
    for block in ("4k", "128k", "1M"):
        measured(scene, results, f"dd bs={block} of {small // MIB} MiB read",
                 ["dd", f"if={scene.on('file')}", "of=/dev/null", f"bs={block}", "status=none",
                  "iflag=count_bytes", f"count={small}"], raw_read * small / size)
        measured(scene, results, f"dd bs={block} of {small // MIB} MiB written",
                 ["dd", f"if={scene.source}", f"of={scene.on('dd' + block)}", f"bs={block}",
                  "status=none", "iflag=count_bytes", f"count={small}"], raw_write * small / size)


def listings(scene, results, sizes):
    for count in sizes:
        Scene.fill(os.path.join(scene.media, f"list{count}"), count, 0)
        measured(scene, results, f"ls -l of {count} entries", ["ls", "-l", scene.on(f"list{count}")], per=1)
    folders = 1000 if len(sizes) > 1 else 100
    for number in range(folders):
        Scene.fill(os.path.join(scene.media, "tree", f"{number:04}"), 10, 0)
    measured(scene, results, f"find over {folders * 10} files in {folders} folders, each folder",
             ["find", scene.on("tree")], per=folders)


def small_files(scene, results, count):
    files = os.path.join(scene.media, "small")
    Scene.fill(files, count, 50 << 10)
    measured(scene, results, f"cp -r of {count} files of 50 KiB off, each file",
             ["cp", "-r", scene.on("small"), os.path.join(scene.folder, "small")], per=count)
    measured(scene, results, f"cp -r of {count} files of 50 KiB onto, new folder, each file",
             ["cp", "-r", os.path.join(scene.folder, "small"), scene.on("new")], per=count)
    os.mkdir(os.path.join(scene.media, "old"))
    time.sleep(1)
    measured(scene, results, f"cp of {count} files of 50 KiB onto, old folder, each file",
             ["cp", "-rT", os.path.join(scene.folder, "small"), scene.on("old")], per=count)
    archive = os.path.join(scene.folder, "small.tar")
    Scene.fill(os.path.join(scene.folder, "many"), 2 * count, 50 << 10)
    subprocess.run(["tar", "-C", scene.folder, "-cf", archive, "many"], check=True)
    os.mkdir(os.path.join(scene.media, "untar"))
    measured(scene, results, f"tar of {2 * count} files of 50 KiB onto, dates kept, each file",
             ["tar", "-C", scene.on("untar"), "-xf", archive], per=2 * count)


def beside_a_thumbnailer(scene, results, count=200):
    files = os.path.join(scene.media, "thumbs")
    Scene.fill(files, count, 100 << 10)
    raw_write, _ = scene.raw("write", "/raw", scene.large)
    arrived = []

    def read_all():
        folder = scene.on("thumbs")
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), "rb") as file:
                arrived.append(len(file.read()))

    thread = threading.Thread(target=read_all)
    thread.start()
    measured(scene, results, f"cp {scene.large // MIB} MiB onto while {count} pictures are read",
             ["cp", scene.source, scene.on("beside")], raw_write)
    thread.join()
    assert arrived == [100 << 10] * count, "a picture did not arrive whole"


def memory(scene, results, size):
    idle = scene.quillbox.resident_kib()
    sparse = os.path.join(scene.media, "sparse")
    with open(sparse, "wb") as file:
        file.truncate(size)
    most = [idle]
    stop = threading.Event()

    def watch():
        while not stop.wait(0.05):
            most[0] = max(most[0], scene.quillbox.resident_kib())

    thread = threading.Thread(target=watch)
    thread.start()
    subprocess.run(["dd", f"if={scene.on('sparse')}", "of=/dev/null", "bs=1M", "status=none"], check=True)
    stop.set()
    thread.join()
    results.add(scene, f"resident MiB during a copy of {size >> 30} GiB (limit: idle)", most[0] / 1024, "",
                idle / 1024, (most[0] - idle) / 1024)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--latency", type=float, default=5)
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    results = Results()
    load = os.getloadavg()
    print("| link | work | seconds | round trips | limit | ratio |\n|---|---|---|---|---|---|")
    links = [(options.latency, 40, False)] if options.quick else \
        [(latency, rate, tls) for tls in (False, True) for rate in (0, 40) for latency in (0, 1, 5)]
    for latency, rate, tls in links:
        latency = int(latency) if latency == int(latency) else latency
        scene = Scene(latency, rate, tls, (64 if options.quick else 256) * MIB)
        try:
            results.add(scene, "one round trip of a raw client", scene.round_trip, 1)
            results.add(scene, "arrival to mounted", scene.arrival, "", "",
                        scene.arrival / scene.round_trip if latency else None)
            parts = {"copies": lambda: copies(scene, results),
                     "listings": lambda: listings(scene, results, (2000,) if options.quick else
                                                  (200, 2000, 20000)),
                     "small": lambda: small_files(scene, results, 100 if options.quick else 500),
                     "beside": lambda: beside_a_thumbnailer(scene, results),
                     "memory": lambda: memory(scene, results, (1 if options.quick else 4) << 30)}
            for name, part in parts.items():
                if name == "memory" and rate:
                    continue  # the link's limit only makes it longer
                if not options.only or name in options.only.split(","):
                    part()
        finally:
            scene.end()
    if options.quick or options.only:
        return
    with open("/proc/cpuinfo") as info:
        model = next((line.split(":")[1].strip() for line in info if line.startswith("model name")), "")
    with open(os.path.join(HERE, "results.md"), "w") as file:
        file.write("# Speed of volumes\n\n"
                   f"{datetime.date.today()}, {os.cpu_count()} processors ({model}), "
                   f"Linux {platform.release()}, load average {load[0]:.1f} at the beginning and "
                   f"{os.getloadavg()[0]:.1f} at the end. Made by `./bench`.\n\n"
                   "The limit is the same bytes as one pipelined raw stream over the same link, in seconds, "
                   "and the ratio the part of its speed that was reached. Where there is no limit, the "
                   "ratio counts round-trip times of the link, as a raw client that asks one small question "
                   "after the other measured them in the same run. Processor time and memory stand next to "
                   "what their rows name: seconds and their ratio, and MiB and their difference.\n\n"
                   "![Throughput and listing time against latency](results.svg)\n\n"
                   "| link | work | seconds | round trips | limit | ratio |\n|---|---|---|---|---|---|\n")
        file.writelines("| " + " | ".join(row) + " |\n" for row in results.rows)
    with open(os.path.join(HERE, "results.svg"), "w") as file:
        file.write(plot.drawing(results.rows))


if __name__ == "__main__":
    main()
