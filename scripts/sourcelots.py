"""Which sources of a target can be compiled as one: those of which no private name stands in two.

Called as a program, with the build folder, it reads "target<tab>source" lines from BUILD/unity/sources.txt and writes
BUILD/unity/groups.cmake, which tells CMake what to compile together.
"""
import collections
import pathlib
import re
import sys

UNNAMED = re.compile(r"^namespace \{$(.*?)^\} // namespace$", re.M | re.S)
DECLARED = re.compile(r"(?:(?:class|struct|enum class|enum|using) (\w+)|[^(={\[;/]*?(\w+)\s*(?:[(={\[;]|$))")
OUTSIDE = re.compile(r"^(?:static|const|constexpr|using) ")
MACRO = re.compile(r"^#\s*define\s+(\w+)", re.M)
MOST_SOURCES = 8
MOST_BYTES = 60000


def private_names(text):
    """Those of unnamed namespaces, of static functions and constants, of aliases, and of macros."""
    lines = [line for block in UNNAMED.findall(text) for line in block.splitlines()]
    lines += [line for line in text.splitlines() if OUTSIDE.match(line) and not line.startswith("using namespace")]
    names = set(MACRO.findall(text))
    for line in lines:
        found = None if line[:1] in ("", " ", "\t", "}", "/", "#") else DECLARED.match(line)
        if found:
            names.add(found[1] or found[2])
    return names


def lots(items, names, fits):
    """Puts each item into the first lot that fits(lot, item) and that has none of its names, or into a new one."""
    made = []
    for item in items:
        own = names(item)
        for lot, taken in made:
            if not taken & own and fits(lot, item):
                lot.append(item)
                taken |= own
                break
        else:
            made.append(([item], set(own)))
    return [lot for lot, _ in made]


def main():
    folder = pathlib.Path(sys.argv[1]) / "unity"
    entries = [line.split("\t") for line in (folder / "sources.txt").read_text().splitlines()]
    count = collections.Counter(source for _, source in entries)
    targets = {}
    for target, source in entries:
        if count[source] == 1:
            targets.setdefault(target, []).append(pathlib.Path(source))
    text = ""
    for target, sources in targets.items():
        texts = {source: source.read_text(errors="replace") for source in sources}

        def fits(lot, source):
            return len(lot) < MOST_SOURCES and sum(len(texts[each]) for each in [*lot, source]) <= MOST_BYTES

        for number, lot in enumerate(lots(sources, lambda source: private_names(texts[source]), fits)):
            if len(lot) > 1:
                text += f"set_property(SOURCE {' '.join(str(each) for each in lot)} TARGET_DIRECTORY {target}\n"
                text += f"    PROPERTY UNITY_GROUP {number})\n"
    result = folder / "groups.cmake"
    if not result.exists() or result.read_text() != text:
        result.write_text(text)


if __name__ == "__main__":
    main()
