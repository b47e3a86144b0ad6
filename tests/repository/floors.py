"""Floors.AnIncludeThatLooksUpAFloorDoesNotCompile: with a floor's own flags, a header of a higher floor cannot be
found, while one of its own can. Usage: floors.py ROOT BUILD"""

import sys

import tree


def not_found(messages, header):
    """Whether the compiler missed this very header, and not one that it includes."""
    return header + ": No such file" in messages or "'%s' file not found" % header in messages


def problems(root, compiler):
    """(what is wrong, number of pairs looked at)."""
    names = tree.floors(root)
    headers = {floor: tree.headers_of(root, floor) for floor in names}
    wrong, pairs = [], 0
    for place, floor in enumerate(names):
        if not headers[floor]:
            continue
        own = headers[floor][0]
        good, messages = compiler.compile(floor, '#include "%s"\n' % own)
        if not good:
            wrong.append("%s cannot include its own %s:\n%s" % (floor, own, messages))
        for higher in names[place + 1:]:
            if not headers[higher]:
                continue
            pairs += 1
            good, messages = compiler.compile(floor, '#include "%s"\n' % headers[higher][0])
            if good:
                wrong.append("%s can include %s of the higher floor %s" % (floor, headers[higher][0], higher))
            elif not not_found(messages, headers[higher][0]):
                wrong.append("%s finds %s of the higher floor %s:\n%s"
                             % (floor, headers[higher][0], higher, messages))
    return wrong, pairs


def main():
    root, build = sys.argv[1:3]
    wrong, pairs = problems(root, tree.Compiler(root, build))
    print("%d pairs of floors" % pairs)
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
