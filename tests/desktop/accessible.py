# SPDX-License-Identifier: GPL-3.0-or-later
"""What a screen reader knows of one of the program's windows: prints, as one JSON array in the order of the window's
tree, each element that is on the screen with its role, name, description, the name of its label, its place
(x, y, width, height) and whether it can have the keyboard, has it, is enabled and is checked. Prints null as long as
there is no such window.
"""

import json
import sys

import gi
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

CONTAINERS = ("tree", "tree table", "table", "combo box")  # what they hold is theirs


def children(node):
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child:
            yield child


def labels(node):
    for relation in node.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            yield from (relation.get_target(index).get_name() for index in range(relation.get_n_targets()))


def elements(node):
    state = node.get_state_set()
    if not state.contains(Atspi.StateType.SHOWING):
        return
    place = node.get_extents(Atspi.CoordType.SCREEN)
    yield {"role": node.get_role_name(), "name": node.get_name(), "description": node.get_description(),
           "label": " ".join(labels(node)), "place": (place.x, place.y, place.width, place.height),
           "focusable": state.contains(Atspi.StateType.FOCUSABLE), "focused": state.contains(Atspi.StateType.FOCUSED),
           "enabled": state.contains(Atspi.StateType.ENABLED), "checked": state.contains(Atspi.StateType.CHECKED)}
    if node.get_role_name() not in CONTAINERS:
        for child in children(node):
            yield from elements(child)


def main():
    title = sys.argv[1]
    Atspi.init()
    found = None
    try:
        for application in children(Atspi.get_desktop(0)):
            if application.get_name() == "quillbox":
                for window in children(application):
                    if window.get_name() == title:
                        found = list(elements(window))
    except GLib.Error as error:  # a window that closes meanwhile
        print(error, file=sys.stderr)
        found = None
    print(json.dumps(found))


if __name__ == "__main__":
    main()
