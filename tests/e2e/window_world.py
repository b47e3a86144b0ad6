"""A display of its own for the window of the program, with hands (xdotool) and eyes (the display's own memory).

The display keeps its picture in a file, which is read as it is: no program has to be asked, and nothing is disturbed.
"""

import collections
import mmap
import os
import plistlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import demo_world as world
from artnet_peers_test import BOUND, Process, eventually

WINDOW = ""  # the program
SIZE = (1920, 1080)
FPS = 60
MIDI_OUTPUT = "Marvo Midi Out 1"
SO_TIMESTAMPNS = 35

Frame = collections.namedtuple("Frame", "time number")


class Display:
    """An X server without a screen, and a window manager."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="marvo-display-")
        reading, writing = os.pipe()
        # The locks of displays lie where other worlds see them, and would be taken for left over.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", "%dx%dx24" % SIZE, "-fbdir", self.folder, "-nolisten", "tcp",
             "-nolock", "-noreset", "-br"], pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as answer:
            self.name = ":" + answer.readline().strip()
        self.environment = dict(os.environ, DISPLAY=self.name, QT_QPA_PLATFORM="xcb", HOME=self.folder, LC_ALL="C.UTF-8")
        self.environment.pop("WAYLAND_DISPLAY", None)
        # It takes the display over before it looks at windows, and one that comes in between is never shown. The command
        # runs when it is ready.
        ready = os.path.join(self.folder, "ready")
        self.manager = subprocess.Popen(["openbox", "--startup", "touch " + ready], env=self.environment,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if not eventually(lambda: os.path.exists(ready)):
            raise AssertionError("no window manager")
        with open(os.path.join(self.folder, "Xvfb_screen0"), "rb") as file:
            self.memory = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        header = struct.unpack(">25I", self.memory[:100])
        self.stride = header[12]
        self.begin = header[0] + 12 * header[19]

        self.read("xdotool", "mousemove", "0", "0")  # out of the picture

    def read(self, *command):
        return subprocess.run(command, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=BOUND).stdout

    def picture(self, left, top, width, height):
        """Rows of pixels, four bytes each."""
        rows = (self.begin + y * self.stride + 4 * left for y in range(top, top + height))
        return [self.memory[at:at + 4 * width] for at in rows]

    def colours(self, left, top, width, height):
        return {row[at:at + 3] for row in self.picture(left, top, width, height)[::3] for at in range(0, 4 * width, 12)}

    def is_painted(self):
        """The middle of the default place: one colour before the window comes, and while nothing is drawn on it."""
        return len(self.colours(SIZE[0] // 4, SIZE[1] // 4, SIZE[0] // 2, SIZE[1] // 2)) > 4

    def die(self, number):
        self.server.send_signal(number)
        self.server.wait()

    def end(self):
        for child in (self.manager, self.server):
            if child.poll() is None:
                child.kill()
            child.wait()
        self.memory.close()
        shutil.rmtree(self.folder)


class Receiver:
    """The other end of an OSC output, with the moment at which the system took each message."""

    def __init__(self):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.socket.bind(("127.0.0.1", 0))
        self.socket.settimeout(0.1)
        self.port = self.socket.getsockname()[1]
        self.frames = []
        self.messages = 0  # of any kind
        self.open = True
        self.thread = threading.Thread(target=self._read)
        self.thread.start()

    def _read(self):
        while self.open:
            try:
                data, ancillary, _, _ = self.socket.recvmsg(2048, 64)
            except socket.timeout:
                continue
            self.messages += 1
            seconds, nanoseconds = struct.unpack("qq", ancillary[0][2][:16])
            if data.startswith(b"/frame\0\0,i\0\0"):
                self.frames.append(Frame(seconds + nanoseconds / 1e9, struct.unpack(">i", data[12:16])[0]))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self):
        self.open = False
        self.thread.join()
        self.socket.close()


class Window:
    """The program and its window on a display."""

    def __init__(self, display, config, *arguments):
        self.display = display
        self.began = time.monotonic()
        self.process = Process(WINDOW, *arguments, "--best-effort", "--config-dir", config, env=display.environment)

    def do(self, *words):
        subprocess.run(["xdotool", *[str(word) for word in words]], env=self.display.environment, check=True,
                       stdout=subprocess.DEVNULL, timeout=BOUND)

    def titles(self):
        """Of the windows that are seen, by their number."""
        seen = self.display.read("xdotool", "search", "--onlyvisible", "--name", "^Marvo").split()
        titles = {number: self.display.read("xdotool", "getwindowname", number).strip() for number in seen}
        return {number: title for number, title in titles.items() if title}

    def main(self):
        """The number of the main window once it is there."""
        found = []

        def there():
            found[:] = [number for number, title in self.titles().items() if title.startswith("Marvo - ")]
            return found or self.process.child.poll() is not None
        if not eventually(there) or not found:
            raise AssertionError("no window; it says: %s" % self.process.lines[-10:])
        return found[0]

    def title(self):
        return self.titles().get(self.main(), "")

    def dialogs(self):
        return [number for number, title in self.titles().items() if title == "Marvo"]

    def geometry(self):
        """Left, top, width and height of what is inside the frame."""
        words = self.display.read("xwininfo", "-id", self.main())
        names = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        return tuple(int(re.search(name + r": +(-?\d+)", words).group(1)) for name in names)

    def activate(self, number=None):
        self.do("windowactivate", "--sync", number or self.main())

    def key(self, *keys):
        self.do("key", "--clearmodifiers", *keys)

    def type(self, text):
        self.do("type", "--delay", "5", text)

    def value_picture(self):
        """The value in the header of the first track: of the demo's another one with every frame."""
        x, y, _, _ = self.geometry()
        return b"".join(self.display.picture(x + 480, y + 142, 80, 24))

    def seconds_of_main_thread(self):
        """Of processor: the thread that handles and paints the windows."""
        number = self.process.child.pid
        with open("/proc/%d/task/%d/stat" % (number, number)) as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def scroll_bar(self):
        """The picture of the one under the lanes: it tells the zoom, and nothing that plays changes it."""
        x, y, width, height = self.geometry()
        return self.display.picture(x + width // 2, y + height - 40, width // 2 - 60, 4)


def button(state=False):
    return {"midiChannel": -1, "midiControl": -1, "state": state}


def keyframe(time_, value, curve="Linear Interpolation"):
    return {"time": time_, "value": float(value), "interpolation": curve}


def numbered(keyframes):
    return {str(index): one for index, one in enumerate(keyframes)}


def counting_track(seconds):
    """Sends the number of the frame, so that each message says when it is due."""
    last = seconds * FPS
    return {"trackPos": 0, "trackType": "OSCValue", "trackName": "Frames", "enabledButton": button(True), "trackOSCType": 1,
            "trackMinValue": 0.0, "trackMaxValue": float(last), "trackOSCAddress": "/frame", "oscPortName": "Out",
            "keyFrames": numbered([keyframe(0, 0), keyframe(last, last)])}


def organ_track(seconds):
    """A note on every frame. One ends as the next begins, so that at any moment one sounds."""
    notes = [dict(keyframe(at, 48 + at % 24, "No Interpolation"), noteVelocityOn=100.0, noteVelocityOff=64.0)
             for at in range(seconds * FPS)]
    return {"trackPos": 1, "trackType": "MidiNotes", "trackName": "Organ", "enabledButton": button(True),
            "midiNotesFrom": "0", "midiNotesTo": "127", "midiChannel": "1", "midiNodeName": MIDI_OUTPUT,
            "keyFrames": numbered(notes)}


def crowded_track(position, count):
    return {"trackPos": position, "trackType": "OSCValue", "trackName": "Crowd %d" % position, "trackOSCType": 0,
            "enabledButton": button(True), "trackMinValue": 0.0, "trackMaxValue": 100.0, "trackOSCAddress": "/crowd/%d" % position,
            "oscPortName": "Out", "keyFrames": numbered([keyframe(at * 3, at * 37 % 100) for at in range(count)])}


def project(port, tracks, seconds):
    composition = {"compName": "Opening", "compFPS": FPS, "compTime": float(seconds), "compSpeed": "120",
                   "loopButton": button(True), "throttler": {"inTime": 0, "outTime": seconds * FPS},
                   "tracks": {"tr-%d" % index: track for index, track in enumerate(tracks)}}
    ports = {"inputs": [{"port": 1234, "portLabel": "In"}],
             "outputs": [{"address": "127.0.0.1", "port": port, "portLabel": "Out"}], "feedback": "Disabled"}
    return {"Comp-0": composition, "appData": {"preferences": {"oscPorts": ports, "midiOutputs": [MIDI_OUTPUT]}}}


class WindowWorld(world.DemoWorld):
    def setUp(self):
        super().setUp()
        self.config = os.path.join(self.folder, "config")
        self.display = self.new_display()
        self.receiver = Receiver()
        self.addCleanup(self.receiver.end)

    def new_display(self):
        display = Display()
        self.addCleanup(display.end)
        return display

    def project(self, *more, seconds=8, folder=None):
        path = os.path.join(folder or self.folder, "opening.mrv")
        with open(path, "wb") as file:
            plistlib.dump(project(self.receiver.port, [counting_track(seconds), *more], seconds), file)
        return path

    def saved_names(self, path):
        with open(path, "rb") as file:
            saved = plistlib.load(file)
        return [saved["Comp-%d" % index]["compName"] for index in range(len(saved)) if "Comp-%d" % index in saved]

    def saved_name(self, path):
        return self.saved_names(path)[0]

    def start(self, *arguments, display=None, midi="none"):
        window = Window(display or self.display, self.config, *arguments, "--midi", midi)
        self.addCleanup(window.process.end)
        return window

    def opened(self, *arguments, **options):
        window = self.start(*arguments, **options)
        self.assertTrue(eventually(lambda: window.title()), window.process.lines)
        window.activate()
        self.assertTrue(eventually(window.display.is_painted))
        return window

    def rename(self, window, name):
        """The selected composition."""
        window.activate()
        window.key("F2")
        time.sleep(0.2)
        window.key("ctrl+a")
        window.type(name)
        window.key("Return")
        self.assertTrue(eventually(lambda: "*" in window.title()), window.titles())

    def rescued(self):
        found = []
        for folder, _, names in os.walk(self.config):
            found += [os.path.join(folder, name) for name in names if folder.endswith("Rescue") and name.endswith(".mrv")]
        return found

    def check(self, path):
        return subprocess.run([world.PROGRAM, "check", path], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=60)

    def plays(self):
        """That messages arrive now."""
        before = len(self.receiver.frames)
        return eventually(lambda: len(self.receiver.frames) > before + 5)


def main():
    global WINDOW
    WINDOW = os.path.abspath(sys.argv[4])
    world.enter()
    # Sockets of displays have names that all worlds share.
    os.makedirs("/tmp/.X11-unix", exist_ok=True)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/tmp/.X11-unix"], check=True)
    unittest.main(module="__main__", argv=[sys.argv[0], *sys.argv[5:]])
