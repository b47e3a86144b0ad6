"""Plays small projects for real and listens to them with tools that others wrote.

osc_peers_test.py PROGRAM [TEST...]

The script starts itself again inside a network namespace with nothing but a loopback of its own.
"""

import os
import plistlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

BOUND = 15.0  # seconds after which something that has to happen counts as missing
INSIDE = "MARVO_E2E_NAMESPACE"
PROGRAM = ""


def eventually(condition, bound=BOUND):
    end = time.monotonic() + bound
    while not condition():
        if time.monotonic() > end:
            return condition()
        time.sleep(0.01)
    return True


class Process:
    """A child whose lines are collected while it runs."""

    def __init__(self, *command):
        self.lines = []
        self.child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.STDOUT, text=True, errors="replace")
        self.reader = threading.Thread(target=self._read)
        self.reader.start()

    def _read(self):
        for line in self.child.stdout:
            self.lines.append(line.rstrip("\n"))

    def end(self):
        """Asks the child to end, and reads what it still says."""
        if self.child.poll() is None:
            self.child.send_signal(signal.SIGTERM)
            try:
                self.child.wait(BOUND)
            except subprocess.TimeoutExpired:
                self.child.kill()
                self.child.wait()
        self.reader.join()
        self.child.stdout.close()
        return self.child.returncode

    def with_text(self, text):
        return [line for line in list(self.lines) if text in line]


def track(position, address, output, first=0.0, last=1.0):
    """A float track that rises from `first` to `last` within 300 seconds at 25 frames a second."""
    frames = 300 * 25
    unit = 100000.0  # a file holds values of five digits as hundred thousandths
    curve = "Linear Interpolation"
    return {
        "trackPos": position, "trackType": "OSCValue", "trackName": "track %d" % position, "trackOSCType": 0,
        "isUsing5FractionDigits": True,
        "trackMinValue": 0.0, "trackMaxValue": unit, "trackOSCAddress": address, "oscPortName": output,
        "keyFrames": {"0": {"time": 0, "value": first * unit, "interpolation": curve},
                      "1": {"time": frames, "value": last * unit, "interpolation": curve}},
    }


def project(tracks, ports=None):
    composition = {"compName": "Show", "compFPS": 25, "compTime": 300.0, "compSpeed": "120",
                   "tracks": {"tr-%d" % i: one for i, one in enumerate(tracks)}}
    return {"Comp-0": composition, "appData": {"preferences": {"oscPorts": ports} if ports else {}}}


def ports(outputs, inputs=(7001,), feedback=None):
    record = {"inputs": [{"port": port} for port in inputs],
              "outputs": [{"portLabel": label, "address": address, "port": port}
                          for label, address, port in outputs]}
    if feedback:
        record["feedback"] = feedback
    return record


class OSCPeers(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="marvo-e2e-")
        self.addCleanup(shutil.rmtree, self.folder)

    def start(self, root, *options):
        """Runs the program until it is ready."""
        path = os.path.join(self.folder, "show.mrv")
        with open(path, "wb") as file:
            plistlib.dump(root, file)
        show = Process(PROGRAM, "run", path, "--best-effort", "--bind", "127.0.0.1",
                       "--config-dir", os.path.join(self.folder, "config"), *options)
        self.addCleanup(show.end)
        self.assertTrue(eventually(lambda: show.with_text("ready osc-in=") or show.child.poll() is not None))
        self.assertIsNone(show.child.poll(), show.lines)
        return show

    def dump(self, port):
        tool = Process("oscdump", "-L", str(port))
        self.addCleanup(tool.end)
        self.assertTrue(eventually(lambda: self.is_bound(port)))
        return tool

    def is_bound(self, port):
        with open("/proc/net/udp") as four, open("/proc/net/udp6") as six:
            return any((":%04X " % port) in line for line in four.read().splitlines() + six.read().splitlines())

    def control(self, port, *message):
        subprocess.run(["oscsend", "127.0.0.1", str(port), *message], check=True, timeout=BOUND)

    def values(self, tool, address):
        """The numbers of the messages to an address."""
        found = []
        for line in list(tool.lines):
            parts = line.split()  # time, address, tags, arguments
            if len(parts) > 3 and parts[1] == address:
                found.append([float(part) for part in parts[3:]])
        return found

    def grows(self, tool, address, by=5):
        before = len(self.values(tool, address))
        return eventually(lambda: len(self.values(tool, address)) >= before + by)

    def stands_still(self, tool):
        """Whether nothing arrives any more for half a second."""
        def quiet():
            before = len(tool.lines)
            time.sleep(0.5)
            return len(tool.lines) == before
        return eventually(quiet)

    def test_values_reach_a_dump_tool_in_real_time(self):
        tool = self.dump(9000)
        self.start(project([track(0, "/fader", "Desk")], ports([("Desk", "127.0.0.1", 9000)])), "--play")
        self.assertTrue(eventually(lambda: len(self.values(tool, "/fader")) >= 40))
        first = time.monotonic()
        count = len(self.values(tool, "/fader"))
        self.assertTrue(eventually(lambda: len(self.values(tool, "/fader")) >= count + 50))
        passed = time.monotonic() - first
        values = [one[0] for one in self.values(tool, "/fader")]
        self.assertEqual(values, sorted(values))
        # 25 frames a second, each a step of 1/7500.
        self.assertGreater(passed, 1.5)
        self.assertLess(passed, 4.0)
        steps = [b - a for a, b in zip(values, values[1:])]
        self.assertAlmostEqual(sum(steps) / len(steps), 1 / 7500, delta=0.3 / 7500)
        line = [one for one in tool.lines if "/fader" in one][0]
        self.assertEqual(line.split()[2], "f")

    def test_a_control_message_starts_and_stops_the_show(self):
        tool = self.dump(9000)
        self.start(project([track(0, "/fader", "Desk")], ports([("Desk", "127.0.0.1", 9000)])))
        self.assertTrue(self.stands_still(tool))
        started = len(self.values(tool, "/fader"))
        self.control(7001, "/marvo/playall", "i", "1")
        self.assertTrue(self.grows(tool, "/fader"))
        self.assertGreater(len(self.values(tool, "/fader")), started)
        self.control(7001, "/marvo/playall", "i", "0")
        self.assertTrue(self.stands_still(tool))
        self.control(7001, "/marvo/playall", "i", "1")
        self.assertTrue(self.grows(tool, "/fader"))

    def test_a_bundle_of_another_library_is_understood(self):
        import liblo
        received = []
        server = liblo.Server(9000)
        server.add_method(None, None, lambda path, arguments, types: received.append((path, arguments, types)))
        self.start(project([track(0, "/fader <\"scene\"> <7>", "Desk")], ports([("Desk", "127.0.0.1", 9000)])))
        bundle = liblo.Bundle(liblo.Message("/unknown", 1.5, "x"), liblo.Message("/marvo/playall", ("i", 1)))
        liblo.send(liblo.Address("127.0.0.1", 7001), bundle)
        self.assertTrue(eventually(lambda: server.recv(10) and received))
        path, arguments, types = received[0]
        self.assertEqual((path, types, arguments[:2]), ("/fader", "sif", ["scene", 7]))

    def test_grouped_tracks_arrive_as_one_message_in_text_order(self):
        tool = self.dump(9000)
        levels = {"2": 0.2, "10": 0.1, "1": 0.9}
        tracks = [track(i, "/rgb#" + index, "Desk", level, level + 0.001)
                  for i, (index, level) in enumerate(levels.items())]
        tracks.append(track(3, "/rgb#0", "Desk"))
        self.start(project(tracks, ports([("Desk", "127.0.0.1", 9000)])), "--play")
        self.assertTrue(eventually(lambda: any(len(one) == 3 for one in self.values(tool, "/rgb"))))
        full = [one for one in self.values(tool, "/rgb") if len(one) == 3][0]
        for got, wanted in zip(full, [levels["1"], levels["10"], levels["2"]]):
            self.assertAlmostEqual(got, wanted, delta=0.001)
        self.assertTrue(self.grows(tool, "/rgb#0"), "without a usable index it goes alone")
        for index in levels:
            self.assertEqual(self.values(tool, "/rgb#" + index), [])

    def test_feedback_arrives_at_the_saved_output_only(self):
        desk = self.dump(9000)
        remote = self.dump(9001)
        outputs = [("Desk", "127.0.0.1", 9000), ("Remote", "127.0.0.1", 9001)]
        self.start(project([track(0, "/fader", "Desk")], ports(outputs, feedback="Remote")))
        self.control(7001, "/marvo/playall", "i", "1")
        self.assertTrue(eventually(lambda: remote.with_text("/marvo/playall")), remote.lines)
        self.assertTrue(self.grows(desk, "/fader"))
        self.assertEqual(desk.with_text("/marvo/playall"), [])
        self.assertEqual(remote.with_text("/fader"), [])

    def test_a_taken_default_port_gives_the_next_one(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("127.0.0.1", 1234))
            show = self.start(project([track(0, "/fader", "")]))
            self.assertTrue(show.with_text("ready osc-in=1235"), show.lines)
            self.assertEqual(show.with_text("1234"), [], "it is said to nobody")

    def test_a_taken_port_of_a_project_is_left_out(self):
        tool = self.dump(9000)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("127.0.0.1", 7001))
            record = ports([("Desk", "127.0.0.1", 9000)], inputs=(7001, 7002))
            show = self.start(project([track(0, "/fader", "Desk")], record))
            self.assertTrue(show.with_text("ready osc-in=7002 "), show.lines)
            self.control(7002, "/marvo/playall", "i", "1")
            self.assertTrue(self.grows(tool, "/fader"))

    def test_broken_packets_do_no_harm(self):
        tool = self.dump(9000)
        show = self.start(project([track(0, "/fader", "Desk")], ports([("Desk", "127.0.0.1", 9000)])))
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            for packet in (b"", b"x", b"/abc", b"/a\0\0,i\0\0", b"/a\0\0,b\0\0\xff\xff\xff\xff",
                           b"#bundle\0" + b"\0" * 8 + b"\xff\xff\xff\xf0", b"\xff" * 1000, b"/" + b"a" * 40000):
                sender.sendto(packet, ("127.0.0.1", 7001))
        self.control(7001, "/marvo/playall", "i", "1")
        self.assertTrue(self.grows(tool, "/fader"))
        self.assertEqual(show.end(), 0)

    def test_an_unknown_host_is_told_once_and_disturbs_no_other_output(self):
        tool = self.dump(9000)
        outputs = [("Desk", "127.0.0.1", 9000), ("Lost", "no-such-desk.invalid", 9001)]
        show = self.start(project([track(0, "/fader", "Desk"), track(1, "/lost", "Lost")], ports(outputs)), "--play")
        self.assertTrue(self.grows(tool, "/fader"))
        self.assertTrue(eventually(lambda: show.with_text("no-such-desk.invalid")), show.lines)
        self.assertTrue(self.grows(tool, "/fader", 75))  # three seconds, in which it is looked for again
        self.assertEqual(len(show.with_text("no-such-desk.invalid")), 1, show.lines)
        self.assertEqual(show.end(), 0)

    def test_output_goes_on_after_the_link_was_down(self):
        # The system takes what is sent to a link that is down and loses it without a word.
        tool = self.dump(9000)
        show = self.start(project([track(0, "/fader", "Desk")], ports([("Desk", "127.0.0.1", 9000)])), "--play")
        self.assertTrue(self.grows(tool, "/fader"))
        subprocess.run(["ip", "link", "set", "lo", "down"], check=True)
        self.assertTrue(self.stands_still(tool))
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        self.assertTrue(self.grows(tool, "/fader"))
        self.control(7001, "/marvo/playall", "i", "0")
        self.assertTrue(self.stands_still(tool))
        self.assertEqual(show.end(), 0)

    def test_output_returns_by_itself_after_the_network_was_gone(self):
        tool = self.dump(9000)
        show = self.start(project([track(0, "/fader", "Desk")], ports([("Desk", "127.0.0.1", 9000)])), "--play")
        self.assertTrue(self.grows(tool, "/fader"))
        for times in (1, 2):
            subprocess.run(["ip", "address", "del", "127.0.0.1/8", "dev", "lo"], check=True)
            self.assertTrue(eventually(lambda: len(show.with_text("cannot send")) == times), show.lines)
            self.assertTrue(self.stands_still(tool))
            before = len(self.values(tool, "/fader"))
            subprocess.run(["ip", "address", "add", "127.0.0.1/8", "dev", "lo"], check=True)
            self.assertTrue(self.grows(tool, "/fader"))
            self.assertTrue(eventually(lambda: len(show.with_text('"Desk": back')) == times), show.lines)
            # What could not be sent is gone; the show went on meanwhile.
            values = [one[0] for one in self.values(tool, "/fader")]
            self.assertGreater(values[before] - values[before - 1], 8 / 7500)
        self.assertTrue(self.grows(tool, "/fader", 25))
        self.assertEqual(len(show.with_text("cannot send")), 2, show.lines)
        self.assertEqual(len(show.with_text('"Desk": back')), 2, show.lines)
        self.assertEqual(show.end(), 0)

    def test_the_example_drives_a_show_over_osc_alone(self):
        show = Process(PROGRAM, "run", "--best-effort", "--bind", "127.0.0.1", "--midi", "none",
                       "--config-dir", os.path.join(self.folder, "config"))
        self.addCleanup(show.end)
        self.assertTrue(eventually(lambda: show.with_text("ready osc-in=1234")), show.lines)
        example = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "examples", "drive_show.py")
        run = subprocess.run([sys.executable, "-B", example, "1234", "9001"], timeout=50, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(run.returncode, 0, run.stdout + "\n".join(show.lines))
        self.assertIn("# all answers came", run.stdout)
        self.assertEqual(show.end(), 0)


def enter_namespace():
    """Runs this script again where the loopback is its own and no other network is.

    Its processes have a space of their own too, so that none is left when the script is killed.
    """
    flags = ["--net", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        flags.append("--map-root-user")
    os.environ[INSIDE] = "1"
    os.execvp("unshare", ["unshare", *flags, sys.executable, *sys.argv])


if __name__ == "__main__":
    if os.environ.get(INSIDE) != "1":
        enter_namespace()
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    PROGRAM = os.path.abspath(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
