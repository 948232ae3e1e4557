# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs clang-tidy over the sources of the program and of the simulated device.

    python3 tidy.py BUILD_FOLDER

The folder holds compile_commands.json. A source that was found clean is not looked at again until it, its command,
any header of the tree or the rules change. Ends with 1 when anything was found.
"""

import concurrent.futures
import hashlib
import json
import os
import subprocess
import sys

TOOL = "clang-tidy-14"
ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))


def common_key():
    """What every verdict rests on: the tool, its rules and all headers."""
    digest = hashlib.sha256(subprocess.run([TOOL, "--version"], capture_output=True, check=True).stdout)
    headers = [os.path.join(place, name) for top in ("src", "simulator")
               for place, _, files in os.walk(os.path.join(ROOT, top)) for name in files if name.endswith(".h")]
    for path in sorted(headers) + [os.path.join(ROOT, ".clang-tidy")]:
        with open(path, "rb") as file:
            digest.update(path.encode() + b"\0" + file.read())
    return digest.digest()


def key_of(entry, common):
    digest = hashlib.sha256(common + json.dumps(entry, sort_keys=True).encode())
    with open(entry["file"], "rb") as file:
        digest.update(file.read())
    return digest.hexdigest()


def check(build, stamps, entry, common):
    """Nothing for a clean source, else what was found."""
    stamp = os.path.join(stamps, key_of(entry, common))
    if os.path.exists(stamp):
        return None
    done = subprocess.run([TOOL, "-p", build, "--quiet", entry["file"]], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        return done.stdout + done.stderr
    with open(stamp, "wb"):
        return None


def main():
    build = os.path.abspath(sys.argv[1])
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        rooms = tuple(os.path.join(ROOT, top) + os.sep for top in ("src", "simulator"))
        entries = {entry["file"]: entry for entry in json.load(file) if entry["file"].startswith(rooms)}
    if not entries:
        print("clang-tidy: no source was found")
        return 1
    stamps = os.path.join(build, "tidy")
    os.makedirs(stamps, exist_ok=True)
    common = common_key()
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(lambda entry: check(build, stamps, entry, common), entries.values()):
            if found is not None:
                failed += 1
                print(found)
    print(f"clang-tidy: {len(entries)} sources, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
