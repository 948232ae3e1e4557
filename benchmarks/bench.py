# SPDX-License-Identifier: GPL-3.0-or-later
"""Speed of a mounted volume over simulated links, each figure next to the limit of the same run.

The limit is one pipelined raw stream of the file service over the same link. Writes results.md and
results.svg beside this file. `bench.py --quick` measures one link and smaller files and prints only.
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
    """Runs a command; the ratio is the limit's time to its own, or round trip times for each of `per`."""
    scene.simulator.ctl("counters", "reset")
    seconds, processor = timed(command)
    trips = scene.simulator.counters().get("round-trips", 0)
    ratio = None
    if limit:
        ratio = limit / seconds
    elif per and scene.latency:
        ratio = seconds / (scene.latency / 1000) / per
    results.add(scene, work, seconds, trips, limit or "", ratio)
    return seconds, processor


def copies(scene, results):
    size = scene.large
    label = f"{size // MIB} MiB"
    raw_write, _ = scene.raw("write", "/raw", size)
    measured(scene, results, f"cp {label} onto", ["cp", scene.source, scene.on("file")], raw_write)
    raw_read, raw_processor = scene.raw("read", "/file")
    pid = scene.quillbox.process.pid
    before = processor_seconds(pid)
    _, cp_processor = measured(scene, results, f"cp {label} off",
                               ["cp", scene.on("file"), os.path.join(scene.folder, "back")], raw_read)
    ours = processor_seconds(pid) - before
    assert subprocess.run(["cmp", scene.source, os.path.join(scene.folder, "back")]).returncode == 0
    gib = size / (1 << 30)
    results.add(scene, "processor seconds a GiB read (limit: cp and raw stream)", ours / gib, "",
                (cp_processor + raw_processor) / gib, ours / max(cp_processor + raw_processor, 0.001))
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
    subprocess.run(["tar", "-C", scene.folder, "-cf", archive, "small"], check=True)
    os.mkdir(os.path.join(scene.media, "untar"))
    measured(scene, results, f"tar of {count} files of 50 KiB onto, dates kept, each file",
             ["tar", "-C", scene.on("untar"), "-xf", archive], per=count)


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


def plot(results, path):
    """Two panels against link latency: throughput next to the limit, and the time of a listing."""
    def series(text, tls):
        found = {}
        for link, work, seconds, _, limit, ratio in results.rows:
            if text in work and ", 40 MB/s" in link and link.endswith(", TLS") == tls:
                found[float(link.split(" ms")[0])] = float(ratio or 0) if "cp " in text else float(seconds)
        return sorted(found.items())

    parts = ['<svg xmlns="http://www.w3.org/2000/svg" width="760" height="300" font-family="sans-serif" '
             'font-size="12">', '<rect width="760" height="300" fill="white"/>']
    panels = ((50, "part of the raw stream's speed, 40 MB/s", 1.05,
               (("cp 256 MiB onto", "#1f77b4", "cp onto"), ("cp 256 MiB off", "#d62728", "cp off"))),
              (430, "seconds of ls -l, 40 MB/s", None,
               (("ls -l of 2000 ", "#1f77b4", "2,000 entries"), ("ls -l of 20000 ", "#d62728",
                                                                 "20,000 entries"))))
    for left, title, top, lines in panels:
        values = [value for text, _, _ in lines for _, value in series(text, False)]
        top = top or max(values + [0.1]) * 1.1
        parts.append(f'<text x="{left}" y="24" font-weight="bold">{title}</text>')
        parts.append(f'<path d="M{left} 40V250H{left + 280}" fill="none" stroke="black"/>')
        for tick in (0, 1, 5):
            parts.append(f'<text x="{left + tick * 55}" y="268" text-anchor="middle">{tick} ms</text>')
        for part in (0, 0.5, 1):
            y = 250 - 200 * part
            parts.append(f'<text x="{left - 6}" y="{y + 4}" text-anchor="end">{top * part:.2f}</text>')
        for number, (text, color, label) in enumerate(lines):
            points = " ".join(f"{left + at * 55:.0f},{250 - 200 * value / top:.0f}"
                              for at, value in series(text, False))
            parts.append(f'<polyline points="{points}" fill="none" stroke="{color}" stroke-width="2"/>')
            parts.append(f'<text x="{left + 190}" y="{200 + 18 * number}" fill="{color}">{label}</text>')
    parts.append("</svg>")
    with open(path, "w") as file:
        file.write("\n".join(parts) + "\n")


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
            results.add(scene, "arrival to mounted", scene.arrival,
                        scene.simulator.counters().get("round-trips", 0), "",
                        scene.arrival / (latency / 1000) if latency else None)
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
                   "ratio counts round-trip times of the link.\n\n"
                   "![Throughput and listing time against latency](results.svg)\n\n"
                   "| link | work | seconds | round trips | limit | ratio |\n|---|---|---|---|---|---|\n")
        file.writelines("| " + " | ".join(row) + " |\n" for row in results.rows)
    plot(results, os.path.join(HERE, "results.svg"))


if __name__ == "__main__":
    main()
