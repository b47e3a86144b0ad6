"""Headers.EachCompilesOnItsOwn. A header whose own .cpp includes it first is proved by the build; each other one is
compiled here, with its floor's flags. Usage: headers.py ROOT BUILD"""

import concurrent.futures
import os
import re
import sys

import tree

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)


def proved_by_its_source(root, header):
    source = tree.text(root, "src/" + header[:-len(".h")] + ".cpp")
    first = INCLUDE.search(source) if source else None
    return bool(first) and first.group(1) == header


def problems(root, compiler):
    """(what is wrong, headers compiled, headers in all)."""
    todo, count = [], 0
    for floor in tree.floors(root):
        headers = tree.headers_of(root, floor)
        count += len(headers)
        todo += [(floor, h) for h in headers if not proved_by_its_source(root, h)]

    def check(item):
        floor, header = item
        # Twice, so that a header without an include guard is found as well.
        good, messages = compiler.compile(floor, '#include "%s"\n#include "%s"\n' % (header, header))
        return None if good else "%s does not compile on its own:\n%s" % (header, messages)

    with concurrent.futures.ThreadPoolExecutor(max_workers=min(2, os.cpu_count() or 1)) as pool:
        wrong = [message for message in pool.map(check, todo) if message]
    return wrong, len(todo), count


def main():
    root, build = sys.argv[1:3]
    wrong, compiled, count = problems(root, tree.Compiler(root, build))
    print("%d headers, %d of them compiled here" % (count, compiled))
    for line in wrong:
        print(line)
    return 1 if wrong or not count else 0


if __name__ == "__main__":
    sys.exit(main())
