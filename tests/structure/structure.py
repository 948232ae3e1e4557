# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds the tree to its own rules: which room may include which, that no sources include each other, and what every
source looks like.

    python3 structure.py [ROOT]

Prints one line for each breach and ends with 1 when there is one. Only files that belong to the tree (tracked, or
about to be) are read.
"""

import graphlib
import os
import re
import subprocess
import sys
import xml.etree.ElementTree as tree

SOURCES = (".h", ".cpp", ".c", ".hpp", ".cc")
SPDX = "SPDX-License-Identifier: GPL-3.0-or-later"
LONGEST = 500
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')

# A room is the longest folder of this table that holds a file; its own files are always allowed.
# "std" stands for the headers of the C++ standard library, "any" for every header in angle brackets.
ROOMS = {
    "src/Core/Platform": {"std"},
    "src/Core/Images": {"src/Core/Platform", "std"},
    "src/Core/Settings": {"src/Core/Platform", "std"},
    "src/Core/AFC": {"src/Core/Platform", "std"},
    "src/Core/PathTree": {"src/Core/Platform", "std"},
    "src/Core/Session": {"src/Core/Settings", "src/Core/Images"},
    "src/Core/Volumes": {"src/Core/Session", "src/Core/Images", "src/Core/Settings"},
    "src/Core/Utility": {"src/Core/Volumes"},
    "src/Core/Windows": {"src/Core/Utility", "src/Core/Volumes", "src/Core/Session", "src/Core/Settings"},
    "src/Core/Shell": {"src/Core/Windows", "src/Core/Utility", "src/Core/Volumes", "src/Core/Session",
                       "src/Core/Settings", "src/Core/Images", "src/Core/AFC", "src/Core/PathTree"},
    "src/Wire": {"any"},
    "src/Linux/Device/Streams": {"src/Core/Platform", "src/Wire", "any"},
    "src/Linux/Device/Lockdown": {"src/Linux/Device/Streams", "src/Core/Platform", "src/Wire", "any"},
    "src/Linux/Device/Multiplexer": {"src/Linux/Device/Lockdown", "src/Linux/Device/Streams", "src/Core/Platform",
                                     "src/Wire", "any"},
    "src/Linux/Device/Files": {"src/Linux/Device/Lockdown", "src/Linux/Device/Streams", "src/Core/Platform",
                               "src/Wire", "any"},
    "src/Linux/Device": {"src/Linux/Device/Files", "src/Linux/Device/Multiplexer", "src/Linux/Device/Lockdown",
                         "src/Linux/Device/Streams", "src/Core/Platform", "src/Wire", "any"},
    "src/Linux/Volume": {"src/Core/Platform", "any"},
    "src/Linux/Host": {"src/Core/Platform", "any"},
    "src/Linux/Desktop": {"src/Core/Platform", "any"},
    "src/Linux/Control": {"any"},
    "src/App": {"src/Linux", "src/Core", "any"},
    "simulator": {"src/Wire", "any"},
}

STANDARD = set("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes
    climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg
    cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem
    format forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator
    latch limits list locale map memory memory_resource mutex new numbers numeric optional ostream queue random
    ranges ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept
    stop_token streambuf string string_view strstream syncstream system_error thread tuple type_traits typeindex
    typeinfo unordered_map unordered_set utility valarray variant vector version""".split())


def tracked_files(root):
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            capture_output=True, check=False)
    if listed.returncode == 0:
        names = [name.decode() for name in listed.stdout.split(b"\0") if name]
    else:
        names = [os.path.relpath(os.path.join(place, name), root)
                 for place, _, files in os.walk(root) for name in files]
    return sorted(name for name in names if os.path.isfile(os.path.join(root, name)) and not name.startswith("build/"))


def below(path, folder):
    return path.startswith(folder + "/")


def room_of(path):
    holders = [room for room in ROOMS if below(path, room)]
    return max(holders, key=len) if holders else None


def allowed_rooms(room):
    """Every folder of a room's table; a room of the core may always use the ports."""
    rooms = {each for each in ROOMS[room] if "/" in each}
    return rooms | ({"src/Core/Platform"} if below(room, "src/Core") else set())


def check_include(path, line, bracket, target, files):
    room = room_of(path)
    if bracket == "<":
        if target in STANDARD or "any" in ROOMS[room]:
            return None
        return f"{path}:{line}: <{target}> is not of the standard library, which is all that {room} may use"
    beside = os.path.normpath(os.path.join(os.path.dirname(path), target))
    rooted = os.path.normpath(os.path.join("src", target))
    if ".." in target.split("/"):
        return f"{path}:{line}: \"{target}\" climbs out of its folder"
    if room == "simulator" and beside in files:
        return None
    if rooted not in files:
        if beside in files:
            return f"{path}:{line}: \"{target}\" is not rooted at src"
        return f"{path}:{line}: \"{target}\" is no file of the tree"
    if below(rooted, room) and room_of(rooted) == room:
        return None
    if any(below(rooted, each) for each in allowed_rooms(room)):
        return None
    return f"{path}:{line}: {room} may not use {room_of(rooted) or rooted}: \"{target}\""


def check_source(root, path, files):
    with open(os.path.join(root, path), encoding="utf-8") as source:
        lines = source.read().splitlines()
    breaches = []
    if not lines or SPDX not in lines[0]:
        breaches.append(f"{path}:1: the licence line is missing")
    if len(lines) > LONGEST:
        breaches.append(f"{path}: {len(lines)} lines, more than {LONGEST}")
    if path.endswith((".h", ".hpp")) and not any(line.strip() == "#pragma once" for line in lines):
        breaches.append(f"{path}: a header without #pragma once")
    if path.startswith(("src/", "simulator/")):
        if room_of(path) is None:
            breaches.append(f"{path}: lies in no room that is known here")
        else:
            for number, line in enumerate(lines, 1):
                if found := INCLUDE.match(line):
                    breaches.append(check_include(path, number, *found.groups(), files))
                elif re.match(r"^\s*#\s*include\b", line):
                    breaches.append(f"{path}:{number}: an include that cannot be read")
    return [each for each in breaches if each]


def included(path, line, files):
    """The file of the tree that a line of a source includes, or None."""
    found = INCLUDE.match(line)
    if not found or found.group(1) == "<":
        return None
    places = (os.path.join(os.path.dirname(path), found.group(2)), os.path.join("src", found.group(2)))
    return next((each for each in map(os.path.normpath, places) if each in files), None)


def check_circles(root, files):
    """A header with its source is one unit: units that use each other cannot be read one after the other."""
    graph = {}
    for path in files:
        if path.endswith(SOURCES) and path.startswith(("src/", "simulator/")):
            unit = os.path.splitext(path)[0]
            uses = graph.setdefault(unit, set())
            with open(os.path.join(root, path), encoding="utf-8") as source:
                targets = [included(path, line, files) for line in source]
            uses |= {os.path.splitext(each)[0] for each in targets if each} - {unit}
    try:
        graphlib.TopologicalSorter(graph).prepare()
    except graphlib.CycleError as error:
        return ["a circle of includes: " + " -> ".join(reversed(error.args[1]))]
    return []


def check_script(root, path):
    with open(os.path.join(root, path), encoding="utf-8") as script:
        head = [script.readline(), script.readline()]
    return [] if any(SPDX in line for line in head) else [f"{path}: the licence line is missing"]


def check_form(root, path):
    """A label that shows a value must be read out with that value, which a name of its own would hide."""
    try:
        widgets = tree.parse(os.path.join(root, path)).iter("widget")
    except tree.ParseError as error:
        return [f"{path}: {error}"]
    return [f"{path}: {widget.get('name')} has an accessible name, which hides its value from screen readers"
            for widget in widgets if widget.get("class") == "QLabel" and widget.get("name", "").startswith("tf_") and
            widget.find("property[@name='accessibleName']") is not None]


def breaches(root):
    """Every breach of the rules in a tree, one line each."""
    files = set(tracked_files(root))
    found = []
    sources = 0
    for path in sorted(files):
        if path.endswith(SOURCES):
            sources += 1
            found += check_source(root, path, files)
        elif path.endswith((".py", ".sh")) or path in ("run", "test", ".ci/run"):
            found += check_script(root, path)
        elif path.endswith(".ui"):
            found += check_form(root, path)
    found += check_circles(root, files)
    if sources == 0:
        found.append(f"{root}: no source was found")
    return found


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "..")
    found = breaches(os.path.abspath(root))
    for each in found:
        print(each)
    print(f"structure: {len(found)} breaches")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
