"""What stands around the demo show when it plays for real: a sound server, a node, listeners, and the networks between.

A script that uses it starts itself again (enter) in a world of its own: no network but a loopback, no processes of
others, a shared memory in which no other sound server can be met.
"""

import collections
import json
import os
import plistlib
import re
import signal
import subprocess
import sys
import time
import unittest

import artnet_peers_test as artnet
from artnet_peers_test import BOUND, Process, eventually

SERVER = "marvo-e2e"
RATE = 48000
NODE = "127.0.0.2"
PROGRAM = DEMO = PEER = ""
SECONDS = float(os.environ.get("MARVO_E2E_SECONDS", "10"))  # how long the show is listened to
ROUNDS = int(os.environ.get("MARVO_E2E_ROUNDS", "3"))       # how often something is taken away and given back

Heard = collections.namedtuple("Heard", "frame bytes")


def may_play_in_real_time():
    return subprocess.run(["chrt", "--fifo", "10", "true"], stderr=subprocess.DEVNULL).returncode == 0


def sounding_after(events, sounding=()):
    """The (channel, note) that sound when these have been played."""
    notes = set(sounding)
    for event in events:
        status, channel = event.bytes[0] & 0xf0, event.bytes[0] & 0x0f
        if status == 0x90 and event.bytes[2] > 0:
            notes.add((channel, event.bytes[1]))
        elif status in (0x80, 0x90):
            notes.discard((channel, event.bytes[1]))
    return notes


class Peer:
    """A JACK client with an input and an output, in a process of its own; see midi_peer_ports.h."""

    def __init__(self, name):
        self.child = subprocess.Popen([PEER, "--peer", "jack", name], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self._answer()

    def _answer(self):
        lines = []
        for line in self.child.stdout:
            if line == ".\n":
                return lines
            lines.append(line.rstrip("\n"))
        raise AssertionError("the peer has ended")

    def ask(self, command):
        self.child.stdin.write(command + "\n")
        self.child.stdin.flush()
        return self._answer()

    def hears(self, port):
        return self.ask("hear " + port) == ["yes"]

    def is_heard(self):
        return self.ask("isheard") == ["yes"]

    def take(self):
        found = []
        for line in self.ask("take"):
            frame, hexadecimal = line.split()
            found.append(Heard(int(frame), bytes.fromhex(hexadecimal)))
        return found

    def lost(self):
        """Frames at which the server itself missed its moment."""
        return [int(line) for line in self.ask("lost")]

    def play(self, *message):
        self.ask("event 0 " + bytes(message).hex())
        self.ask("play")

    def end(self):
        # A client of a server that is gone may hang.
        self.child.stdin.close()
        try:
            self.child.wait(1)
        except subprocess.TimeoutExpired:
            self.child.kill()
            self.child.wait()
        self.child.stdout.close()


class Statistics:
    """What the program tells at its end; lateness in milliseconds."""

    def __init__(self, lines):
        text = "\n".join(lines)
        found = re.search(r"lateness p50 ([\d.]+) us, p99 ([\d.]+) us, p99\.9 ([\d.]+) us, max ([\d.]+) us", text)
        assert found, text
        self.p50, self.p99, self.p999, self.worst = [float(one) / 1000 for one in found.groups()]
        self.sent = {name: int(count) for name, count in re.findall(r"messages (\w+) (\d+)", text)}


class DemoWorld(artnet.ArtNetWorld):
    def setUp(self):
        super().setUp()
        self.server = None
        self.addCleanup(lambda: self.server and self.stop_server(signal.SIGTERM))

    # --- The sound server

    def start_server(self):
        quiet = "-R" if may_play_in_real_time() else "-r"
        self.server = subprocess.Popen(
            ["jackd", "--name", SERVER, quiet, "-S", "-d", "dummy", "-r", str(RATE), "-p", "256", "-C", "1", "-P", "1"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def stop_server(self, number):
        self.server.send_signal(number)
        self.server.wait()
        self.server = None

    def peer(self, name):
        peer = Peer(name)
        self.addCleanup(peer.end)
        return peer

    def listener(self, name, port):
        """A peer that hears one of the program's ports."""
        peer = self.peer(name)
        self.assertTrue(eventually(lambda: peer.hears(port)), port)
        return peer

    # --- The program

    def variant(self, change):
        """The demo with a change, as a file."""
        with open(DEMO, "rb") as file:
            root = plistlib.load(file)
        change(root["appData"])
        path = os.path.join(self.folder, "variant.mrv")
        with open(path, "wb") as file:
            plistlib.dump(root, file)
        return path

    def run_show(self, *options, project=None):
        show = Process(PROGRAM, "run", project or DEMO, "--best-effort", "--stats", "--config-dir",
                       os.path.join(self.folder, "config"), *options)
        self.addCleanup(show.end)
        self.assertTrue(eventually(lambda: show.with_text("ready osc-in=") or show.child.poll() is not None))
        self.assertEqual(show.with_text("ready"), ["ready osc-in=1234 compositions=4"], show.lines)
        return show

    def end_show(self, show):
        self.assertIsNone(show.child.poll(), show.lines[-20:])
        self.assertEqual(show.end(), 0, show.lines[-20:])
        return Statistics(show.lines)

    def command(self, address, *words):
        subprocess.run(["oscsend", "127.0.0.1", "1234", address, *words], check=True, timeout=BOUND)

    def trace(self, seconds, *script):
        """What a rehearsal sends; script: lines of a trace script."""
        path = os.path.join(self.folder, "script.txt")
        with open(path, "w") as file:
            file.write("\n".join(script) + "\n")
        done = subprocess.run([PROGRAM, "trace", DEMO, "--seconds", "%g" % seconds, "--script", path], check=True,
                              stdout=subprocess.PIPE, timeout=120)
        return [json.loads(line) for line in done.stdout.splitlines()]

    # --- Listeners

    def dump(self, port, *enter):
        tool = Process(*enter, "oscdump", "-L", str(port))
        self.addCleanup(tool.end)
        return tool

    def start_own_node(self):
        """The node of this machine, on an address of its own; it takes the three universes of the demo."""
        artnet.ip("address", "replace", NODE + "/8", "dev", "lo")
        return self.start_node(outputs=(1, 2, 3), inputs=(), where=NODE, inside=False)

    def levels(self, universe):
        """All channels of a universe as the node shows them; dark ones at the end may be left out."""
        answer = self.ask("/get_dmx?u=%d" % universe)
        return json.loads(answer)["dmx"] if answer else []


def enter():
    """Runs the script again in a world of its own; returns there."""
    global PROGRAM, DEMO, PEER
    if os.environ.get(artnet.INSIDE) != "1":
        flags = ["--net", "--mount", "--ipc", "--pid", "--fork", "--kill-child", "--mount-proc"]
        if os.geteuid() != 0:
            flags.append("--map-root-user")
        os.environ[artnet.INSIDE] = "1"
        os.execvp("unshare", ["unshare", *flags, sys.executable, *sys.argv])
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/dev/shm"], check=True)
    # An address sanitizer keeps what was freed, which is no growth of the program.
    os.environ["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
    os.environ.update(JACK_DEFAULT_SERVER=SERVER, JACK_NO_AUDIO_RESERVATION="1", JACK_NO_START_SERVER="1")
    PROGRAM, DEMO, PEER = [os.path.abspath(path) for path in sys.argv[1:4]]


def main():
    enter()
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
