# SPDX-License-Identifier: GPL-3.0-or-later
"""Looks at the sources of the program and of the simulated device, one compilation at a time.

    python3 sources.py alone BUILD_FOLDER   every source compiles by itself, with all its warnings
    python3 sources.py tidy BUILD_FOLDER    clang-tidy finds nothing; quick where the folder compiles in batches

The folder holds compile_commands.json. What was found good is not looked at again until it, its command, any source
of the tree or the rules change. Ends with 1 when anything was found.
"""

import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess
import sys

TIDY = "clang-tidy-14"
ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
ROOMS = ("src", "simulator")


def alone(_, entry):
    """The compiler's own words, without its launcher and without anything written."""
    words = shlex.split(entry["command"])
    if os.path.basename(words[0]) == "ccache":
        words = words[1:]
    where = words.index("-o")
    return words[:where] + words[where + 2:] + ["-fsyntax-only"]


def tidy(build, entry):
    return [TIDY, "-p", build, "--quiet", entry["file"]]


def of_the_tree(ending):
    return sorted(os.path.join(place, name) for top in ROOMS
                  for place, _, files in os.walk(os.path.join(ROOT, top)) for name in files if name.endswith(ending))


def digest_of(paths, *words):
    digest = hashlib.sha256("\0".join(words).encode())
    for path in paths:
        with open(path, "rb") as file:
            digest.update(path.encode() + b"\0" + file.read())
    return digest.hexdigest()


def is_good(command, folder, stamp):
    """Nothing for a good source, else what was found."""
    if os.path.exists(stamp):
        return None
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        return done.stdout + done.stderr
    with open(stamp, "wb"):
        return None


def main():
    kind, build = sys.argv[1], os.path.abspath(sys.argv[2])
    commands = {"alone": alone, "tidy": tidy}[kind]
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        # A batch lies in the build folder, below the same room as the sources that it includes.
        rooms = tuple(os.path.join(top, room) + os.sep for top in (ROOT, build) for room in ROOMS)
        entries = {entry["file"]: entry for entry in json.load(file) if entry["file"].startswith(rooms)}
    if not entries:
        print(f"{kind}: no source was found")
        return 1
    stamps = os.path.join(build, kind)
    os.makedirs(stamps, exist_ok=True)
    batches = any(file.startswith(build) for file in entries)
    tool = subprocess.run([TIDY, "--version"], capture_output=True, text=True, check=True).stdout
    common = digest_of(of_the_tree(".h") + of_the_tree(".cpp") * batches + [os.path.join(ROOT, ".clang-tidy")], tool)

    def look_at(entry):
        command = commands(build, entry)
        stamp = os.path.join(stamps, digest_of([entry["file"]], common, *command))
        return is_good(command, entry["directory"], stamp)

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(look_at, entries.values()):
            if found is not None:
                failed += 1
                print(found)
    print(f"{kind}: {len(entries)} compilations, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
