"""Art-Net against a node that others wrote, read from the wire by a third program.

artnet_peers_test.py PROGRAM [TEST...]

The script starts itself again inside a network namespace with nothing but a loopback of its own. "Here" is that
namespace, where PROGRAM (artnet_sender) runs; "there" is a second one at the other end of a cable, with the node.
"""

import os
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

BOUND = 20.0  # seconds after which something that has to happen counts as missing
INSIDE = "MARVO_E2E_NAMESPACE"
PROGRAM = ""
HERE = "10.77.0.1"
THERE = "10.77.0.2"
TITLE = "Ethernet (cable0) - " + HERE
ANYONE = "10.77.0.255"
PORT = 6454


def eventually(condition, bound=BOUND):
    end = time.monotonic() + bound
    while not condition():
        if time.monotonic() > end:
            return condition()
        time.sleep(0.01)
    return True


def ip(*words):
    subprocess.run(["ip", *words], check=True, timeout=BOUND)


class Process:
    """A child whose lines are collected while it runs."""

    def __init__(self, *command, env=None):
        self.lines = []
        self.times = []
        self.child = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                      stderr=subprocess.STDOUT, text=True, errors="replace", env=env)
        self.reader = threading.Thread(target=self._read)
        self.reader.start()

    def _read(self):
        for line in self.child.stdout:
            self.times.append(time.monotonic())
            self.lines.append(line.rstrip("\n"))

    def tell(self, line):
        self.child.stdin.write(line + "\n")
        self.child.stdin.flush()

    def end(self):
        if self.child.poll() is None:
            self.child.send_signal(signal.SIGTERM)
            try:
                self.child.wait(BOUND)
            except subprocess.TimeoutExpired:
                self.child.kill()
                self.child.wait()
        self.reader.join()
        self.child.stdout.close()
        self.child.stdin.close()
        return self.child.returncode

    def finish(self):
        """Lets it end by itself, as at the end of its input."""
        self.child.stdin.close()
        self.child.wait(BOUND)
        self.reader.join()
        return self.child.returncode

    def with_text(self, text):
        return [line for line in list(self.lines) if text in line]


class Packet:
    """What the third program read of one packet."""

    FIELDS = ("frame.time_epoch", "ip.src", "ip.dst", "artnet.header.opcode", "artnet.output.sequence",
              "artnet.output.universe", "artnet.output.length", "udp.payload")

    def __init__(self, line):
        words = line.split("\t")
        self.time = float(words[0])
        self.source, self.target = words[1:3]
        self.opcode = int(words[3], 0)
        self.sequence = int(words[4], 0) if words[4] else None
        self.universe = int(words[5], 0) if words[5] else None
        self.length = int(words[6], 0) if words[6] else None
        self.bytes = bytes.fromhex(words[7].replace(":", ""))

    def value(self, channel):
        return self.bytes[18 + channel - 1]


class ArtNetWorld(unittest.TestCase):
    """Two networks, a node and a wire reader; other scripts take it, too."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="marvo-e2e-")
        self.addCleanup(shutil.rmtree, self.folder)

    # --- What stands around the program

    def cable(self):
        """Here and there, joined by a cable."""
        there = subprocess.Popen(["unshare", "--net", "sleep", "600"])
        self.addCleanup(there.wait)
        self.addCleanup(there.kill)
        self.there = str(there.pid)
        own = os.readlink("/proc/self/ns/net")
        self.assertTrue(eventually(lambda: os.readlink("/proc/%s/ns/net" % self.there) != own))
        self.plug_in()
        self.in_there("ip", "link", "set", "lo", "up")

    def plug_in(self):
        # Like a card of which the system asks single packets, so that the third program sees them singly.
        ip("link", "add", "cable0", "gso_max_segs", "1", "type", "veth", "peer", "name", "cable1")
        ip("link", "set", "cable1", "netns", self.there)
        # The other end first: what is asked into a cable that ends nowhere is asked again a second later.
        self.in_there("ip", "address", "add", THERE + "/24", "brd", "+", "dev", "cable1")
        self.in_there("ip", "link", "set", "cable1", "up")
        ip("link", "set", "cable0", "up")
        ip("address", "add", HERE + "/24", "brd", "+", "dev", "cable0")

    def pull_out(self):
        ip("link", "del", "cable0")

    def in_there(self, *command):
        subprocess.run(["nsenter", "-t", self.there, "-n", *command], check=True, timeout=BOUND)

    def start_node(self, outputs=(1, 2), inputs=(3,), where=THERE, inside=True, broadcast=True):
        """The node takes the universes `outputs` from the network, and brings its universes `inputs` to it."""
        folder = os.path.join(self.folder, "node")
        os.makedirs(folder)
        off = ("dummy e131 espnet ftdidmx gpio karate kinet milinst opendmx openpixelcontrol osc pathport renard "
               "sandnet shownet spi stageprofi uartdmx usbserial usbdmx usbpro").split()
        for plugin in off:
            with open(os.path.join(folder, "ola-%s.conf" % plugin), "w") as file:
                file.write("enabled = false\n")
        with open(os.path.join(folder, "ola-artnet.conf"), "w") as file:
            file.write("enabled = true\nip = %s\nalways_broadcast = %s\nuse_loopback = true\n"
                       "use_limited_broadcast = false\nnet = 0\nsubnet = 0\noutput_ports = 4\n"
                       "short_name = node\nlong_name = a node\n" % (where, "true" if broadcast else "false"))
        with open(os.path.join(folder, "ola-port.conf"), "w") as file:
            for port, universe in enumerate(outputs):
                file.write("2-1-I-%d = %d\n" % (port, universe))
            for port, universe in enumerate(inputs):
                file.write("2-1-O-%d = %d\n" % (port, universe))
        self.enter = ["nsenter", "-t", self.there, "-n"] if inside else []
        # It refuses to be root.
        node = Process(*self.enter, "unshare", "--user", "--map-user=1000", "--map-group=1000",
                       "olad", "-c", folder, "--no-register-with-dns-sd", "--no-http-quit", "-i", where, "-p", "9090",
                       "-r", "9010", "-l", "2", env=dict(os.environ, HOME=folder))
        self.addCleanup(node.end)
        self.where = where
        self.assertTrue(eventually(lambda: self.ask("/json/server_stats") is not None), node.lines)
        return node

    def ask(self, path):
        """An answer of the node's web server, or None."""
        answer = subprocess.run([*self.enter, "curl", "-sf", "--max-time", "5",
                                 "http://%s:9090%s" % (self.where, path)], capture_output=True, text=True)
        return answer.stdout if answer.returncode == 0 else None

    def node_value(self, universe, channel):
        answer = self.ask("/get_dmx?u=%d" % universe)
        if answer is None or '"dmx"' not in answer:
            return None
        values = answer.split("[", 1)[1].split("]", 1)[0].split(",")
        return int(values[channel - 1]) if len(values) >= channel and values[0].strip() else None

    def capture(self, interface="cable0"):
        tool = Process("tshark", "-i", interface, "-l", "-n", "-Q", "-f", "udp port %d" % PORT, "-Y", "artnet",
                       "-T", "fields", *[word for field in Packet.FIELDS for word in ("-e", field)])
        self.addCleanup(tool.end)
        # It is ready when it shows a packet that nobody else sends.
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
            probe.bind((HERE if interface != "lo" else "127.0.0.1", 0))
            probe.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
            mark = b"Art-Net\0" + struct.pack("<H", 0x2300) + b"\0\x0e" + bytes(16)

            def shows():
                probe.sendto(mark, (THERE if interface != "lo" else "127.0.0.99", PORT))
                time.sleep(0.05)
                return any(packet.opcode == 0x2300 for packet in self.packets(tool))
            self.assertTrue(eventually(shows), tool.lines)
        return tool

    def packets(self, tool, opcode=None, universe=None, source=None):
        found = []
        for line in list(tool.lines):
            if line.count("\t") != len(Packet.FIELDS) - 1:
                continue
            packet = Packet(line)
            if opcode in (None, packet.opcode) and universe in (None, packet.universe) and \
                    source in (None, packet.source):
                found.append(packet)
        return found

    def start(self, title=TITLE):
        show = Process(PROGRAM, title)
        self.addCleanup(show.end)
        self.assertTrue(eventually(lambda: "ready" in show.lines or show.child.poll() is not None))
        self.assertIsNone(show.child.poll(), show.lines)
        return show


class ArtNetPeers(ArtNetWorld):
    def test_a_node_is_found_and_shows_the_values(self):
        self.cable()
        self.start_node()
        show = self.start()
        self.assertTrue(show.with_text("menu " + TITLE), show.lines)
        self.assertTrue(eventually(lambda: show.with_text("[node %s 0-1 Receiver]" % THERE)), show.lines)
        show.tell("outputs 3")
        show.tell("set 1 1 255")
        show.tell("set 1 512 7")
        show.tell("set 2 3 99")
        self.assertTrue(eventually(lambda: self.node_value(1, 1) == 255))
        self.assertTrue(eventually(lambda: self.node_value(1, 512) == 7))
        self.assertTrue(eventually(lambda: self.node_value(2, 3) == 99))
        show.tell("blackout")
        self.assertTrue(eventually(lambda: self.node_value(1, 1) == 0 and self.node_value(2, 3) == 0))
        show.tell("auto")
        self.assertTrue(eventually(lambda: show.with_text("output Marvo Art-Net Out 2 (0-2)")), show.lines)
        self.assertEqual(show.finish(), 0)

    def test_the_wire_carries_what_the_standard_asks_for(self):
        self.cable()
        self.start_node()
        tool = self.capture()
        show = self.start()
        self.assertTrue(eventually(lambda: show.with_text("[node %s 0-1 Receiver]" % THERE)), show.lines)
        show.tell("outputs 8")
        show.tell("wave 8")
        time.sleep(6.2)
        show.tell("wave 0")
        time.sleep(4.0)
        show.end()
        polls = self.packets(tool, 0x2000, source=HERE)
        self.assertGreaterEqual(len(polls), 3)
        self.assertEqual({packet.target for packet in polls}, {ANYONE})
        # The first two may come together: the start of the program and its wish to discover.
        gaps = [b.time - a.time for a, b in zip(polls[1:], polls[2:])]
        for gap in gaps:
            self.assertGreater(gap, 2.4)
            self.assertLess(gap, 3.1)
        self.assertTrue([p for p in self.packets(tool, 0x2100, source=HERE) if p.target == ANYONE])
        for universe in (1, 2):
            values = self.packets(tool, 0x5000, universe, HERE)
            self.assertEqual({packet.target for packet in values}, {THERE}, "to the node alone")
            self.assertEqual({packet.length for packet in values}, {512})
            self.assertNotIn(0, [packet.sequence for packet in values])
            for a, b in zip(values, values[1:]):
                self.assertEqual(b.sequence, a.sequence % 255 + 1)
            times = [packet.time for packet in values]
            for index, first in enumerate(times):
                self.assertLessEqual(sum(1 for t in times[index:index + 60] if t < first + 0.999), 45)
            moving = [t for t in times if t < times[0] + 6]
            self.assertGreater(len(moving), 6 * 30)
            # While nothing changes it comes again before a second is over.
            still = [t for t in times if t > times[0] + 6.5]
            self.assertGreaterEqual(len(still), 2)
            for a, b in zip(still, still[1:]):
                self.assertLess(b - a, 1.0)
        self.assertEqual(self.packets(tool, 0x5000, 7), [], "nobody asked for it")

    def test_the_last_of_many_values_arrives(self):
        self.cable()
        self.start_node()
        show = self.start()
        self.assertTrue(eventually(lambda: show.with_text("[node")), show.lines)
        show.tell("outputs 2")
        for target in (11, 222, 33):
            for value in range(100):
                show.tell("set 1 5 %d" % value)
            show.tell("set 1 5 %d" % target)
            self.assertTrue(eventually(lambda: self.node_value(1, 5) == target))

    def test_everything_is_back_when_the_interface_was_gone_ten_times(self):
        self.cable()
        self.start_node()
        show = self.start()
        show.tell("outputs 2")
        show.tell("wave 2")
        show.tell("input 0 9")
        show.tell("counts")
        self.assertTrue(eventually(lambda: show.with_text("counts") and show.with_text("[node")), show.lines)
        for round_number in range(10):
            before = len(show.lines)
            self.pull_out()
            self.assertTrue(eventually(lambda: "selected Disable Art-Net" in show.lines[before:]), show.lines[-8:])
            before = len(show.lines)
            self.plug_in()
            plugged = time.monotonic()
            # The node's own socket stays; it hears what is sent to its address as soon as that is there again.
            self.assertTrue(eventually(lambda: "selected " + TITLE in show.lines[before:]), show.lines[-8:])
            first = self.node_value(1, 1)
            self.assertTrue(eventually(lambda: self.node_value(1, 1) != first))
            self.assertLess(time.monotonic() - plugged, 2.0, "round %d" % round_number)
        self.assertEqual(show.with_text("alert"), [], show.lines)
        # The input has come back too.
        self.send_there(b"Art-Net\0" + struct.pack("<H", 0x5000) + b"\0\x0e\0\0\x09\0\0\x02\x2a\x2b", HERE)
        self.assertTrue(eventually(lambda: show.with_text("in 0=42 1=43")), show.lines[-8:])
        self.assertEqual(show.finish(), 0)

    def send_there(self, packet, target):
        """Sends a packet from the other end."""
        self.in_there(sys.executable, "-c",
                      "import socket,sys; s=socket.socket(socket.AF_INET,socket.SOCK_DGRAM);"
                      "s.sendto(bytes.fromhex(sys.argv[1]),(sys.argv[2],%d))" % PORT, packet.hex(), target)

    def test_the_address_that_changes_ends_the_output(self):
        self.cable()
        show = self.start()
        began = len(show.with_text("selected Disable Art-Net"))
        ip("address", "del", HERE + "/24", "dev", "cable0")
        ip("address", "add", "10.77.0.50/24", "brd", "+", "dev", "cable0")
        self.assertTrue(eventually(lambda: len(show.with_text("selected Disable Art-Net")) > began), show.lines)
        ip("address", "del", "10.77.0.50/24", "dev", "cable0")
        ip("address", "add", HERE + "/24", "brd", "+", "dev", "cable0")
        self.assertTrue(eventually(lambda: len(show.with_text("selected " + TITLE)) == 2), show.lines)

    def test_values_of_the_node_come_in(self):
        self.cable()
        # Without always_broadcast it sends only to those who ask for the universe.
        self.start_node(broadcast=False)
        show = self.start()
        show.tell("input 0 3")
        self.assertTrue(eventually(lambda: show.with_text("[node")), show.lines)

        def arrives():
            subprocess.run([*self.enter, "curl", "-sf", "-d", "u=3&d=10,20,30", "http://%s:9090/set_dmx" % THERE],
                           check=True, timeout=BOUND, stdout=subprocess.DEVNULL)
            time.sleep(0.1)
            return show.with_text("0=10 1=20 2=30")
        self.assertTrue(eventually(arrives), show.lines)

    def test_the_loopback_serves_a_node_of_this_machine(self):
        # The node has an address of its own there; what is sent to all reaches both.
        ip("address", "add", "127.0.0.2/8", "dev", "lo")
        self.start_node(where="127.0.0.2", inside=False)
        show = self.start("(Loopback Interface) - 127.0.0.1 (lo0)")
        self.assertEqual(show.with_text("alert"), [], "the port is shared")
        show.tell("outputs 2")
        show.tell("broadcast 1")
        show.tell("set 1 1 123")
        self.assertTrue(eventually(lambda: self.node_value(1, 1) == 123), show.lines)

    def test_a_port_that_is_not_shared_is_said_to_the_user(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("0.0.0.0", PORT))
            title = "(Loopback Interface) - 127.0.0.1 (lo0)"
            show = self.start(title)
            self.assertTrue(eventually(lambda: show.with_text(
                "alert Failed to start ArtNet Server: The network interface %s may be in use by another ArtNet "
                "application." % title)), show.lines)
            self.assertTrue(show.with_text("UDP port 6454 is held by another program, which does not share it"))
        show.tell("interface " + title)
        show.tell("broadcast 0")
        self.assertTrue(eventually(lambda: self.grows(show, "counts sent=")))

    def grows(self, show, text):
        def count():
            show.tell("counts")
            before = len(show.with_text(text))
            eventually(lambda: len(show.with_text(text)) > before, 2)
            return int(show.with_text(text)[-1].split("sent=")[1].split()[0])
        first = count()
        time.sleep(0.3)
        return count() > first

    def test_nobody_listening_is_said_once(self):
        self.cable()
        show = self.start()
        self.assertTrue(eventually(lambda: show.with_text("trouble +No device listens to Art-Net output "
                                                          "Marvo Art-Net Out 1 (0-0)")), show.lines)
        self.start_node()
        self.assertTrue(eventually(lambda: show.with_text("trouble -")), show.lines)
        self.assertEqual(len(show.with_text("trouble +")), 1)

    def test_all_universes_at_full_rate_leave_together_and_none_is_late(self):
        self.cable()
        tool = self.capture()
        show = self.start()
        show.tell("outputs 256")
        for row in range(256):
            show.tell("broadcast %d" % row)
        show.tell("sync")
        time.sleep(1.0)
        show.tell("wave 256")
        time.sleep(3.0)
        show.tell("counts")
        self.assertTrue(eventually(lambda: show.with_text("counts")))
        self.assertTrue(show.with_text("failed=0"), show.lines[-3:])
        show.end()
        values = self.packets(tool, 0x5000, source=HERE)
        bursts = []
        for packet in values:
            if packet.universe == 0 or not bursts:
                bursts.append([])
            bursts[-1].append(packet)
        full = [burst for burst in bursts if len(burst) == 256 and len({p.value(1) for p in burst}) == 1]
        # Each burst holds one moment of the show.
        self.assertGreater(len(full), 3 * 25)
        self.assertEqual([len(burst) for burst in bursts[1:-1] if len(burst) != 256], [])
        spans = sorted(burst[-1].time - burst[0].time for burst in full)
        self.assertLess(spans[len(spans) // 2], 0.020)
        self.assertGreaterEqual(len(self.packets(tool, 0x5200, source=HERE)), len(full) - 2)


def enter_namespace():
    """Runs this script again where the loopback is its own and no other network is."""
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
