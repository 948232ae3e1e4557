# SPDX-License-Identifier: GPL-3.0-or-later
"""The program speaks the user's language: every word has its entry in every catalogue, and what is shown comes from
there, while names, numbers, logs and verbs stay as they are."""

import glob
import os
import re
import shutil
import tempfile
import unittest
import xml.etree.ElementTree

from scene import PATIENCE, PanelTest, run, wait_for

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
CATALOGUES = sorted(glob.glob(os.path.join(TOP, "resources", "translations", "quillbox_*.ts")))
LUPDATE = shutil.which("lupdate", path="/usr/lib/qt6/bin:/usr/lib64/qt6/bin:" + os.environ["PATH"])
MNEMONIC = re.compile(r"&(?!&)(\w)")


def messages(catalogue):
    for context in xml.etree.ElementTree.parse(catalogue).getroot().findall("context"):
        for message in context.findall("message"):
            translation = message.find("translation")
            yield (context.findtext("name"), message.findtext("source"), translation.text or "",
                   translation.get("type", ""))


def strings_of_the_sources():
    """What the code holds between quotation marks, pieces that stand side by side joined."""
    for folder in ("Core", "App", "Linux"):
        for path in glob.glob(os.path.join(TOP, "src", folder, "**", "*"), recursive=True):
            if path.endswith((".cpp", ".h")) and not path.endswith("CoreTexts.h"):
                with open(path, encoding="utf-8") as file:
                    text = re.sub(r'"\s*\n\s*"', "", file.read())
                    yield from re.findall(r'"((?:[^"\\\n]|\\.)*)"', text)


class Catalogues(unittest.TestCase):
    def test_every_text_has_its_entry_and_no_entry_is_left_over(self):
        self.assertTrue(CATALOGUES)
        with tempfile.TemporaryDirectory(prefix="quillbox-test-") as folder:
            for catalogue in CATALOGUES:
                updated = shutil.copy(catalogue, folder)
                run(LUPDATE, "-silent", "-no-obsolete", "-locations", "none",
                    os.path.join(TOP, "src", "Linux", "Desktop"), "-ts", updated, check=True)
                key = [entry[:2] for entry in messages(catalogue)]
                self.assertEqual(sorted(entry[:2] for entry in messages(updated)), sorted(key))
                self.assertGreater(len(key), 100)

    def test_every_entry_is_translated_as_it_is_used(self):
        for catalogue in CATALOGUES:
            taken = {}
            for context, source, translation, kind in messages(catalogue):
                with self.subTest(catalogue=os.path.basename(catalogue), context=context, source=source):
                    self.assertEqual(kind, "")
                    self.assertTrue(translation)
                    self.assertEqual(sorted(re.findall(r"%\d", translation)), sorted(re.findall(r"%\d", source)))
                    if context == "Core":
                        continue
                    keys = MNEMONIC.findall(translation.replace("&&", ""))
                    self.assertEqual(len(keys), len(MNEMONIC.findall(source.replace("&&", ""))))
                    for key in keys:
                        self.assertNotIn(key.lower(), taken.setdefault(context, set()))
                        taken[context].add(key.lower())

    def test_the_texts_of_the_core_are_those_that_the_core_has(self):
        known = set(strings_of_the_sources())
        everything = "\n".join(known)
        for context, source, _, _ in messages(CATALOGUES[0]):
            if context != "Core":
                continue
            with self.subTest(source=source):
                if "%" in source:
                    for piece in filter(None, re.split(r"%\d", source.strip("."))):
                        self.assertIn(piece, everything)
                else:
                    self.assertIn(source, known)


class InGerman(PanelTest):
    def start_in(self, language, *options):
        self.desktop.environment["LANGUAGE"] = language
        self.start(*options)

    def test_menus_and_windows_are_german_and_names_are_not(self):
        # A device that is called as one of the program's own words.
        self.start_in("fr_XX:de_DE:en", "--devices", "1", "--no-afc2", "--name", "Media")
        self.quillbox.wait_mounted("Media (Media)")
        quillbox = self.quillbox
        self.assertEqual(quillbox.titles(), ["Über Quillbox", "Einstellungen…", "-", "Media", "-", "Willkommen…", "Hilfe",
                                             "Beenden"])
        device = [each["label"] for each in quillbox.item("Media")["children"] if not each["separator"]]
        self.assertEqual(device, ["Im Dateimanager zeigen", "Verbindungswurzel wechseln", "Gerät einhängen",
                                  "Gerät aushängen", "Geräteinformationen", "Aktuelle Verbindungswurzel:", "Medien"])
        roots = [each["label"] for each in quillbox.item("Media", "Verbindungswurzel wechseln")["children"]]
        self.assertEqual(roots[-1], "Medien")
        for way, title, name in ((("Einstellungen…",), "Quillbox-Einstellungen", "preferences"),
                                 (("Willkommen…",), "Willkommen bei Quillbox", "welcome"),
                                 (("Über Quillbox",), "Über Quillbox", "about"),
                                 (("Media", "Geräteinformationen"), "Geräteinformationen", "device")):
            quillbox.choose(*way)
            window = self.desktop.focus(title)
            size = self.desktop.geometry(window)
            self.assertLessEqual(size["WIDTH"], 1024)
            self.assertLessEqual(size["HEIGHT"], 736)
            self.desktop.screenshot(name + "-de", window)
            if name == "device":
                break
            self.desktop.keys("Escape")
            self.desktop.wait_no_window(title)

        def copied():
            self.desktop.keys("alt+p")
            return self.desktop.tool("xclip", "-selection", "clipboard", "-o", check=False)
        text = wait_for(lambda: "Seriennummer" in copied() and copied(), 20 * PATIENCE, "a copy of the values")
        self.assertIn("Media\n", text)
        self.desktop.keys("alt+m")
        self.desktop.screenshot("more-de", self.desktop.focus("Mehr Angaben"))
        # What scripts read is English.
        listed = quillbox.verb("list", "--preferences", quillbox.preferences)
        self.assertEqual(listed.returncode, 0)
        self.assertIn("SERIAL NUMBER", listed.stdout)
        self.assertIn("addMenuForDevice", quillbox.log_text())

    def test_an_alert_is_german_and_its_line_in_the_log_is_not(self):
        self.start_in("de", "--devices", "1", "--no-afc2")
        self.quillbox.wait_mounted("Blue Phone (Media)")
        udid = self.simulator.udids[0]
        self.simulator.ctl("detach", udid)
        self.quillbox.wait_gone("Blue Phone (Media)", 10 * PATIENCE)
        os.rmdir(self.quillbox.volumes)
        with open(self.quillbox.volumes, "w"):  # no folder: nothing can be mounted
            pass
        self.simulator.ctl("attach", udid)
        self.desktop.focus("Quillbox")
        self.desktop.screenshot("alert-de")
        self.quillbox.wait_log("Alert: Mount Failed: The volume could not be mounted at ")
        self.assertIn("Not a directory", self.quillbox.log_text())
        self.desktop.keys("Return")
        self.desktop.wait_no_window("Quillbox")

    def test_a_tool_tip_is_german(self):
        self.desktop.environment["LANGUAGE"] = "de"
        self.simulator = self.start_simulator("--devices", "1", "--name", "Media")
        udid = self.simulator.udids[0]
        self.simulator.ctl("detach", udid)
        self.simulator.ctl("distrust", udid, "--forget-record")
        self.simulator.ctl("pending", udid)
        self.quillbox = self.start_on_screen(self.simulator)
        self.quillbox.wait_notifier()
        self.simulator.ctl("attach", udid)
        wait_for(lambda: "„Vertrauen“ antippen" in self.quillbox.tool_tip(), 20 * PATIENCE, "the tool tip")
        self.assertTrue(self.quillbox.tool_tip().startswith("Media"), self.quillbox.tool_tip())
        self.assertIn("Keine iPhones angeschlossen …", self.quillbox.titles())
        self.assertIn("tap Trust", self.quillbox.log_text())

    def test_a_language_without_a_catalogue_is_english(self):
        self.start_in("tlh")
        self.assertEqual(self.quillbox.titles()[0], "About Quillbox")


if __name__ == "__main__":
    unittest.main()
