"""Each check of the text finds what it is for and lets the ordinary pass."""

import os
import tempfile
import unittest

import words


class TextChecks(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def write(self, path, content):
        full = os.path.join(self.folder.name, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as stream:
            stream.write(content)

    def found(self, check):
        return words.CHECKS[check](self.folder.name)

    def testNameFileAndLineOfUnfinishedWork(self):
        for mark in ("TO" "DO", "FIX" "ME", "X" "XX", "HA" "CK"):
            self.write("src/a.cpp", "int a;\n// %s later\n" % mark)
            self.assertEqual(self.found("unfinished-work"), ["src/a.cpp:2: " + mark])
        self.write("src/a.cpp", "// hackneyed; mktemp name." + "X" * 6 + "\n")
        self.assertEqual(self.found("unfinished-work"), [])

    def testSeeTestsThatAreLeftOut(self):
        for text in ("TEST(A, DIS" "ABLED_B) {}", "GTEST_" "SKIP();", "set(x PROPERTIES DIS" "ABLED TRUE)",
                     "x PROPERTIES SKIP_" "RETURN_CODE 77", "self.skip" "Test('no')", "@unittest.sk" "ip"):
            self.write("tests/platform/a.cpp", text + "\n")
            self.assertEqual(len(self.found("tests-left-out")), 1, text)
        self.write("tests/platform/a.cpp", "reader.skip(' '); bool disabled = true;\n")
        self.assertEqual(self.found("tests-left-out"), [])

    def testSeePathsOfAMachine(self):
        for text in ("see /wo" "rk/x", '"/tm" "p/y"'.replace('" "', ""), "cd /ro" "ot/z", "=/tm" "p/a"):
            self.write("docs/a.md", text + "\n")
            self.assertEqual(len(self.found("machine-paths")), 1, text)
        self.write("docs/a.md", "net/wo" "rk, $HOME/tm" "p/x, /tm" "p/.X11-unix, /tm" "p/marvo-" + "X" * 6 + ", /wo" "rker\n")
        self.assertEqual(self.found("machine-paths"), [])

    def testSeeIncludesThatClimb(self):
        self.write("src/tracks/a.h", '#include "../platform/Clock.h"\n')
        self.write("tests/a.cpp", '#  include <x/../y.h>\n')
        self.assertEqual(len(self.found("upward-includes")), 2)
        self.write("src/tracks/a.h", '#include "platform/Clock.h"  // not ../platform\n')
        self.assertEqual(len(self.found("upward-includes")), 1)

    def testSeeTheToolkitOutsideTheWindow(self):
        for text in ("#include <QWidget>", "#include <QtWidgets/QLabel>", '#include "QString"'):
            self.write("src/app/a.h", text + "\n")
            self.assertEqual(len(self.found("toolkit-includes")), 1, text)
        self.write("src/app/a.h", '#include "platform/QueueRank.h"\n')
        self.write("src/ui/b.h", "#include <QWidget>\n")
        self.assertEqual(self.found("toolkit-includes"), [])

    def testSeeSourcesThatAreTooLong(self):
        self.write("src/a.cpp", "\n" * words.LONGEST_SOURCE)
        self.write("docs/a.md", "\n" * 9999)
        self.assertEqual(self.found("long-sources"), [])
        self.write("src/a.cpp", "\n" * (words.LONGEST_SOURCE + 1))
        self.assertEqual(len(self.found("long-sources")), 1)

    def testSeeFilesThatADocumentOnlyNames(self):
        self.write("src/app/a.h", "")
        self.write("docs/b.md", "[c](c.md#top)\n[far](https://example.org/x.md) `src/app/a.h` `a.h` `tests/FLOOR/ThingTest.cpp`\n")
        self.assertEqual(self.found("lost-files"), ["docs/b.md:1: c.md"])
        self.write("docs/c.md", "`src/b.h`\n\n`b.h`\n")
        self.assertEqual(self.found("lost-files"), ["docs/c.md:1: src/b.h", "docs/c.md:3: b.h"])

    def testPassOverWhatABuildLeavesBehind(self):
        self.write("build/a.cpp", "TO" "DO\n")
        self.write(".git/a", "TO" "DO\n")
        self.write(".ci/run", "TO" "DO\n")
        self.assertEqual(self.found("unfinished-work"), [".ci/run:1: TO" "DO"])


if __name__ == "__main__":
    unittest.main()
