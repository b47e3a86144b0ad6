"""Checks of the text of the tree, one by name. Usage: words.py ROOT CHECK (a key of CHECKS)

The patterns are put together from parts, so that this file does not trip over itself."""

import os
import re
import sys

import tree

LONGEST_SOURCE = 600
LENGTH_ENDINGS = (".h", ".cpp", ".py", ".sh", ".cmake")

UNFINISHED = re.compile(r"\b(?:TO" r"DO|FIX" r"ME|X" r"XX|HA" r"CK)\b")
LEFT_OUT = re.compile(r"DIS" r"ABLED_|GTEST_" r"SKIP|\bDIS" r"ABLED\s+(?:TRUE|ON|1)\b"
                      r"|SKIP_" r"RETURN_CODE|SKIP_" r"REGULAR_EXPRESSION|\bskip" r"(?:If|Unless|Test)\(|unittest\.sk" r"ip\b")
# Where somebody's machine keeps things. Templates of temporary names are no such place, nor is the folder of a
# display server's sockets, which is the same everywhere.
MACHINE_PATH = re.compile(r"(?<![\w.})~*$])/(?:wo" r"rk\b|ro" r"ot/|tm" r"p/(?!\.X11-unix|[\w.-]*XX" r"XXXX))", re.ASCII)
UPWARD_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"][^>"]*\.\./', re.MULTILINE)
TOOLKIT_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"](?:Qt?[A-Z]\w*/)?Q[A-Z]\w*[>"]', re.MULTILINE)
TOOLKIT_FOLDERS = ("src/ui/", "tests/ui/", "bench/draw.cpp")

NAMED_FILE = re.compile(r"`(?P<name>[\w./-]*\w\.(?:cpp|h|py|sh))`|\]\((?P<link>[^)#\s:]+)(?:#[^)]*)?\)")
# How a document writes a name that stands for many.
STANDS_FOR_MANY = re.compile(r"FLOOR|Thing|NAME")


def matches(root, pattern, paths):
    wrong = []
    for path in paths:
        content = tree.text(root, path)
        for found in pattern.finditer(content) if content else ():
            line = content.count("\n", 0, found.end()) + 1
            wrong.append("%s:%d: %s" % (path, line, found.group(0).strip()))
    return wrong


def unfinished_work(root):
    return matches(root, UNFINISHED, tree.files(root))


def tests_left_out(root):
    return matches(root, LEFT_OUT, [f for f in tree.files(root) if f.startswith(("tests/", "fuzz/", "bench/", "cmake/", "src/"))])


def machine_paths(root):
    return matches(root, MACHINE_PATH, tree.files(root))


def upward_includes(root):
    return matches(root, UPWARD_INCLUDE, tree.sources(root))


def toolkit_includes(root):
    return matches(root, TOOLKIT_INCLUDE, [f for f in tree.sources(root) if not f.startswith(TOOLKIT_FOLDERS)])


def long_sources(root):
    wrong = []
    for path in tree.files(root):
        content = tree.text(root, path) if path.endswith(LENGTH_ENDINGS) else None
        lines = content.count("\n") if content else 0
        if lines > LONGEST_SOURCE:
            wrong.append("%s: %d lines, more than %d: split it" % (path, lines, LONGEST_SOURCE))
    return wrong


def lost_files(root):
    """Files that a document names or links to and that are not there."""
    paths = tree.files(root)
    names = {os.path.basename(path) for path in paths}
    wrong = []
    for document in (f for f in paths if f.endswith(".md")):
        for number, line in enumerate(tree.text(root, document).splitlines(), 1):
            for found in NAMED_FILE.finditer(line):
                name = found["name"] or found["link"]
                if found["link"]:
                    there = os.path.exists(os.path.join(root, os.path.dirname(document), name))
                else:
                    there = os.path.exists(os.path.join(root, name)) if "/" in name else name in names
                if not there and not STANDS_FOR_MANY.search(name):
                    wrong.append("%s:%d: %s" % (document, number, name))
    return wrong


CHECKS = {
    "lost-files": lost_files,
    "unfinished-work": unfinished_work,
    "tests-left-out": tests_left_out,
    "machine-paths": machine_paths,
    "upward-includes": upward_includes,
    "toolkit-includes": toolkit_includes,
    "long-sources": long_sources,
}


def main():
    root, check = sys.argv[1:3]
    wrong = CHECKS[check](root)
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
