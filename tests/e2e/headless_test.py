"""The built program as a person uses it: marvo-headless trace, check and run, with files, signals and clocks of this machine.

Usage: headless_test.py MARVO-HEADLESS DEMO.mrv [unittest arguments]
"""

import glob
import json
import os
import plistlib
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROGRAM = DEMO = ""


def keyframes(*points):
    return {str(i): {"time": t, "value": float(v), "interpolation": c} for i, (t, v, c) in enumerate(points)}


def track(name="A", address="/a", points=((0, 0, "Linear Interpolation"), (30, 100, "Linear Interpolation")), **more):
    return dict({"trackPos": 0, "trackType": "OSCValue", "trackName": name, "trackOSCType": 0, "trackMinValue": 0.0,
                 "trackMaxValue": 100.0, "trackOSCAddress": address, "oscPortName": "Out",
                 "keyFrames": keyframes(*points)}, **more)


def project(tracks=(), port=0, inputs=(), **composition):
    one = {"compName": "One", "compFPS": 30, "compTime": 1.0, "compSpeed": "120",
           "loopButton": {"state": False}, "throttler": {"inTime": 0, "outTime": 30}, "tracks": {"tr-%d" % i: t for i, t in enumerate(tracks)}}
    one.update(composition)
    ports = {"inputs": [{"port": p} for p in inputs],
             "outputs": [{"address": "127.0.0.1", "port": port or 8000, "portLabel": "Out"}], "feedback": "Disabled"}
    return {"Comp-0": one, "appData": {"preferences": {"oscPorts": ports}}}


class Headless(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, content):
        path = Path(self.folder.name, name)
        if isinstance(content, dict):
            content = plistlib.dumps(content)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return str(path)

    def call(self, *arguments, **options):
        return subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, timeout=120, **options)

    def trace(self, *arguments, **options):
        done = self.call("trace", *arguments, **options)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def refused(self, *arguments, status=1):
        done = self.call(*arguments)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stderr

    def play(self, path, *arguments, **options):
        config = os.path.join(self.folder.name, "config")
        playing = subprocess.Popen([PROGRAM, "run", path, "--best-effort", "--config-dir", config, *arguments],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)
        self.addCleanup(playing.stdout.close)
        self.addCleanup(playing.stderr.close)
        self.addCleanup(lambda: playing.poll() is None and playing.kill())
        return playing


class Trace(Headless):
    def testGivesTheSameBytesTwice(self):
        self.assertEqual(self.trace(DEMO, "--play", "--seconds", "20"), self.trace(DEMO, "--play", "--seconds", "20"))

    def testDoesNotDependOnTheLanguageOfTheMachine(self):
        comma = dict(os.environ, LC_ALL="de_DE.UTF-8", LANG="de_DE.UTF-8")
        self.assertEqual(self.trace(DEMO, "--play", "--seconds", "5"),
                         self.trace(DEMO, "--play", "--seconds", "5", env=comma))

    def testWritesOneJSONObjectAMessageInTheOrderOfItsMembers(self):
        path = self.file("a.mrv", project([track()]))
        lines = [json.loads(line) for line in self.trace(path, "--play").splitlines()]
        self.assertEqual(list(lines[0]), ["t", "kind", "composition", "track", "frame", "port", "address", "types", "args"])
        self.assertEqual([line["frame"] for line in lines], list(range(31)))
        self.assertEqual([line["t"] for line in lines[:4]], [0, 17, 50, 84])
        self.assertEqual(lines[-1]["args"], [1])

    def testEndsWhenNothingRuns(self):
        self.assertEqual(self.trace(self.file("a.mrv", project([track()]))), "")

    def testOutputsThatOnlyATrackNamesExist(self):
        path = self.file("a.mrv", project([track(oscPortName="Elsewhere")]))
        self.assertEqual(json.loads(self.trace(path, "--play").splitlines()[0])["port"], "Elsewhere")

    def testAScriptCommandsBeforeTheTickOfItsTime(self):
        path = self.file("a.mrv", project([track()]))
        script = self.file("s.txt", "# start late\n\n500 osc /marvo/playall i:1\n")
        lines = [json.loads(line) for line in self.trace(path, "--script", script).splitlines()]
        self.assertEqual(lines[0]["t"], 500)
        self.assertEqual(lines[0]["frame"], 0)

    def testABadScriptLineIsNamed(self):
        path = self.file("a.mrv", project([track()]))
        error = self.refused("trace", path, "--script", self.file("s.txt", "0 osc /a\n0 dance\n"))
        self.assertRegex(error, r"s\.txt: line 2: ")

    def testAPreferenceHoldsForThisRun(self):
        flat = [track(points=((0, 50, "Linear Interpolation"), (30, 50, "Linear Interpolation")))]
        path = self.file("a.mrv", project(flat))
        self.assertEqual(len(self.trace(path, "--play").splitlines()), 2, "a flat line is sent once, and at its end")
        self.assertEqual(len(self.trace(path, "--play", "--pref", "optimalisedSending=false").splitlines()), 31)

    def testReadsTheBinaryFormAlike(self):
        xml = self.file("a.mrv", project([track()]))
        binary = self.file("b.mrv", plistlib.dumps(project([track()]), fmt=plistlib.FMT_BINARY))
        self.assertEqual(self.trace(xml, "--play"), self.trace(binary, "--play"))

    def testALargeTemplateAndAnAddressWithBlanksPlay(self):
        path = self.file("a.mrv", project([track(address="/a b/c " + "<\"%s\">" % ("x" * 60000)), track("B", "/late")]))
        lines = [json.loads(line) for line in self.trace(path, "--play").splitlines()]
        self.assertEqual(lines[0]["address"], "/a b/c")
        self.assertEqual(len(lines[0]["args"][0]), 60000)
        self.assertEqual(lines[1]["address"], "/late")


class Check(Headless):
    def testSaysWhatIsInAProject(self):
        out = self.call("check", self.file("a.mrv", project([track(), track("B", "/b")]))).stdout
        self.assertEqual(out, "One: 30 fps, 30 frames, 120 bpm, 2 tracks (2 OSCValue), 4 keyframes, 0 cues\n")

    def testTheDemoNeedsNoRepair(self):
        lines = self.call("check", DEMO).stdout.splitlines()
        self.assertGreaterEqual(len(lines), 3)
        for line in lines:
            self.assertRegex(line, r"^[^:]+: \d+ fps, \d+ frames, .* cues$")

    def testNamesEachRepair(self):
        out = self.call("check", self.file("a.mrv", project([track(points=((99, 1, "Linear Interpolation"),))]))).stdout
        self.assertRegex(out, r"frame 99 lies past the end")

    def testUnusableFilesEndWithOneLineAndStatusOne(self):
        good = plistlib.dumps(project([track()]))
        entities = b'<?xml version="1.0"?><!DOCTYPE x [<!ENTITY a "aaaa"><!ENTITY b "&a;&a;&a;">]><plist><string>&b;</string></plist>'
        for name, content in {"empty": b"", "garbage": b"\x00\x01garbage", "cut": good[:-40], "text": b"hello",
                              "root": plistlib.dumps([1, 2]), "none": plistlib.dumps({}), "bomb": entities,
                              "deep": b"<plist>" + b"<array>" * 100000, "binary": b"bplist00" + b"\xff" * 60}.items():
            error = self.refused("check", self.file(name + ".mrv", content))
            self.assertEqual(error.count("\n"), 1, error)
            self.assertIn(name + ".mrv", error)
        self.assertEqual(self.refused("check", self.file("x", b"")[:-1] + "missing").count("\n"), 1)
        self.assertEqual(self.refused("check", self.folder.name).count("\n"), 1)

    def testASparseFileOfTwoGigabytesIsRefusedAtOnce(self):
        path = self.file("sparse.mrv", b"")
        os.truncate(path, 2 << 30)
        began = time.monotonic()
        self.refused("check", path)
        self.assertLess(time.monotonic() - began, 5)


class Usage(Headless):
    def testWrongUsageIsStatusTwo(self):
        for arguments in ([], ["dance"], ["trace"], ["check"], ["run", "--for", "x"], ["trace", DEMO, "--no"]):
            self.assertEqual(self.call(*arguments).returncode, 2, arguments)

    def testEachCommandHasItsHelp(self):
        for arguments in (["--help"], ["--version"], ["run", "--help"], ["trace", "--help"], ["check", "--help"]):
            done = self.call(*arguments)
            self.assertEqual(done.returncode, 0)
            self.assertTrue(done.stdout)


class Run(Headless):
    def listener(self):
        receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        receiver.bind(("127.0.0.1", 0))
        receiver.settimeout(10)
        self.addCleanup(receiver.close)
        return receiver

    def freePort(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
            probe.bind(("0.0.0.0", 0))
            return probe.getsockname()[1]

    def testSaysWhenItIsReadyAndEndsWithTheSignal(self):
        port = self.freePort()
        for number in (signal.SIGINT, signal.SIGTERM):
            playing = self.play(self.file("a.mrv", project([track()], inputs=[port])))
            self.assertEqual(playing.stdout.readline(), "ready osc-in=%d compositions=1\n" % port)
            playing.send_signal(number)
            self.assertEqual(playing.wait(10), 0)

    def testEndsByItselfAndTellsItsNumbers(self):
        receiver = self.listener()
        looped = project([track()], port=receiver.getsockname()[1], loopButton={"state": True})
        playing = self.play(self.file("a.mrv", looped), "--play", "--for", "1.5", "--stats")
        self.assertTrue(receiver.recv(2048).startswith(b"/a\0\0,f\0\0"))
        out = playing.stdout.read()
        self.assertEqual(playing.wait(10), 0)
        self.assertRegex(out, r"ticks \d+")
        self.assertRegex(out, r"(?s)p50.*p99.*p99\.9.*max")
        self.assertRegex(out, r"osc.* [1-9]\d")

    def testAPreciseRunPlaysAndTakesItsShareOfTheProcessor(self):
        receiver = self.listener()
        looped = project([track()], port=receiver.getsockname()[1], loopButton={"state": True})
        used = {}
        for options in ((), ("--precise",)):
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            playing = self.play(self.file("a.mrv", looped), "--play", "--for", "2", "--stats", *options)
            self.assertTrue(receiver.recv(2048).startswith(b"/a\0\0,f\0\0"))
            out = playing.stdout.read()
            self.assertEqual(playing.wait(10), 0)
            self.assertRegex(out, r"osc.* [1-9]\d")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            used[options] = (after.ru_utime + after.ru_stime) - (before.ru_utime + before.ru_stime)
        # Some 150 us of each of two thousand milliseconds, less what wake-ups come late.
        self.assertGreater(used[("--precise",)], used[()] + 0.05)

    def testAnInputPortThatIsTakenIsLeftOutAndTheShowGoesOn(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("0.0.0.0", 0))
            receiver = self.listener()
            path = self.file("a.mrv", project([track()], port=receiver.getsockname()[1], inputs=[holder.getsockname()[1]]))
            playing = self.play(path, "--play", "--for", "1")
            self.assertEqual(playing.stdout.readline(), "ready osc-in= compositions=1\n")
            self.assertTrue(receiver.recv(2048))
            self.assertIn("cannot be opened", playing.stderr.read())
            self.assertEqual(playing.wait(10), 0)

    def testAMissingSoundSystemIsToldInOneLine(self):
        nowhere = dict(os.environ, JACK_DEFAULT_SERVER="none-%d" % os.getpid(), JACK_NO_START_SERVER="1")
        playing = self.play(self.file("a.mrv", project([track()])), "--midi", "jack", "--for", "1", env=nowhere)
        told = [line for line in playing.stderr.read().splitlines() if "MIDI: " in line]
        self.assertEqual(playing.wait(10), 0)
        self.assertEqual(len(told), 1, told)

    def testItsLogSaysWhenTheOSCPortsAreThere(self):
        playing = self.play(self.file("a.mrv", project([track()])), "--for", "0.2")
        log = playing.stderr.read()
        self.assertIn("OSC ports inited by the OSC Manager!", log)
        self.assertIn("done refreshComposition, recalculate track positions", log)
        self.assertEqual(playing.wait(10), 0)

    def testARunThatWasKilledIsReportedInAFileByTheNextOne(self):
        def reports():
            return glob.glob(os.path.join(self.folder.name, "config", "**", "crash-*.txt"), recursive=True)

        path = self.file("a.mrv", project([track()]))
        for ending, expected in ((signal.SIGTERM, 0), (signal.SIGKILL, 0), (signal.SIGTERM, 1), (signal.SIGTERM, 1)):
            playing = self.play(path)
            self.assertTrue(playing.stdout.readline().startswith("ready"))
            playing.send_signal(ending)
            playing.wait(10)
            told = playing.stderr.read()
            self.assertEqual(len(reports()), expected, told)
        text = open(reports()[0], encoding="utf-8").read()
        for part in ("PREFERENCES:", "===== DDLOG: =====", "::: Marvo starting", "===== APPLOG: ====="):
            self.assertIn(part, text)

    def testAProjectThatCannotBeReadIsStatusOne(self):
        playing = self.play(self.file("bad.mrv", b"garbage"))
        self.assertEqual(playing.wait(20), 1)
        self.assertIn("bad.mrv", playing.stderr.read())

    def testWithoutARightToRealTimeItIsRefusedWithAHint(self):
        # No right of its own and no bus to ask: as for an ordinary user of a bare machine.
        strip = ["setpriv", "--bounding-set=-sys_nice", "--inh-caps=-sys_nice", "prlimit", "--rtprio=0:0"]
        if os.geteuid() != 0:
            strip = ["setpriv", "--ambient-caps=-all", "--inh-caps=-all", "prlimit", "--rtprio=0:0"]
        none = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent")
        config = os.path.join(self.folder.name, "config")
        done = subprocess.run(strip + [PROGRAM, "run", self.file("a.mrv", project([track()])), "--for", "1",
                                       "--config-dir", config], capture_output=True, text=True, timeout=30, env=none)
        self.assertEqual(done.returncode, 3, done.stderr)
        self.assertIn("thread_policy_set:", done.stderr)
        self.assertIn("--best-effort", done.stderr)


if __name__ == "__main__":
    PROGRAM, DEMO = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
