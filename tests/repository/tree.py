"""What the checks of the repository share: its text files, its floors, and how the build compiles a file."""

import json
import os
import re
import shlex
import subprocess

# Folders and files that a build or an editor leaves behind; none of them is ours to check.
PASSED_OVER = {".git", "build", "__pycache__", ".cache", ".idea", ".vscode", "compile_commands.json"}
SOURCE_ENDINGS = (".h", ".cpp")


def files(root):
    """Paths of all files of the tree, relative to its root, sorted."""
    found = []
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(f for f in folders if f not in PASSED_OVER)
        for name in names:
            if name in PASSED_OVER or name.endswith(".actual"):
                continue
            found.append(os.path.relpath(os.path.join(folder, name), root))
    return sorted(found)


def text(root, path):
    """The file's text, or None for one that is not text."""
    try:
        with open(os.path.join(root, path), "rb") as stream:
            data = stream.read()
    except OSError:
        return None  # a link that points nowhere
    if b"\0" in data:
        return None
    return data.decode("utf-8", "replace")


def sources(root, below=""):
    return [f for f in files(root) if f.endswith(SOURCE_ENDINGS) and f.startswith(below)]


def floors(root):
    """The floors, lowest first, in the order in which the top-level lists add them."""
    lists = text(root, "CMakeLists.txt")
    return re.findall(r"^\s*add_subdirectory\(src/([\w/]+)\)", lists, re.MULTILINE)


def headers_of(root, floor):
    return [f[len("src/"):] for f in sources(root, "src/" + floor + "/") if f.endswith(".h")]


class Compiler:
    """Compiles text with the very flags the build uses for a floor."""

    def __init__(self, root, build):
        self.root = root
        with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as stream:
            self.entries = json.load(stream)

    def flags(self, floor):
        """(folder, words) of a compilation of that floor, without its input and output.

        Its library's where there is one, since a program in the same folder may see less or more."""
        folder = "/src/%s/CMakeFiles/" % floor
        library = folder + "marvo_%s.dir/" % floor.replace("/", "_")
        for target in (library, folder):
            for entry in self.entries:
                words = entry.get("arguments") or shlex.split(entry["command"])
                if "-o" in words and target in "/" + words[words.index("-o") + 1]:
                    return entry["directory"], self._without_input_and_output(words)
        return None

    @staticmethod
    def _without_input_and_output(words):
        if os.path.basename(words[0]) == "ccache":
            words = words[1:]
        kept, skip = [], 0
        for word in words:
            if skip:
                skip -= 1
            elif word in ("-o", "-c", "-MF", "-MT", "-MQ"):
                skip = 1
            elif word not in ("-MD", "-MMD"):
                kept.append(word)
        return kept

    def compile(self, floor, source):
        """(succeeded, messages) of a compilation of the text as if it stood in that floor; nothing is written."""
        found = self.flags(floor)
        if found is None:
            return False, "no compilation of floor %s in the build folder" % floor
        folder, words = found
        # A header may define what nobody uses; only errors are of interest here.
        command = words + ["-w", "-fsyntax-only", "-x", "c++", "-"]
        done = subprocess.run(command, input=source, cwd=folder, capture_output=True, text=True,
                              env=dict(os.environ, LC_ALL="C"), check=False)
        return done.returncode == 0, done.stderr
