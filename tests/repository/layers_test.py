"""The checks of floors and headers, on a small tree of their own that is compiled for real."""

import json
import os
import tempfile
import unittest

import floors
import headers
import tree


class LayerChecks(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name
        self.write("CMakeLists.txt", "add_subdirectory(src/low)\nadd_subdirectory(src/wire/osc)\nadd_subdirectory(src/high)\n")
        self.write("src/low/Low.h", "#pragma once\nusing Low = int;\n")
        self.write("src/wire/osc/Wire.h", '#pragma once\n#include "low/Low.h"\ninline Low wire = 0;\n')
        self.write("src/high/High.h", '#pragma once\n#include "wire/osc/Wire.h"\n')
        self.show({"low": ["low"], "wire/osc": ["wire/osc", "low"], "high": ["high", "wire/osc", "low"]})

    def write(self, path, content):
        full = os.path.join(self.root, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as stream:
            stream.write(content)

    def show(self, visible):
        """Writes the build's compilations: what each floor has on its include path."""
        entries = []
        for floor, others in visible.items():
            words = ["ccache", "c++", "-std=c++20"]
            for other in others:
                root = os.path.join(self.root, "build", other.replace("/", "_"))
                os.makedirs(os.path.dirname(os.path.join(root, other)), exist_ok=True)
                if not os.path.islink(os.path.join(root, other)):
                    os.symlink(os.path.join(self.root, "src", other), os.path.join(root, other))
                words.append("-I" + root)
            words += ["-o", "src/%s/CMakeFiles/x.dir/a.cpp.o" % floor, "-c", "a.cpp"]
            entries.append({"directory": self.root, "command": " ".join(words), "file": "a.cpp"})
        self.write("build/compile_commands.json", json.dumps(entries))

    def compiler(self):
        return tree.Compiler(self.root, os.path.join(self.root, "build"))

    def testLetAnOrderlyTreePass(self):
        self.assertEqual(floors.problems(self.root, self.compiler()), ([], 3))
        self.assertEqual(headers.problems(self.root, self.compiler()), ([], 3, 3))

    def testSeeAFloorThatReachesUp(self):
        self.show({"low": ["low", "high"], "wire/osc": ["wire/osc", "low"], "high": ["high", "wire/osc", "low"]})
        wrong, _ = floors.problems(self.root, self.compiler())
        self.assertEqual(len(wrong), 1, wrong)
        self.assertIn("low finds high/High.h of the higher floor high", wrong[0])

    def testSeeAFloorThatSeesAllOfTheTree(self):
        self.show({f: ["low", "wire/osc", "high"] for f in ("low", "wire/osc", "high")})
        wrong, _ = floors.problems(self.root, self.compiler())
        self.assertEqual(len(wrong), 3, wrong)
        self.assertIn("low can include wire/osc/Wire.h of the higher floor wire/osc", wrong)

    def testSeeAFloorThatCannotReachItself(self):
        self.show({"low": [], "wire/osc": ["wire/osc", "low"], "high": ["high", "wire/osc", "low"]})
        wrong, _ = floors.problems(self.root, self.compiler())
        self.assertEqual(len(wrong), 1, wrong)
        self.assertIn("low cannot include its own low/Low.h", wrong[0])

    def testSeeAFloorThatIsNotBuilt(self):
        self.show({"low": ["low"], "high": ["high", "wire/osc", "low"]})
        wrong, _ = floors.problems(self.root, self.compiler())
        self.assertTrue(any("no compilation of floor wire/osc" in w for w in wrong), wrong)

    def testSeeAHeaderThatLeansOnOthers(self):
        self.write("src/low/Leaning.h", "#pragma once\ninline std::size_t size = 0;\n")
        wrong, compiled, _ = headers.problems(self.root, self.compiler())
        self.assertEqual((len(wrong), compiled), (1, 4), wrong)
        self.assertIn("low/Leaning.h does not compile on its own", wrong[0])

    def testSeeAHeaderWithoutAGuard(self):
        self.write("src/low/Bare.h", "struct Bare {};\n")
        wrong, _, _ = headers.problems(self.root, self.compiler())
        self.assertEqual(len(wrong), 1, wrong)

    def testTrustTheBuildOnlyForAHeaderIncludedFirst(self):
        self.write("src/low/Low.cpp", '// what it does\n#include "low/Low.h"\n#include <vector>\n')
        self.assertEqual(headers.problems(self.root, self.compiler())[1], 2)
        self.write("src/low/Low.cpp", '#include <vector>\n#include "low/Low.h"\n')
        self.assertEqual(headers.problems(self.root, self.compiler())[1], 3)


if __name__ == "__main__":
    unittest.main()
