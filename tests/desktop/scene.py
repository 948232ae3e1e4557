# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop of its own for each test: an X server without a screen, a session bus, a window manager and a tray, with
the program on it. Everything is used as a person uses it, by pointer and keyboard, or as a panel does, over the
session bus; nothing waits for a time, only for what is to be seen.
"""

import json
import os
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import dbus
import dbus.bus

# Behind this folder: some tests there have the same name as one here.
sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "integration"))
from harness import PATIENCE, DeviceTest, Quillbox, is_mounted, program, run, wait_for  # noqa: E402,F401

ID = "org.quillbox.Quillbox"
ITEM = "org.kde.StatusNotifierItem"
WATCHER = "org.kde.StatusNotifierWatcher"
MENU = "com.canonical.dbusmenu"
SCREENSHOTS = os.environ.get("QUILLBOX_SCREENSHOTS", "")

TINT2 = """
panel_items = T:S
panel_size = 100% 32
panel_position = bottom center horizontal
panel_background_id = 1
systray_padding = 4 4 4
systray_icon_size = 24
taskbar_mode = single_desktop
rounded = 0
background_color = #e8e8e8 100
border_width = 0
"""

LXQT_PANEL = """
[General]
__userfile__=true
panels=panel1
[panel1]
plugins=statusnotifier
position=Bottom
panelSize=32
iconSize=22
width=100
width-percent=true
[statusnotifier]
alignment=Right
type=statusnotifier
"""


# A desktop with dark colours, as KDE keeps them.
DARK = "".join(f"[Colors:{group}]\nBackgroundNormal={back}\nBackgroundAlternate={back}\nForegroundNormal=239,240,241\n"
               "ForegroundInactive=160,165,170\nForegroundLink=61,174,233\nForegroundVisited=155,89,182\n"
               for group, back in (("Window", "42,46,50"), ("View", "27,30,32"), ("Button", "49,54,59"),
                                   ("Tooltip", "49,54,59"), ("Selection", "61,174,233")))


class Desktop:
    """An X server, a session bus and a window manager; a tray when it is asked for."""

    def __init__(self, folder, scale=1, dark=False):
        self.folder = folder
        self.running = {}
        home = os.path.join(folder, "desktop-home")
        for each in ("config/tint2", "config/lxqt", "cache", "data/applications", "runtime"):
            os.makedirs(os.path.join(home, each), mode=0o700)
        self.environment = {
            "PATH": os.environ["PATH"], "HOME": home, "LANG": "C.UTF-8",
            "XDG_CONFIG_HOME": home + "/config", "XDG_CACHE_HOME": home + "/cache",
            "XDG_DATA_HOME": home + "/data", "XDG_RUNTIME_DIR": home + "/runtime",
            "QT_QPA_PLATFORM": "xcb", "QT_ACCESSIBILITY": "0", "NO_AT_BRIDGE": "1", "LIBGL_ALWAYS_SOFTWARE": "1",
            "QT_SCALE_FACTOR": str(scale)}
        self.home = home
        if dark:
            self.environment.update(XDG_CURRENT_DESKTOP="KDE", KDE_FULL_SESSION="true", KDE_SESSION_VERSION="5",
                                    XDG_CONFIG_DIRS=home + "/config")
            with open(home + "/config/kdeglobals", "w") as file:
                file.write(DARK)
        number = self.start_and_read("Xvfb", ["Xvfb", "-displayfd", "1", "-screen", "0", f"{1024 * scale}x{768 * scale}x24",
                                              "-nolisten", "tcp", "-noreset", "-wr"])
        self.environment["DISPLAY"] = ":" + number
        address = self.start_and_read("dbus-daemon", ["dbus-daemon", "--session", "--nofork", "--print-address=1"])
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        self.bus = dbus.bus.BusConnection(address)
        self.start("openbox", ["openbox", "--sm-disable"])
        wait_for(lambda: b"openbox" in self.root_property("_NET_SUPPORTING_WM_CHECK", "_NET_WM_NAME").lower(),
                 20 * PATIENCE, "the window manager is there")

    def start(self, name, command, **options):
        log = open(os.path.join(self.folder, name + ".log"), "ab")
        with log:
            # None of them outlives a test that is killed.
            guarded = ["setpriv", "--pdeathsig", "TERM", *command]
            self.running[name] = subprocess.Popen(guarded, env=self.environment, stdin=subprocess.DEVNULL, stderr=log,
                                                  **{"stdout": log, **options})
        return self.running[name]

    def start_and_read(self, name, command):
        """Starts a program and answers the first line that it writes."""
        line = self.start(name, command, stdout=subprocess.PIPE).stdout.readline().decode().strip()
        if not line:
            raise AssertionError(f"{name} did not start")
        return line

    def log_of(self, name):
        with open(os.path.join(self.folder, name + ".log"), errors="replace") as log:
            return log.read()

    def stop(self, name):
        process = self.running.pop(name)
        process.terminate()
        process.wait(20 * PATIENCE)
        if process.stdout:
            process.stdout.close()

    def start_tint2(self):
        path = os.path.join(self.home, "config/tint2/tint2rc")
        with open(path, "w") as file:
            file.write(TINT2)
        self.start("tint2", ["tint2", "-c", path])

    def start_lxqt_panel(self):
        with open(os.path.join(self.home, "config/lxqt/panel.conf"), "w") as file:
            file.write(LXQT_PANEL)
        self.start("lxqt-panel", ["lxqt-panel"])

    def end(self):
        self.bus.close()
        for name in list(reversed(self.running)):
            self.stop(name)

    # What is to be seen.

    def tool(self, *words, check=True):
        return run(*words, env=self.environment, check=check).stdout

    def root_property(self, link, name):
        window = self.tool("xprop", "-root", link, check=False).split()[-1:]
        return self.tool("xprop", "-id", window[0], name, check=False).encode() if window else b""

    def windows(self, title):
        """The windows on the screen whose whole title is this."""
        found = self.tool("xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$", check=False)
        return found.split()

    def wait_window(self, title):
        return wait_for(lambda: self.windows(title), 20 * PATIENCE, f"a window titled {title}")[0]

    def wait_no_window(self, title):
        wait_for(lambda: not self.windows(title), 20 * PATIENCE, f"no window titled {title}")

    def focus(self, title):
        """Gives a window the keyboard, as clicks on its title do: another that opens may take it away again."""
        window = self.wait_window(title)

        def has_keyboard():
            if self.tool("xdotool", "getwindowfocus", check=False).strip() == window:
                return True
            self.tool("xdotool", "windowactivate", window)
            return False
        wait_for(has_keyboard, 20 * PATIENCE, f"{title} has the keyboard")
        return window

    def keys(self, *names):
        self.tool("xdotool", "key", "--delay", "30", *names)

    def click(self, x, y, button=1):
        self.tool("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def geometry(self, window):
        text = self.tool("xdotool", "getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in text.split())
        return {key: int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT")}

    def screenshot(self, name, window="root"):
        if SCREENSHOTS:
            os.makedirs(SCREENSHOTS, exist_ok=True)
            self.tool("import", "-silent", "-window", window, os.path.join(SCREENSHOTS, name + ".png"))

    def make_handler(self, name, *types):
        """Makes a program the desktop's handler for kinds of files or addresses; answers what it is asked to open."""
        asked = os.path.join(self.folder, name + ".asked")
        command = os.path.join(self.folder, name)
        with open(command, "w") as script:
            script.write(f"#!/bin/sh\nprintf '%s\\n' \"$1\" >>'{asked}'\n")
        os.chmod(command, 0o755)
        applications = os.path.join(self.home, "data", "applications")
        kinds = ";".join(types) + ";"
        with open(os.path.join(applications, name + ".desktop"), "w") as entry:
            entry.write(f"[Desktop Entry]\nType=Application\nName={name}\nMimeType={kinds}\nExec={command} %u\n")
        with open(os.path.join(applications, "mimeapps.list"), "a") as defaults:
            defaults.write("[Default Applications]\n" + "".join(f"{each}={name}.desktop\n" for each in types))

        def opened():
            if not os.path.exists(asked):
                return []
            with open(asked, encoding="utf-8") as file:
                return file.read().splitlines()
        return opened

    # What a panel sees.

    def call(self, service, path, interface, method, signature, *arguments):
        return self.bus.call_blocking(service, path, interface, method, signature, arguments, timeout=30 * PATIENCE)

    def has_name(self, name):
        return bool(self.bus.name_has_owner(name))


class OnScreen(Quillbox):
    """The program under test with its windows."""

    HEADLESS = ()

    def __init__(self, desktop, folder, environment, *options, **keywords):
        self.desktop = desktop
        seen = {key: value for key, value in desktop.environment.items()
                if key not in ("HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR")}
        # The keyboard library copies texts that end where their buffer does, which the strict checks take for a fault.
        lenient = os.environ.get("ASAN_OPTIONS", "") + ":strict_string_checks=0"
        super().__init__(folder, {**environment, **seen, "ASAN_OPTIONS": lenient.lstrip(":")}, *options, **keywords)

    @property
    def service(self):
        return f"{ITEM}-{self.process.pid}-1"

    def wait_notifier(self):
        """Until the item is registered with the watcher."""
        def registered():
            if self.process.poll() is not None:
                raise AssertionError(f"the program has ended with {self.process.returncode}")
            items = self.desktop.call(WATCHER, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "Get", "ss",
                                      WATCHER, "RegisteredStatusNotifierItems")
            return any(self.service in str(item) for item in items)
        wait_for(lambda: registered() and self.desktop.has_name(self.service), 20 * PATIENCE,
                 "the status item is registered")

    def item_property(self, name):
        return self.desktop.call(self.service, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", "ss",
                                 ITEM, name)

    def tool_tip(self):
        return str(self.item_property("ToolTip")[3])

    def layout(self):
        """The menu as a panel sees it: [{"id", "label", "enabled", "mark", "children"...}]."""
        def read(node):
            number, properties, children = node
            return {"id": int(number), "label": str(properties.get("label", "")).replace("__", "_"),
                    "enabled": bool(properties.get("enabled", True)),
                    "separator": properties.get("type", "") == "separator",
                    "mark": int(properties.get("toggle-state", 0)) == 1,
                    "icon": "icon-data" in properties, "children": [read(child) for child in children]}
        _, top = self.desktop.call(self.service, "/MenuBar", MENU, "GetLayout", "iias", 0, -1, dbus.Array([], "s"))
        return read(top)["children"]

    def item(self, *labels):
        """An item by the titles on the way to it, or None."""
        entries = self.layout()
        found = None
        for label in labels:
            found = next((each for each in entries if each["label"] == label), None)
            if not found:
                return None
            entries = found["children"]
        return found

    def choose(self, *labels):
        """Chooses an item as a panel does."""
        found = wait_for(lambda: self.item(*labels), 20 * PATIENCE, f"the menu item {labels}")
        self.desktop.call(self.service, "/MenuBar", MENU, "Event", "isvu", found["id"], "clicked", dbus.Int32(0), 0)

    def titles(self):
        return [each["label"] if not each["separator"] else "-" for each in self.layout()]

    def settings(self):
        with open(self.preferences, "rb") as file:
            return plistlib.load(file)

    def write_settings(self, settings):
        """Sets all of them, as long as the program does not run."""
        with open(self.preferences, "wb") as file:
            plistlib.dump(settings, file)

    def wait_setting(self, key, value):
        wait_for(lambda: os.path.exists(self.preferences) and self.settings().get(key) == value, 20 * PATIENCE,
                 f"{key} is {value}")


class DesktopTest(DeviceTest):
    """One test on a desktop of its own."""

    SCALE = 1
    DARK = False
    PROGRAM = OnScreen

    def setUp(self):
        super().setUp()
        self.desktop = Desktop(self.folder, self.SCALE, self.DARK)
        self.addCleanup(self.desktop.end)
        # The program ends before its desktop.
        self.addCleanup(self.end_programs)

    @classmethod
    def setUpClass(cls):
        # Making a key takes longer than most tests: the devices of a class share one.
        cls.keys = tempfile.mkdtemp(prefix="quillbox-test-")
        cls.addClassCleanup(shutil.rmtree, cls.keys, ignore_errors=True)

    def start_simulator(self, *options):
        return super().start_simulator("--key", os.path.join(self.keys, "key"), *(options or self.DEVICES))

    def end_programs(self):
        for each in self.running:
            if isinstance(each, OnScreen):
                each.terminate()

    def start_on_screen(self, simulator, *options, welcome=False, **keywords):
        path = keywords.get("preferences") or os.path.join(self.folder, "preferences.plist")
        if not welcome and not os.path.exists(path):
            with open(path, "wb") as file:
                plistlib.dump(dict(DEFAULTS, showWelcomeScreenOnStart=False), file)
        quillbox = self.PROGRAM(self.desktop, self.folder, simulator.environment, *options, **keywords)
        self.running.append(quillbox)
        return quillbox


class PanelTest(DesktopTest):
    """One on a desktop with a panel that shows status notifier items."""

    def setUp(self):
        super().setUp()
        self.desktop.start_lxqt_panel()
        wait_for(lambda: self.desktop.has_name(WATCHER), 20 * PATIENCE, "the panel shows items")

    def start(self, *options, **keywords):
        """Starts a simulator and the program, whose item the panel shows then."""
        self.simulator = self.start_simulator(*options)
        self.quillbox = self.start_on_screen(self.simulator, **keywords)
        self.quillbox.wait_notifier()


class InTray(OnScreen):
    """The program where no panel has its item: it answers for its menu under its own name all the same."""

    service = ID


class PointerTest(DesktopTest):
    """The icon in a tray of the X server and its menu, used with pointer and keyboard."""

    def of_the_program(self):
        return self.desktop.tool("xdotool", "search", "--onlyvisible", "--class", "quillbox", check=False).split()

    def icon(self):
        """The icon's place on the screen."""
        def small():
            places = [self.desktop.geometry(each) for each in self.of_the_program()]
            return [place for place in places if place["WIDTH"] <= 60]
        place = wait_for(small, 20 * PATIENCE, "an icon in the tray")[0]
        return place["X"] + place["WIDTH"] // 2, place["Y"] + place["HEIGHT"] // 2

    def menus(self):
        """Open menus: windows of the program that no window manager manages, without the icon."""
        managed = self.desktop.tool("xprop", "-root", "_NET_CLIENT_LIST", check=False)
        windows = {int(each, 16) for each in re.findall("0x[0-9a-f]+", managed)}
        return [each for each in self.of_the_program()
                if int(each) not in windows and self.desktop.geometry(each)["WIDTH"] > 60]

    def open_menu(self):
        """As a user does: a click that a closing menu or a moving icon has swallowed is made again."""
        wait_for(lambda: not self.menus(), 20 * PATIENCE, "no open menu")
        for _ in range(5):
            self.desktop.click(*self.icon(), button=3)
            try:
                return wait_for(self.menus, 3 * PATIENCE, "a menu")
            except AssertionError:
                continue
        raise AssertionError("no menu opened")

    def open_submenu(self):
        """The menu with the submenu of its first device, by keyboard."""
        self.open_menu()
        # Down to the device and into its menu; the disabled items are passed over.
        self.desktop.keys("Down", "Down", "Down", "Right")
        wait_for(lambda: len(self.menus()) == 2, 20 * PATIENCE, "the device's menu")


class TrayTest(PointerTest):
    """One on a desktop with a tray of the X server."""

    PROGRAM = InTray

    def setUp(self):
        super().setUp()
        self.desktop.start_tint2()


DEFAULTS = {
    "isAfterFirstRun": True, "allowsAFC2Access": True, "changeNameOnCopyImages2DCIM": False,
    "showWelcomeScreenOnStart": True, "openQuillboxOnStart": False, "isShowAppIconWhenMounted": True,
    "isOnlyShowFileSharingApp": False, "isLoadAppsIconBeforeStart": False, "appMountPath": 0,
    "isMountLastPoint": True, "isUseCustomizeMountName": False, "customizeMountName": "Quillbox",
    "setting_mountDiskMode": 0}
