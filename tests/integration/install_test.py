# SPDX-License-Identifier: GPL-3.0-or-later
"""What an installation puts in place, under one id, and that it works from there."""

import json
import os
import plistlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as tree

from harness import BIN, DeviceTest, run

ID = "org.quillbox.Quillbox"
SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
VERBS = ["doctor", "info", "list", "mount", "quit", "reveal", "root", "unmount"]

# An interactive shell on a terminal of its own, into which the line and the tabulator are typed. What the completion
# adds is written to a file on its way to the shell.
ZSH_SETTINGS = """
PS1=ready
fpath=('{functions}' $fpath)
autoload -Uz compinit
compinit -u -D
compadd() {{
    local -a matches
    # With -O, -A or -D nothing is added.
    [[ ${{@[1,(i)(-|--)]}} == *-(O|A|D)\ * ]] || builtin compadd -A matches "$@"
    (( $#matches )) && print -l -- $matches >>'{offered}'
    builtin compadd "$@"
}}
"""
ZSH_TYPIST = """
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "source '{settings}'"
zpty -r shell seen '*ready'
zpty -w -n shell '{line}'$'\t'
zpty -w shell $'\x15exit'
while zpty -r shell seen; do :; done
"""


class Installed(DeviceTest):
    @classmethod
    def setUpClass(cls):
        cls.stage = tempfile.mkdtemp(prefix="quillbox-install-")
        cls.addClassCleanup(shutil.rmtree, cls.stage, ignore_errors=True)
        run("cmake", "--install", os.path.dirname(BIN), "--prefix", "/usr",
            env=dict(os.environ, DESTDIR=cls.stage))

    def installed(self, *parts):
        path = os.path.join(self.stage, "usr", *parts)
        self.assertTrue(os.path.isfile(path), path)
        return path

    def share(self, *parts):
        return self.installed("share", *parts)

    def text(self, path):
        with open(path, encoding="utf-8") as file:
            return file.read()

    def test_the_desktop_entry_is_valid_and_starts_the_program(self):
        entry = self.share("applications", ID + ".desktop")
        run("desktop-file-validate", entry)
        text = self.text(entry)
        for line in ("Exec=quillbox", "TryExec=quillbox", "Icon=" + ID):
            self.assertIn(line + "\n", text)
        with open(self.installed("bin", "quillbox"), "rb") as binary:
            self.assertIn(ID.encode(), binary.read(), "the program goes by the same id")

    def test_the_metadata_is_valid_and_speaks_of_the_same_program(self):
        path = self.share("metainfo", ID + ".metainfo.xml")
        run("appstreamcli", "validate", "--no-net", path)
        root = tree.parse(path).getroot()
        self.assertEqual(root.findtext("id"), ID)
        self.assertEqual(root.findtext("launchable"), ID + ".desktop")
        version = run(self.installed("bin", "quillbox"), "--version").stdout.split()[-1]
        self.assertEqual(root.find("releases/release").get("version"), version)

    def test_icons_have_the_sizes_they_stand_under(self):
        for size in SIZES:
            with open(self.share("icons", "hicolor", f"{size}x{size}", "apps", ID + ".png"), "rb") as picture:
                head = picture.read(24)
            self.assertEqual(head[:8], b"\x89PNG\r\n\x1a\n")
            self.assertEqual(struct.unpack(">II", head[16:]), (size, size))
        for name in (os.path.join("scalable", "apps", ID + ".svg"),
                     os.path.join("symbolic", "apps", ID + "-symbolic.svg")):
            self.assertTrue(tree.parse(self.share("icons", "hicolor", name)).getroot().tag.endswith("svg"))

    def test_every_option_and_command_is_in_its_manual_page(self):
        for name, helps in (("quillbox", [[]]), ("quillbox-simulator", [[], ["ctl"]])):
            page = self.share("man", "man1", name + ".1")
            shown = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-P-cbou", page], capture_output=True, text=True,
                                   check=True)
            self.assertEqual(shown.stderr, "", "the page is well-formed")
            manual = shown.stdout.replace("‐", "-")
            for words in helps:
                usage = run(self.installed("bin", name), *words, "--help").stdout
                options = set(re.findall(r"(?<![\w-])--[a-z0-9][a-z0-9-]*", usage))
                commands = set(re.findall(r"^  ([a-z][a-z-]+) ", usage, re.MULTILINE))
                self.assertTrue(options)
                for word in options | commands:
                    self.assertRegex(manual, r"(?<![\w-])" + re.escape(word) + r"(?![\w-])", name)

    def test_completion_is_well_formed_in_every_shell(self):
        run("bash", "-n", self.share("bash-completion", "completions", "quillbox"))
        run("zsh", "-n", self.share("zsh", "site-functions", "_quillbox"))
        run("fish", "--no-execute", self.share("fish", "vendor_completions.d", "quillbox.fish"))

    def complete(self, shell, line):
        """What a shell offers at the end of a line."""
        environment = dict(self.quillbox.environment,
                           PATH=os.path.join(self.stage, "usr", "bin") + ":" + os.environ["PATH"])
        if shell == "bash":
            words = " ".join(f"'{word}'" for word in line)
            script = (f"source '{self.share('bash-completion', 'completions', 'quillbox')}'\n"
                      f"COMP_WORDS=({words}); COMP_CWORD={len(line) - 1}\n_quillbox\n"
                      "printf '%s\\n' \"${COMPREPLY[@]}\"")
            command = ["bash", "--norc", "-c", script]
        elif shell == "zsh":
            offered = self.local("offered")
            settings = self.local("settings")
            with open(offered, "w", encoding="utf-8"), open(settings, "w", encoding="utf-8") as file:
                functions = os.path.dirname(self.share("zsh", "site-functions", "_quillbox"))
                file.write(ZSH_SETTINGS.format(functions=functions, offered=offered))
            run("zsh", "-f", "-c", ZSH_TYPIST.format(settings=settings, line=" ".join(line)), env=environment)
            return list(dict.fromkeys(self.text(offered).split("\n")[:-1]))
        else:
            script = (f"source '{self.share('fish', 'vendor_completions.d', 'quillbox.fish')}'\n"
                      f"complete -C '{' '.join(line)}'")
            command = ["fish", "--no-config", "-c", script]
        return [each.split("\t")[0] for each in run(*command, env=environment).stdout.splitlines() if each]

    def test_completion_offers_commands_devices_and_roots(self):
        self.start()
        (device,) = json.loads(self.quillbox.verb("list", "--json").stdout)
        for shell in ("bash", "fish", "zsh"):
            with self.subTest(shell):
                self.assertEqual(sorted(self.complete(shell, ["quillbox", ""])), VERBS)
                self.assertEqual(self.complete(shell, ["quillbox", "mo"]), ["mount"])
                self.assertIn("--headless", self.complete(shell, ["quillbox", "--h"]))
                self.assertEqual(self.complete(shell, ["quillbox", "unmount", ""]), [device["serialNumber"]])
                roots = self.complete(shell, ["quillbox", "root", device["serialNumber"], ""])
                self.assertIn("Media", roots)
                self.assertEqual(self.complete(shell, ["quillbox", "list", ""]), [])

    def test_the_preferences_begin_as_the_documentation_says(self):
        self.start()
        self.assertEqual(self.quillbox.verb("quit").returncode, 0)
        with open(self.quillbox.preferences, "rb") as file:
            kept = plistlib.load(file)
        rows = re.findall(r"^\| `(\w+)` \| ([^|]*?) ?\|", self.text(self.share("doc", "quillbox", "README.md")),
                          re.MULTILINE)
        told = {key: {"yes": True, "no": False}.get(value, int(value) if value.isdigit() else value)
                for key, value in rows if value}
        self.assertGreater(len(told), 10)
        self.assertEqual({key: kept.get(key) for key in told}, told)
        self.assertEqual(set(kept) - set(told), {"isAfterFirstRun", self.simulator.udids[0]})

    def test_it_runs_from_where_it_is_installed(self):
        from harness import Quillbox
        environment = {key: value for key, value in os.environ.items() if key != "USBMUXD_SOCKET_ADDRESS"}
        self.quillbox = Quillbox(self.folder, environment, "--simulate",
                                 executable=self.installed("bin", "quillbox"))
        self.running.append(self.quillbox)
        volume = self.quillbox.wait_mounted("Blue Phone (Media)", 30)
        information = self.text(os.path.join(volume, ".xdg-volume-info"))
        icon = re.search(r"^IconFile=(.*)$", information, re.MULTILINE)
        self.assertTrue(icon, information)
        self.assertEqual(self.quillbox.verb("quit", seconds=60).returncode, 0)


if __name__ == "__main__":
    unittest.main()
