"""Conformance.EveryNamedTestExists: the tables docs/conformance*.md name tests that ctest knows.
Usage: conformance.py ROOT BUILD

A table has the columns "What holds" and "Test"; several names are separated by commas. A name is Suite.Name, with or
without the floor that ctest puts before it; a parameterised test answers to its name without the parameter."""

import fnmatch
import json
import re
import subprocess
import sys

import tree


def known_tests(build, run=subprocess.run):
    """All names a test answers to."""
    done = run(["ctest", "--test-dir", build, "--show-only=json-v1"], capture_output=True, text=True, check=True)
    names = set()
    for test in json.loads(done.stdout)["tests"]:
        full = test["name"]
        short = re.sub(r"^[\w/]+: ?", "", full)
        names.update((full, short))
        # Instance/Suite.Name/parameter, and Suite/0.Name or Suite/0.Name<Type> of a typed suite.
        for form in (r"(?:\w+/)?(\w+)\.(\w+)(?:[/ <].*)?", r"(?:\w+/)?(\w+)/\w+\.(\w+)(?:[/ <].*)?"):
            found = re.fullmatch(form, short)
            if found:
                names.add("%s.%s" % found.groups())
    return names


def rows(content):
    """(line number, what, [names]) of each row; names is empty for a row that has none."""
    for number, line in enumerate(content.splitlines(), 1):
        if not line.lstrip().startswith("|"):
            continue
        cells = [c.strip() for c in re.split(r"(?<!\\)\|", line.strip().strip("|"))]
        if all(re.fullmatch(r":?-+:?", c) for c in cells) or cells[-1].strip("*` ").lower() in ("test", "tests"):
            continue
        names = [n.strip(" `*") for n in re.split(r",|<br\s*/?>", cells[-1])] if len(cells) > 1 else []
        yield number, cells[0], [n for n in names if n]


def problems(root, names):
    """(what is wrong, number of rows)."""
    wrong, count = [], 0
    for path in tree.files(root):
        if not fnmatch.fnmatch(path, "docs/conformance*.md"):
            continue
        for number, what, named in rows(tree.text(root, path)):
            count += 1
            if not named:
                wrong.append('%s:%d: "%s" names no test' % (path, number, what))
            wrong += ["%s:%d: there is no test %s" % (path, number, n) for n in named if n not in names]
    if not count:
        wrong.append("docs/conformance*.md have no rows")
    return wrong, count


def main():
    root, build = sys.argv[1:3]
    wrong, count = problems(root, known_tests(build))
    print("%d rows" % count)
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
