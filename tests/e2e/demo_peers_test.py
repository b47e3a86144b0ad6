"""The demo show, played for real, as programs of others hear it.

demo_peers_test.py PROGRAM DEMO.mrv MIDI-PEER [TEST...]     MARVO_E2E_SECONDS: how long (10)
"""

import collections
import os
import subprocess
import time

import demo_world as world
from artnet_peers_test import eventually

# The composition, and milliseconds a frame, behind each port and channel of the demo.
SUNRISE, STORM, CURTAIN_CALL = 1000 / 25, 1000 / (30 * 132 / 120), 1000 / 25
INSTRUMENTS = {("Marvo Midi Out 1", 0): SUNRISE, ("Marvo Midi Out 1", 1): SUNRISE, ("Marvo Midi Out 1", 4): CURTAIN_CALL,
               ("Marvo Midi Out 2", 2): STORM, ("Marvo Midi Out 2", 3): STORM, ("Marvo Midi Out 2", 9): STORM}
COMPOSITIONS = ("sunrise", "storm", "houselights", "curtaincall")
# A show that runs without getting on: it stays at the frame it is sent to.
STAND_STILL = ["0 osc /marvo/%s/compbpm f:0" % name for name in COMPOSITIONS] + ["0 osc /marvo/playall i:1"]
BLUR = 0.1  # seconds around a lost cycle
PORTS = ("Marvo Midi Out 1", "Marvo Midi Out 2")


def share(values, part):
    return sorted(values)[min(len(values) - 1, int(len(values) * part))]


def matched(events, lines):
    """(event, line) in order: for each event the first line behind the one before that has its bytes, or None."""
    place, pairs = 0, []
    for event in events:
        found = next((at for at in range(place, min(place + 100, len(lines))) if lines[at]["bytes"] == list(event.bytes)), None)
        pairs.append((event, None if found is None else lines[found]))
        place = place if found is None else found + 1
    return pairs, place


class DemoPeers(world.DemoWorld):
    def listen_to_midi(self):
        """{(port, channel): what a peer heard}, where the server lost time, and what the program said of itself."""
        show = self.run_show("--midi", "jack")
        peers = {port: self.listener("band %d" % number, port) for number, port in enumerate(PORTS)}
        self.command("/marvo/playall", "i", "1")
        time.sleep(world.SECONDS)
        self.command("/marvo/playall", "i", "0")
        statistics = self.end_show(show)
        heard, lost = collections.defaultdict(list), []
        for port, peer in peers.items():
            events = peer.take()
            lost += peer.lost()
            self.assertEqual(world.sounding_after(events), set(), "a note hangs")
            for event in events:
                heard[port, event.bytes[0] & 15].append(event)
            peer.end()
        return heard, lost, statistics

    def test_the_band_hears_every_byte_on_its_frame(self):
        self.start_server()
        for _ in range(3):
            heard, lost, statistics = self.listen_to_midi()
            # What falls into a frame during which the machine stood still is left out, and never sent late.
            stood_still = statistics.worst > min(INSTRUMENTS.values()) - 5 or bool(lost)
            if not stood_still:
                break

        def is_blurred(event):
            """A server that missed its moment gives wrong frames around it."""
            return any(abs(event.frame - frame) < BLUR * world.RATE for frame in lost)
        written = collections.defaultdict(list)
        for line in self.trace(world.SECONDS + 1, "0 osc /marvo/playall i:1"):
            if line["kind"] == "midi":
                written[line["node"], line["bytes"][0] & 15].append(line)
        self.assertEqual(set(heard), set(INSTRUMENTS))
        off_grid, blurred = [], 0
        for key, events in heard.items():
            pairs, end = matched(events, written[key])
            self.assertEqual([event for event, line in pairs if line is None], [], "nobody wrote it")
            self.assertLessEqual(end - len(events), 0.01 * len(events) if stood_still else 0, "left out of %s" % (key,))
            due = [line for line in written[key] if line["t"] < (world.SECONDS - 0.5) * 1000]
            self.assertGreaterEqual(end, len(due), key)
            # The last ones are note-offs of the stop, which come before their frame.
            for (event, line), (next_event, next_line) in list(zip(pairs, pairs[1:]))[:-4]:
                frames = next_line["frame"] - line["frame"]
                if is_blurred(event) or is_blurred(next_event):
                    blurred += 1
                elif frames >= 0:  # not where the composition began again
                    passed = (next_event.frame - event.frame) * 1000 / world.RATE
                    off_grid.append(abs(passed - frames * INSTRUMENTS[key]))
        print("%d steps, off the grid: median %.2f ms, p99 %.2f ms, worst %.2f ms; %d blurred by %d lost cycles; lateness "
              "p99 %.3f ms, worst %.1f ms" % (len(off_grid), share(off_grid, 0.5), share(off_grid, 0.99), max(off_grid),
                                              blurred, len(lost), statistics.p99, statistics.worst))
        self.assertGreater(len(off_grid), 40 * world.SECONDS)
        self.assertLessEqual(share(off_grid, 0.99), 2.0)
        # A note that sounds when the ports close is ended by them; that is not counted as sent.
        self.assertIn(sum(len(events) for events in heard.values()) - statistics.sent["midi"], range(4))

    def shown_at(self, frames):
        """Moves the show; what a rehearsal leaves in the lamps then, which the node has to show as well."""
        for name, frame in zip(COMPOSITIONS, frames):
            self.command("/marvo/%s/jumptoframe" % name, "i", str(frame))
        script = STAND_STILL + ["100 osc /marvo/%s/jumptoframe i:%d" % one for one in zip(COMPOSITIONS, frames)]
        lamps = {}
        for line in self.trace(0.5, *script):
            if line["kind"] == "dmx":
                lamps[line["universe"], line["channel"]] = line["value"]

        def differences():
            shown = {universe: self.levels(universe) for universe in (1, 2, 3)}
            return {at: value for at, value in lamps.items() if (shown[at[0]] + [0] * 512)[at[1] - 1] != value}
        self.assertTrue(eventually(lambda: not differences()), differences())
        return lamps

    def test_a_node_shows_the_levels_of_the_show(self):
        self.start_own_node()
        show = self.run_show("--midi", "none")
        for line in STAND_STILL:
            _, _, address, value = line.split()
            self.command(address, *value.split(":"))
        seen = [self.shown_at(frames) for frames in ((375, 190, 300, 140), (480, 300, 600, 70), (250, 100, 900, 180))]
        # Each lamp of the plan, the patched ones too, and no two moments alike.
        for universe, channels in ((1, [*range(1, 17), 41, *range(51, 55), 61, 63, 64, *range(71, 77), *range(101, 107)]),
                                   (2, [*range(1, 7), *range(31, 39)]), (3, [1, 5, 6, 7])):
            self.assertEqual(sorted(channel for where, channel in seen[0] if where == universe), channels)
        self.assertGreater(len(set(seen[0].values())), 10)
        for a, b in zip(seen, seen[1:]):
            self.assertGreater(sum(1 for at in a if a[at] != b.get(at)), 20)
        self.command("/marvo/blackout")
        self.assertTrue(eventually(lambda: not any(any(self.levels(universe)) for universe in (1, 2, 3))))
        self.end_show(show)

    def stands_still(self, path):
        """Whether a file has grown no more for a moment."""
        before = os.path.getsize(path)
        time.sleep(0.5)
        return os.path.getsize(path) == before

    def record(self):
        """All that is on the wire while the show plays, read by a third program, and what the first one says of it."""
        for port in ("8000", "8001", "8002"):
            self.dump(port)
        # Without this the system hands several packets over at once, and the reader takes them for one.
        world.artnet.ip("link", "set", "lo", "gso_max_segs", "1")
        path = os.path.join(self.folder, "wire.pcapng")
        tool = world.Process("tshark", "-i", "lo", "-q", "-f", "udp", "-B", "64", "-w", path)
        self.addCleanup(tool.end)

        def records():
            self.command("/is/it/there")
            time.sleep(0.05)
            return os.path.exists(path) and os.path.getsize(path) > 1000
        self.assertTrue(eventually(records), tool.lines)
        show = self.run_show("--midi", "none")
        self.command("/marvo/playall", "i", "1")
        time.sleep(world.SECONDS)
        statistics = self.end_show(show)
        self.assertTrue(eventually(lambda: self.stands_still(path)))
        tool.end()
        fields = ("frame.time_epoch", "_ws.malformed", "udp.dstport", "artnet.header.opcode", "artnet.output.sequence",
                  "artnet.output.universe", "artnet.output.length", "osc.message.header.path", "osc.message.header.format")
        read = subprocess.run(["tshark", "-r", path, "-n", "--enable-heuristic", "osc_udp", "-T", "fields",
                               *[word for field in fields for word in ("-e", field)]], check=True, stdout=subprocess.PIPE,
                              text=True)
        return [dict(zip(fields, line.split("\t"))) for line in read.stdout.splitlines()], statistics

    def test_the_wire_carries_whole_packets_and_serves_every_lamp_in_time(self):
        packets, statistics = self.record()
        self.assertEqual([packet for packet in packets if packet["_ws.malformed"]], [])
        osc = [packet for packet in packets if packet["udp.dstport"] in ("8000", "8001", "8002")]
        self.assertEqual({packet["osc.message.header.path"] == "" for packet in osc}, {False}, "each is read as OSC")
        ports = {"Lights": "8000", "Sound": "8001", "Video": "8002"}
        rehearsed = self.trace(world.SECONDS - 0.5, "0 osc /marvo/playall i:1")
        wanted = {(ports[line["port"]], line["address"], "," + line["types"]) for line in rehearsed if line["kind"] == "osc"}
        found = {(packet["udp.dstport"], packet["osc.message.header.path"], packet["osc.message.header.format"])
                 for packet in osc}
        self.assertEqual(wanted - found, set())
        values = [packet for packet in packets if packet["artnet.output.universe"]]
        self.assertEqual({int(packet["artnet.output.universe"], 0) for packet in values}, {1, 2, 3})
        self.assertEqual(statistics.sent["osc"], len(osc))
        for universe in (1, 2, 3):
            own = [packet for packet in values if int(packet["artnet.output.universe"], 0) == universe]
            self.assertEqual({packet["artnet.output.length"] for packet in own}, {"512"})
            numbers = [int(packet["artnet.output.sequence"], 0) for packet in own]
            for a, b in zip(numbers, numbers[1:]):
                self.assertEqual(b, a % 255 + 1)
            times = [float(packet["frame.time_epoch"]) for packet in own]
            # Steps from one packet to the next: at 44 a second the 45th packet stands on the edge of the second.
            busiest = max(sum(1 for t in times[at + 1:at + 60] if t < first + 1) for at, first in enumerate(times))
            silence = max(b - a for a, b in zip(times, times[1:]))
            print("universe %d: %d packets, at most %d a second, longest silence %.3f s" % (
                universe, len(own), busiest, silence))
            self.assertLessEqual(busiest, 44)
            self.assertLessEqual((len(times) - 1) / (times[-1] - times[0]), 44)
            self.assertLessEqual(silence, 1.0)
            self.assertGreater(times[-1] - times[0], world.SECONDS - 1)


if __name__ == "__main__":
    world.main()
