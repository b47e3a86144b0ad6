"""The check of the conformance tables."""

import json
import os
import tempfile
import types
import unittest

import conformance


class ConformanceCheck(unittest.TestCase):
    def problems(self, table, *tests):
        def ctest(*_args, **_more):
            return types.SimpleNamespace(stdout=json.dumps({"tests": [{"name": t} for t in tests]}))

        with tempfile.TemporaryDirectory() as root:
            os.mkdir(os.path.join(root, "docs"))
            with open(os.path.join(root, "docs/conformance-x.md"), "w", encoding="utf-8") as stream:
                stream.write("# Title\n\n| What holds | Test |\n| --- | --- |\n" + table)
            return conformance.problems(root, conformance.known_tests("build", ctest))

    def testLetARowPassWhoseTestsExist(self):
        wrong, count = self.problems("| it plays | Player.Plays, `Player.Stops` |\n| a \\| b | Player.Stops |\n",
                                     "app: Player.Plays", "endpoints/osc:Player.Stops")
        self.assertEqual((wrong, count), ([], 2))

    def testSeeATestThatDoesNotExist(self):
        wrong, _ = self.problems("| it plays | Player.Plays, Player.Sings |\n", "app: Player.Plays")
        self.assertEqual(wrong, ["docs/conformance-x.md:5: there is no test Player.Sings"])

    def testSeeARowWithoutATest(self):
        wrong, _ = self.problems("| it plays | |\n", "app: Player.Plays")
        self.assertEqual(wrong, ['docs/conformance-x.md:5: "it plays" names no test'])

    def testSeeThatThereIsNoTableAtAll(self):
        self.assertTrue(self.problems("", "app: Player.Plays")[0])

    def testKnowParameterisedAndTypedTestsByTheirPlainName(self):
        wrong, _ = self.problems("| a | Curve.Ends |\n| b | Port.Opens |\n",
                                 "tracks: All/Curve.Ends/linear", "osc: Port/0.Opens")
        self.assertEqual(wrong, [])


if __name__ == "__main__":
    unittest.main()
