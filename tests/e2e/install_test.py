"""What stands where a desktop looks for it after "cmake --install"."""

import configparser
import os
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

CMAKE = BUILD = ""
MIME = "{http://www.freedesktop.org/standards/shared-mime-info}"


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = os.path.join(cls.folder.name, "usr")
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", cls.prefix], check=True, stdout=subprocess.DEVNULL, timeout=60)

    def path(self, *names):
        return os.path.join(self.prefix, *names)

    def run_program(self, *words):
        return subprocess.run(words, cwd=self.folder.name, capture_output=True, text=True, timeout=60, check=False)

    def testTheProgramsRunFromThere(self):
        for name in ("marvo", "marvo-headless"):
            done = self.run_program(self.path("bin", name), "--version")
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertRegex(done.stdout, r"^%s \d+\.\d+\.\d+\n$" % name)
        done = self.run_program(self.path("bin", "marvo-headless"), "trace", self.path("share", "marvo", "demo.mrv"),
                                "--play", "--seconds", "1")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertTrue(done.stdout)

    def testTheDesktopFindsTheProgramItsProjectsAndItsIcon(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        self.assertTrue(entry.read(self.path("share", "applications", "marvo.desktop"), encoding="utf-8"))
        entry = entry["Desktop Entry"]
        program, option, file = entry["Exec"].split()
        self.assertIn(option, self.run_program(self.path("bin", program), "--help").stdout)
        self.assertTrue(os.access(self.path("bin", program), os.X_OK))
        self.assertEqual(file, "%f")
        icon = xml.etree.ElementTree.parse(
            self.path("share", "icons", "hicolor", "scalable", "apps", entry["Icon"] + ".svg")).getroot()
        self.assertTrue(icon.tag.endswith("svg"))
        types = xml.etree.ElementTree.parse(self.path("share", "mime", "packages", "marvo.xml")).getroot()
        known = {one.get("type"): one.find(MIME + "glob").get("pattern") for one in types.findall(MIME + "mime-type")}
        for one in filter(None, entry["MimeType"].split(";")):
            self.assertEqual(known.get(one), "*.mrv")


if __name__ == "__main__":
    CMAKE, BUILD = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
