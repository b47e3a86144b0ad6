"""A Wayland compositor without a screen, and eyes for it: its picture, as often as it is asked for.

It has no hands, since no tool can press keys there; what is to be changed is changed over OSC.
"""

import os
import shutil
import signal
import subprocess
import tempfile

from artnet_peers_test import BOUND, eventually

# A plain desktop: what is not one colour is the program's.
CONFIGURATION = """[shell]
background-color=0xff336699
panel-position=none
locking=false
"""
SIZE = (1280, 800)


class Compositor:
    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="marvo-compositor-")
        os.chmod(self.folder, 0o700)
        with open(os.path.join(self.folder, "weston.ini"), "w", encoding="utf-8") as file:
            file.write(CONFIGURATION)
        self.environment = dict(os.environ, XDG_RUNTIME_DIR=self.folder, WAYLAND_DISPLAY="stage", XDG_CONFIG_HOME=self.folder,
                                QT_QPA_PLATFORM="wayland", HOME=self.folder, LC_ALL="C.UTF-8")
        self.environment.pop("DISPLAY", None)
        # With --debug it hands out its picture.
        self.server = subprocess.Popen(
            ["weston", "--backend=headless-backend.so", "--use-pixman", "--width=%d" % SIZE[0], "--height=%d" % SIZE[1],
             "--socket=stage", "--idle-time=0", "--debug"], env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if not eventually(lambda: os.path.exists(os.path.join(self.folder, "stage"))):
            raise AssertionError("no compositor")
        # Programs of its own paint the desktop; until they have it is black.
        if not eventually(lambda: 0 < len(self.picture()) < 8000 and self.picture() == self.picture()):
            raise AssertionError("no desktop")
        self.desktop = self.picture()

    def picture(self):
        """PNG of all that is seen; nothing where none is to be had."""
        folder = tempfile.mkdtemp(dir=self.folder)
        subprocess.run(["weston-screenshooter"], env=self.environment, cwd=folder, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=BOUND)
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), "rb") as file:
                return file.read()
        return b""

    def is_painted(self):
        """A window with text and curves packs worse by far than a desktop of one colour."""
        return len(self.picture()) > 4 * len(self.desktop)

    def die(self, number=signal.SIGKILL):
        self.server.send_signal(number)
        self.server.wait()

    def end(self):
        if self.server.poll() is None:
            self.server.send_signal(signal.SIGCONT)
            self.server.kill()
        self.server.wait()
        shutil.rmtree(self.folder)
