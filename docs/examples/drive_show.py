#!/usr/bin/python3
"""Drives a running Marvo over OSC alone, and listens to what it answers.

    marvo-headless run &
    docs/examples/drive_show.py [PORT] [REPLY_PORT]

PORT is an OSC input of Marvo on this machine (1234), REPLY_PORT a free port here (9001). The script writes a small
show to a temporary folder, has Marvo load it, and goes through what a remote does: play, trigger, solo, queue, jump to
cues, change the tempo. It ends with status 1 at the first answer that does not come.

It needs liblo for Python: the package python3-liblo of Debian.
"""

import os
import plistlib
import sys
import tempfile
import time

import liblo

WAIT = 10.0  # seconds in which an answer has to come


class Remote:
    """Sends to Marvo and keeps what comes back."""

    def __init__(self, port, reply_port):
        self.to = liblo.Address("127.0.0.1", port)
        self.heard = []
        self.server = liblo.ServerThread(reply_port)
        self.server.add_method(None, None, self._hear)
        self.server.start()

    def _hear(self, path, arguments):
        self.heard.append((time.monotonic(), path, arguments))

    def send(self, path, *arguments):
        print("->", path, *arguments)
        liblo.send(self.to, path, *arguments)

    def latest(self, path):
        """The first argument of the newest message to a path, or None."""
        for _, address, arguments in reversed(list(self.heard)):
            if address == path:
                return arguments[0]
        return None

    def expect(self, path, test):
        """Waits until the newest message to a path passes the test."""
        if not callable(test):
            value, test = test, lambda heard: heard == value
        end = time.monotonic() + WAIT
        while True:
            heard = self.latest(path)
            if heard is not None and test(heard):
                print("<-", path, heard)
                return heard
            if time.monotonic() > end:
                sys.exit("no answer to what was sent: %s is %r" % (path, heard))
            time.sleep(0.01)

    def ask(self, path, *arguments, answers):
        """Sends, and expects each answer from then on."""
        self.heard.clear()
        self.send(path, *arguments)
        for address, test in answers.items():
            self.expect(address, test)

    def speed(self, path, seconds=1.0):
        """How much a number that arrives again and again grows in a second."""
        self.expect(path, lambda value: True)
        self.heard.clear()
        time.sleep(seconds)
        points = [(when, arguments[0]) for when, address, arguments in list(self.heard) if address == path]
        return (points[-1][1] - points[0][1]) / (points[-1][0] - points[0][0])


def composition(name, seconds, cues=()):
    fps = 25
    return {
        "compName": name, "compFPS": fps, "compTime": float(seconds), "compSpeed": "120", "tracks": {},
        "throttler": {"inTime": 0, "outTime": seconds * fps},
        "cueController": {"cues": {str(i): {"time": cue * fps, "cueName": "Cue<$>", "type": 0}
                                   for i, cue in enumerate(cues)}},
    }


def write_show(path, port, reply_port):
    """Four compositions; everything that Marvo reports goes to this script."""
    acts = [composition("Act One", 60, cues=(15, 30, 45)), composition("Act Two", 60),
            composition("Interlude", 1), composition("Finale", 60)]
    show = {"Comp-%d" % i: act for i, act in enumerate(acts)}
    show["appData"] = {"preferences": {"oscPorts": {
        "inputs": [{"port": port}],
        "outputs": [{"portLabel": "Remote", "address": "127.0.0.1", "port": reply_port}],
        "feedback": "Remote"}}}
    with open(path, "wb") as file:
        plistlib.dump(show, file)


def main():
    port = int(sys.argv[1]) if len(sys.argv) > 1 else 1234
    reply_port = int(sys.argv[2]) if len(sys.argv) > 2 else 9001
    remote = Remote(port, reply_port)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "remote.mrv")
        write_show(path, port, reply_port)
        remote.send("/marvo/loadproject", path)
        # The answer can only come once the show's own outputs are open.
        end = time.monotonic() + WAIT
        while remote.latest("/marvo/compcount") != 4:
            if time.monotonic() > end:
                sys.exit("the show was not loaded")
            liblo.send(remote.to, "/marvo/countofcomps")
            time.sleep(0.1)

    print("# what is there")
    remote.ask("/marvo/compinfoatindex", 1,
               answers={"/marvo/compinfo/name": "Act One", "/marvo/compinfo/duration": 60})
    remote.ask("/marvo/compinfowithname", "Interlude",
               answers={"/marvo/compinfo/name": "Interlude", "/marvo/compinfo/duration": 1})

    print("# play everything, and stop")
    remote.ask("/marvo/playall", 1, answers={"/marvo/playall": 1, "/marvo/actone/play": 1, "/marvo/acttwo/play": 1,
                                             "/marvo/actone/playhead": lambda share: share > 0.001})
    remote.ask("/marvo/playall", 0, answers={"/marvo/playall": 0, "/marvo/actone/play": 0, "/marvo/acttwo/play": 0})
    remote.ask("/marvo/all/rewind", 0, answers={"/marvo/actone/playhead": 0.0, "/marvo/acttwo/playhead": 0.0})

    print("# trigger by number and by name")
    remote.ask("/marvo/triggercompatindex", 2, answers={"/marvo/acttwo/play": 1, "/marvo/current/name": "Act Two"})
    remote.ask("/marvo/triggercompwithname", "Act One",
               answers={"/marvo/actone/play": 1, "/marvo/current/name": "Act One"})
    remote.ask("/marvo/stopcomps", answers={"/marvo/actone/play": 0, "/marvo/acttwo/play": 0})

    print("# solo: whoever starts stops the others")
    remote.ask("/marvo/solomode", 1, answers={"/marvo/solomode": 1})
    remote.ask("/marvo/actone/play", 1, answers={"/marvo/actone/play": 1})
    remote.ask("/marvo/acttwo/play", 1, answers={"/marvo/acttwo/play": 1, "/marvo/actone/play": 0})
    remote.ask("/marvo/solomode", 0, answers={"/marvo/solomode": 0})
    remote.ask("/marvo/stopcomps", answers={"/marvo/acttwo/play": 0})

    print("# queue: the end of one starts the next")
    remote.ask("/marvo/queuedmode", 1, answers={"/marvo/queuedmode": 1})
    remote.ask("/marvo/triggercompatindex", 3, answers={"/marvo/interlude/play": 1, "/marvo/finale/play": 1,
                                                        "/marvo/current/name": "Finale"})
    remote.ask("/marvo/stopcomps", answers={"/marvo/finale/play": 0})
    remote.ask("/marvo/queuedmode", 0, answers={"/marvo/queuedmode": 0})

    print("# cues")
    remote.ask("/marvo/actone/countofcues", answers={"/marvo/actone/cuecount": 3})
    remote.ask("/marvo/actone/nameofcueatindex", 2, answers={"/marvo/cuename": "Cue2"})
    remote.ask("/marvo/actone/timeofcueatindex", 2, answers={"/marvo/cuetime": 750})
    remote.ask("/marvo/actone/jumptocueatindex", 2, answers={"/marvo/actone/playhead": 0.5})
    remote.ask("/marvo/actone/playcuewithname", "Cue1",
               answers={"/marvo/actone/play": 1, "/marvo/actone/playhead": lambda share: 0.25 <= share < 0.3})

    print("# tempo: 240 beats a minute is twice the usual speed")
    usual = remote.speed("/marvo/actone/playhead")
    remote.send("/marvo/actone/compbpm", 240.0)
    time.sleep(0.1)
    fast = remote.speed("/marvo/actone/playhead")
    print("   %.4f, then %.4f of the whole a second" % (usual, fast))
    if not 1.7 < fast / usual < 2.3:
        sys.exit("the tempo did not follow")
    remote.ask("/marvo/stopcomps", answers={"/marvo/actone/play": 0})
    remote.server.stop()
    print("# all answers came")


if __name__ == "__main__":
    main()
